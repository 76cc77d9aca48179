#include "Vintra/platform/linux/runtime/LinuxDispatchQueueCore.h"

#include <algorithm>
#include <functional>
#include <utility>

namespace vintra {

void LinuxDispatchQueue::Core::async(std::function<void()> work) {
    {
        MutexLock lock(mutex);
        items.push_back({std::move(work), nullptr});
    }
    changed.notify_one();
}

void LinuxDispatchQueue::Core::arm(const std::shared_ptr<TimerState>& timer) {
    {
        MutexLock lock(mutex);
        if (timer->armed || !timer->handler) return;
        timer->armed = true;
        timers.push_back(timer);
    }
    changed.notify_one();
}

void LinuxDispatchQueue::Core::cancel(const std::shared_ptr<TimerState>& timer) {
    // What the handler captured goes after the lock.
    std::function<void()> handler;
    MutexLock lock(mutex);
    timer->armed = false;
    handler.swap(timer->handler);
    std::erase(timers, timer);
    lock.unlock();
}

void LinuxDispatchQueue::Core::close() {
    {
        MutexLock lock(mutex);
        closing = true;
    }
    changed.notify_all();
}

void LinuxDispatchQueue::Core::run() {
    while (auto item = nextItem()) {
        if (item->timer)
            fire(item->timer);
        else
            item->work();
    }
}

/// Waits for the next piece; nothing once the queue is closed and empty.
std::optional<LinuxDispatchQueue::Core::Item> LinuxDispatchQueue::Core::nextItem() {
    MutexLock lock(mutex);
    while (true) {
        queueDueTimers(Clock::now());
        if (!items.empty()) {
            Item item = std::move(items.front());
            items.pop_front();
            return item;
        }
        if (closing) return std::nullopt;
        if (const auto due = earliestDue())
            changed.wait_until(mutex, *due);
        else
            changed.wait(mutex);
    }
}

void LinuxDispatchQueue::Core::queueDueTimers(Clock::time_point now) {
    for (const auto& timer : timers) {
        if (timer->pending || timer->due > now) continue;
        timer->pending = true;
        items.push_back({nullptr, timer});
    }
}

std::optional<LinuxDispatchQueue::Core::Clock::time_point> LinuxDispatchQueue::Core::earliestDue() const {
    std::optional<Clock::time_point> earliest;
    for (const auto& timer : timers) {
        if (!timer->pending && (!earliest || timer->due < *earliest)) earliest = timer->due;
    }
    return earliest;
}

/// Runs the handler, and sets the next firing at the first multiple of the interval that is still to come:
/// those in between found this one unhandled.
void LinuxDispatchQueue::Core::fire(const std::shared_ptr<TimerState>& timer) {
    std::function<void()> handler;
    {
        MutexLock lock(mutex);
        if (timer->armed) handler = timer->handler;
    }
    if (handler) handler();

    bool again = false;
    {
        MutexLock lock(mutex);
        timer->pending = false;
        if (timer->armed && timer->interval > Clock::duration::zero()) {
            const auto late = Clock::now() - timer->due;
            timer->due += (late / timer->interval + 1) * timer->interval;
            again = true;
        } else {
            timer->armed = false;
            timer->handler = nullptr; // `handler` still holds what it captured
            std::erase(timers, timer);
        }
    }
    // With several threads another one may be waiting for a later timer, or for none.
    if (again) changed.notify_one();
}

} // namespace vintra
