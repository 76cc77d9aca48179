#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <utility>
#include <vector>

namespace vintra {

/// The time of a simulated machine, and everything that is still to happen on it. Events run one after
/// another in the order of (time, sequence of scheduling), so a run is the same every time. Owned by the
/// `SimulatedMachine`, shared by its services. One real thread; `nowNanoseconds` alone may be read on any.
class VirtualTime {
public:
    using Event = std::function<void()>;
    using EventID = std::pair<int64_t, uint64_t>; ///< due time in nanoseconds, sequence number

    /// Since the machine was switched on, which is not the start of the test.
    int64_t nowNanoseconds() const { return now.load(std::memory_order_relaxed); }
    double nowSeconds() const { return static_cast<double>(nowNanoseconds()) * 1e-9; }

    /// An event in the past is due now.
    EventID at(int64_t nanoseconds, Event event);
    EventID after(int64_t nanoseconds, Event event) {
        return at(nowNanoseconds() + nanoseconds, std::move(event));
    }
    EventID afterSeconds(double seconds, Event event);
    /// An event that has run or is running is left alone.
    void cancel(EventID id);

    /// Runs every event due within that span, those included that they schedule, then stands at its end. May
    /// be called from within an event.
    void advanceNanoseconds(int64_t nanoseconds) { advanceTo(nowNanoseconds() + nanoseconds); }
    void advance(double seconds);
    void advanceTo(int64_t nanoseconds);
    /// Runs every event that is due now.
    void settle() { advanceTo(nowNanoseconds()); }
    /// Runs events until the predicate holds; it is asked before the first and after each. False if it still
    /// doesn't when the time has advanced by the limit.
    bool runUntil(const std::function<bool()>& predicate, double limitSeconds);

    /// Drops all events and runs the hooks; from then on new events are dropped: the machine is going.
    void shutDown();
    void onShutDown(Event hook) { shutDownHooks.push_back(std::move(hook)); }
    bool hasShutDown() const { return isShutDown; }

    /// Who is at work: the innermost entry. An event is a thread of its own (null) until it enters a lane.
    void enter(const void* context) { contexts.push_back(context); }
    void leave() { contexts.pop_back(); }
    /// True between events: that is the test itself.
    bool isIdle() const { return contexts.empty(); }
    const void* currentContext() const { return contexts.empty() ? nullptr : contexts.back(); }

private:
    bool runNext(int64_t limit);

    std::atomic<int64_t> now{1000 * INT64_C(1'000'000'000)};
    uint64_t nextSequence = 0;
    bool isShutDown = false;
    std::map<EventID, Event> events;
    std::vector<Event> shutDownHooks;
    std::vector<const void*> contexts;
};

/// The nanoseconds of a time in seconds, rounded to nearest.
int64_t nanosecondsFromSeconds(double seconds);

} // namespace vintra
