#include "Vintra/platform/simulated/SimulatedTimer.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace vintra {

struct SimulatedTimer::State {
    std::shared_ptr<VirtualTime> time;
    DispatchTimerSchedule schedule;
    std::shared_ptr<const std::function<void()>> handler; ///< null once cancelled
    std::function<void(std::function<void()>)> post;
    std::function<int64_t(int64_t)> lateFor;
    int64_t startNanoseconds = 0;
    int64_t nextFiring = 0;
    bool isResumed = false;
    bool isUnhandled = false; ///< a firing waits on the queue
    std::optional<VirtualTime::EventID> event;
};

SimulatedTimer::SimulatedTimer(std::shared_ptr<VirtualTime> time, DispatchTimerSchedule schedule,
                               std::function<void()> handler, std::function<void(std::function<void()>)> post,
                               std::function<int64_t(int64_t)> lateFor)
    : state(std::make_shared<State>()) {
    state->time = std::move(time);
    state->schedule = schedule;
    state->handler = std::make_shared<const std::function<void()>>(std::move(handler));
    state->post = std::move(post);
    state->lateFor = std::move(lateFor);
    state->startNanoseconds = state->time->nowNanoseconds() + schedule.delayNanoseconds;
}

void SimulatedTimer::resume() {
    if (state->isResumed || !state->handler) return;
    state->isResumed = true;
    scheduleFiring(state);
}

void SimulatedTimer::cancel() {
    if (state->event) state->time->cancel(*state->event);
    state->event.reset();
    const auto dropped = std::exchange(state->handler, nullptr);
}

void SimulatedTimer::scheduleFiring(const std::shared_ptr<State>& state) {
    const int64_t due = state->startNanoseconds + state->nextFiring * state->schedule.intervalNanoseconds;
    const int64_t late = std::max<int64_t>(0, state->lateFor(state->nextFiring));
    state->event = state->time->at(due + late, [state] { fire(state); });
}

void SimulatedTimer::fire(const std::shared_ptr<State>& state) {
    state->event.reset();
    if (!state->isUnhandled) {
        state->isUnhandled = true;
        state->post([state] {
            state->isUnhandled = false;
            const auto handler = state->handler; // kept while it runs: it may cancel its own timer
            if (handler) (*handler)();
        });
    }
    const int64_t interval = state->schedule.intervalNanoseconds;
    if (interval < 1) return;
    // Due times that a late firing or a long sleep has overrun are left out.
    const int64_t past = state->time->nowNanoseconds() - state->startNanoseconds;
    state->nextFiring = std::max(state->nextFiring + 1, past / interval + (past % interval == 0 ? 0 : 1));
    scheduleFiring(state);
}

} // namespace vintra
