#include "Vintra/audio/RelayAttempt.h"

#include <utility>

namespace vintra {

RelayAttempt::RelayAttempt(Services services)
    : services(std::move(services)) {}

void RelayAttempt::run(const Plan& with) {
    if (isGivenUp_) return;
    plan = with;
    hasBegun = true;
    hasSwitched_ = plan.switchesOutput && services.hardware->setDefaultOutputDevice(plan.virtualDevice);
    if (!start()) undo();
}

bool RelayAttempt::start() {
    if (isGivenUp_) return false;
    relay = std::make_unique<SystemAudioRelay>(
        SystemAudioRelay::Services{*services.hardware, *services.io, *services.wallClock}, plan.virtualDevice,
        plan.output, plan.relay);
    mismatch_ = relay->rateMismatch();
    return !isGivenUp_ && relay->start() && !isGivenUp_;
}

void RelayAttempt::undo() {
    relay = nullptr;
    if (!std::exchange(hasBegun, false)) return;
    // What another has chosen meanwhile stays.
    if (services.hardware->defaultOutputDevice() != plan.virtualDevice) return;
    services.hardware->setDefaultOutputDevice(plan.putBack);
}

std::unique_ptr<SystemAudioRelay> RelayAttempt::takeRelay() {
    hasBegun = false;
    return std::move(relay);
}

} // namespace vintra
