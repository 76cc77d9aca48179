#pragma once

#include "Vintra/platform/linux/runtime/LinuxDispatchQueue.h"

#include <chrono>
#include <functional>
#include <optional>

namespace vintra {

/// What the threads of a queue share, and outlives the queue until the last of them has ended. Any thread.
class LinuxDispatchQueue::Core {
public:
    /// std::chrono::steady_clock is CLOCK_MONOTONIC, so waits until a point of it end by the host clock.
    using Clock = std::chrono::steady_clock;

    /// A timer as the threads see it. Every field but the constants belongs to the core's mutex.
    struct TimerState {
        std::function<void()> handler; ///< taken out by the cancel
        const Clock::duration interval;
        Clock::time_point due;
        bool armed = false;   ///< resumed, neither cancelled nor over
        bool pending = false; ///< queued or running
    };

    void async(std::function<void()> work) EXCLUDES(mutex);
    void arm(const std::shared_ptr<TimerState>& timer) EXCLUDES(mutex);
    void cancel(const std::shared_ptr<TimerState>& timer) EXCLUDES(mutex);
    /// Lets the threads end once the queued work is done.
    void close() EXCLUDES(mutex);
    /// The body of each thread.
    void run() EXCLUDES(mutex);

private:
    struct Item {
        std::function<void()> work;
        std::shared_ptr<TimerState> timer; ///< in place of work
    };

    std::optional<Item> nextItem() EXCLUDES(mutex);
    void queueDueTimers(Clock::time_point now) REQUIRES(mutex);
    std::optional<Clock::time_point> earliestDue() const REQUIRES(mutex);
    void fire(const std::shared_ptr<TimerState>& timer) EXCLUDES(mutex);

    mutable Mutex mutex;
    std::condition_variable_any changed;
    std::deque<Item> items GUARDED_BY(mutex);
    std::vector<std::shared_ptr<TimerState>> timers GUARDED_BY(mutex); ///< the armed ones
    bool closing GUARDED_BY(mutex) = false;
};

} // namespace vintra
