#include "Vintra/platform/simulated/SimulatedDispatchQueue.h"

#include "Vintra/platform/simulated/SimulatedTimer.h"

namespace vintra {

SimulatedDispatchQueue::SimulatedDispatchQueue(std::shared_ptr<VirtualTime> time, std::string label,
                                               Kind kind, std::shared_ptr<SimulatedTimerLateness> lateness)
    : time(time)
    , name(std::move(label))
    , lane(kind == Kind::serial ? SimulatedLane::make(time) : nullptr)
    , lateness(std::move(lateness)) {}

SimulatedDispatchQueue::~SimulatedDispatchQueue() {
    if (lane) lane->runWaiting();
}

void SimulatedDispatchQueue::async(std::function<void()> work) {
    if (lane) {
        lane->post(std::move(work));
    } else {
        time->after(0, std::move(work));
    }
}

void SimulatedDispatchQueue::sync(const std::function<void()>& work) {
    if (lane) {
        lane->runNow(work);
        return;
    }
    time->enter(nullptr);
    work();
    time->leave();
}

std::unique_ptr<DispatchTimer> SimulatedDispatchQueue::makeTimer(DispatchTimerSchedule schedule,
                                                                 std::function<void()> handler) {
    auto lateFor = [lateness = lateness, label = name](int64_t firing) {
        return *lateness ? (*lateness)(label, firing) : int64_t{0};
    };
    auto post = [time = time, lane = lane](std::function<void()> work) {
        if (lane) {
            lane->post(std::move(work));
        } else {
            time->after(0, std::move(work));
        }
    };
    return std::make_unique<SimulatedTimer>(time, schedule, std::move(handler), std::move(post),
                                            std::move(lateFor));
}

} // namespace vintra
