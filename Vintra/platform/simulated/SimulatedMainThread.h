#pragma once

#include "Vintra/platform/MainThread.h"
#include "Vintra/platform/simulated/SimulatedLane.h"

#include <functional>
#include <memory>
#include <utility>

namespace vintra {

/// The main thread of a simulated machine. What a test does outside of all events counts as running on it.
class SimulatedMainThread : public MainThread {
public:
    explicit SimulatedMainThread(std::shared_ptr<VirtualTime> time)
        : time(time)
        , lane(SimulatedLane::make(time)) {}

    void post(std::function<void()> work) override { lane->post(std::move(work)); }
    bool isCurrent() const override { return time->isIdle() || lane->isCurrent(); }
    /// Whether the caller is a piece of work of the main thread, and not the test outside of all events.
    bool isAtWork() const { return lane->isCurrent(); }
    /// Runs the work as the main thread, with what is posted meanwhile waiting.
    void runNow(const std::function<void()>& work) { lane->runNow(work); }

private:
    std::shared_ptr<VirtualTime> time;
    std::shared_ptr<SimulatedLane> lane;
};

} // namespace vintra
