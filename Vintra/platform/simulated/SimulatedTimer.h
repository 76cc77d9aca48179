#pragma once

#include "Vintra/platform/DispatchQueue.h"
#include "Vintra/platform/simulated/VirtualTime.h"

#include <functional>
#include <memory>

namespace vintra {

/// A timer of a simulated queue. Firing k is due at delay + k × interval after the timer was made, even if
/// earlier firings came late. One real thread.
class SimulatedTimer : public DispatchTimer {
public:
    /// `post` puts work on the timer's queue; `lateFor` says how late a firing comes, in nanoseconds.
    SimulatedTimer(std::shared_ptr<VirtualTime> time, DispatchTimerSchedule schedule,
                   std::function<void()> handler, std::function<void(std::function<void()>)> post,
                   std::function<int64_t(int64_t firing)> lateFor);
    ~SimulatedTimer() override { cancel(); }

    void resume() override;
    void cancel() override;

private:
    struct State;
    static void scheduleFiring(const std::shared_ptr<State>& state);
    static void fire(const std::shared_ptr<State>& state);

    std::shared_ptr<State> state;
};

} // namespace vintra
