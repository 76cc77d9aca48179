#include "Vintra/platform/linux/pipewire/PipeWireTimer.h"

#include "Vintra/platform/linux/pipewire/PipeWireLoop.h"

#include <pipewire/pipewire.h>

#include <cmath>
#include <utility>

namespace vintra {

struct PipeWireTimer::Events {
    static void expired(void* data, uint64_t) { static_cast<PipeWireTimer*>(data)->block(); }
};

PipeWireTimer::PipeWireTimer(PipeWireLoop& loop, std::function<void()> block)
    : loop(loop)
    , block(std::move(block)) {
    if (loop.isUsable()) source = pw_loop_add_timer(loop.loop(), Events::expired, this);
}

PipeWireTimer::~PipeWireTimer() {
    if (source != nullptr) pw_loop_destroy_source(loop.loop(), source);
}

void PipeWireTimer::startOver(double seconds) {
    if (source == nullptr) return;
    double whole = 0;
    timespec value{};
    value.tv_nsec = static_cast<long>(std::modf(seconds, &whole) * 1e9);
    value.tv_sec = static_cast<time_t>(whole);
    pw_loop_update_timer(loop.loop(), source, &value, nullptr, false);
}

void PipeWireTimer::cancel() {
    if (source == nullptr) return;
    timespec never{};
    pw_loop_update_timer(loop.loop(), source, &never, nullptr, false);
}

} // namespace vintra
