#include "Vintra/platform/simulated/SimulatedDispatchQueue.h"

#include "Vintra/platform/simulated/SimulatedTimer.h"

#include <utility>

namespace vintra {

SimulatedDispatchQueue::SimulatedDispatchQueue(Services services, std::string label, Kind kind)
    : services(services)
    , name(std::move(label))
    , lane(kind == Kind::serial ? SimulatedLane::make(services.time) : nullptr) {}

SimulatedDispatchQueue::~SimulatedDispatchQueue() {
    if (lane) lane->runWaiting();
}

void SimulatedDispatchQueue::async(std::function<void()> work) {
    if (!lane) {
        services.time->after(0, std::move(work));
        return;
    }
    if (services.mainThread->isAtWork()) services.journal->note(name + ": async");
    lane->post(std::move(work));
}

void SimulatedDispatchQueue::sync(const std::function<void()>& work) {
    if (lane) {
        lane->runNow(work);
        return;
    }
    services.time->enter(nullptr);
    work();
    services.time->leave();
}

std::unique_ptr<DispatchTimer> SimulatedDispatchQueue::makeTimer(DispatchTimerSchedule schedule,
                                                                 std::function<void()> handler) {
    auto lateFor = [lateness = services.lateness, label = name](int64_t firing) {
        return *lateness ? (*lateness)(label, firing) : int64_t{0};
    };
    auto post = [time = services.time, lane = lane](std::function<void()> work) {
        if (lane) {
            lane->post(std::move(work));
        } else {
            time->after(0, std::move(work));
        }
    };
    return std::make_unique<SimulatedTimer>(services.time, schedule, std::move(handler), std::move(post),
                                            std::move(lateFor));
}

} // namespace vintra
