#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace vintra {

struct DispatchTimerSchedule {
    int64_t delayNanoseconds = 0;    ///< from now to the first firing
    int64_t intervalNanoseconds = 0; ///< between firings; they don't drift
    int64_t leewayNanoseconds = 0;   ///< how much later than due a firing may come
};

/// A repeating timer on a queue. Made suspended. Destroying it cancels it. Any thread.
class DispatchTimer {
public:
    virtual ~DispatchTimer() = default;
    virtual void resume() = 0;
    /// Called on the timer's own queue, no firing begins after it returns; called on another thread, it doesn't
    /// interrupt a firing that has begun. It never waits, so the caller may hold a lock that the handler takes.
    virtual void cancel() = 0;
};

/// Runs work one piece after another, in the order given. Any thread.
class DispatchQueue {
public:
    virtual ~DispatchQueue() = default;
    virtual const std::string& label() const = 0;
    virtual void async(std::function<void()> work) = 0;
    /// Runs the work after all that was queued before, and returns when it has ended. Not from the queue
    /// itself.
    virtual void sync(const std::function<void()>& work) = 0;
    /// A firing that finds the previous one still unhandled is left out, never queued behind it.
    virtual std::unique_ptr<DispatchTimer> makeTimer(DispatchTimerSchedule schedule,
                                                     std::function<void()> handler) = 0;
};

enum class QualityOfService { userInitiated, utility };

/// Makes queues. Main thread.
class DispatchQueues {
public:
    virtual ~DispatchQueues() = default;
    /// A serial queue of its own. Work that is still queued when the last reference goes is run first.
    virtual std::shared_ptr<DispatchQueue> makeSerialQueue(const std::string& label) = 0;
    /// A queue for detached work. Pieces may run side by side and in any order.
    virtual std::shared_ptr<DispatchQueue> globalQueue(QualityOfService quality) = 0;
};

} // namespace vintra
