#include "Vintra/platform/simulated/SimulatedLane.h"

#include <cstdio>
#include <cstdlib>
#include <utility>

namespace vintra {

std::shared_ptr<SimulatedLane> SimulatedLane::make(std::shared_ptr<VirtualTime> time) {
    const std::shared_ptr<SimulatedLane> lane(new SimulatedLane(std::move(time)));
    lane->time->onShutDown([weak = std::weak_ptr(lane)] {
        if (const auto living = weak.lock()) const auto dropped = std::exchange(living->waiting, {});
    });
    return lane;
}

void SimulatedLane::post(std::function<void()> work) {
    if (time->hasShutDown()) return;
    waiting.push_back(std::move(work));
    scheduleTurn();
}

void SimulatedLane::runNow(const std::function<void()>& work) {
    if (occupied) {
        std::fputs("simulated machine: deadlock, a queue is waited for by what it runs\n", stderr);
        std::abort();
    }
    runWaiting();
    run(work);
}

void SimulatedLane::runWaiting() {
    while (!occupied && !waiting.empty())
        turn();
}

void SimulatedLane::scheduleTurn() {
    time->after(0, [self = shared_from_this()] { self->turn(); });
}

void SimulatedLane::turn() {
    if (occupied) {
        ++missedTurns;
        return;
    }
    if (waiting.empty()) return;
    const auto work = std::move(waiting.front());
    waiting.pop_front();
    run(work);
}

void SimulatedLane::run(const std::function<void()>& work) {
    const auto self = shared_from_this(); // the work may let go of the lane's owner
    occupied = true;
    time->enter(this);
    work();
    time->leave();
    occupied = false;
    for (; missedTurns > 0; --missedTurns)
        scheduleTurn();
}

} // namespace vintra
