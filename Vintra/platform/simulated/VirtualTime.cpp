#include "Vintra/platform/simulated/VirtualTime.h"

#include <algorithm>
#include <cmath>

namespace vintra {

int64_t nanosecondsFromSeconds(double seconds) {
    return std::llround(seconds * 1e9);
}

VirtualTime::EventID VirtualTime::at(int64_t nanoseconds, Event event) {
    const EventID id{std::max(nanoseconds, nowNanoseconds()), nextSequence++};
    if (!isShutDown) events.emplace(id, std::move(event));
    return id;
}

VirtualTime::EventID VirtualTime::afterSeconds(double seconds, Event event) {
    return after(nanosecondsFromSeconds(seconds), std::move(event));
}

void VirtualTime::cancel(EventID id) {
    const auto node = events.extract(id); // destroys the event only after the map is consistent again
}

void VirtualTime::advance(double seconds) {
    advanceNanoseconds(nanosecondsFromSeconds(seconds));
}

void VirtualTime::advanceTo(int64_t nanoseconds) {
    while (runNext(nanoseconds)) {
    }
    if (nowNanoseconds() < nanoseconds) now.store(nanoseconds, std::memory_order_relaxed);
}

bool VirtualTime::runUntil(const std::function<bool()>& predicate, double limitSeconds) {
    const int64_t limit = nowNanoseconds() + nanosecondsFromSeconds(limitSeconds);
    while (!predicate()) {
        if (runNext(limit)) continue;
        if (nowNanoseconds() < limit) now.store(limit, std::memory_order_relaxed);
        return predicate();
    }
    return true;
}

void VirtualTime::shutDown() {
    isShutDown = true;
    for (const Event& hook : std::exchange(shutDownHooks, {}))
        hook();
    const auto dropped = std::exchange(events, {});
}

bool VirtualTime::runNext(int64_t limit) {
    if (events.empty() || events.begin()->first.first > limit) return false;
    auto node = events.extract(events.begin());
    // An event that slept may have carried the time past the due times of others.
    now.store(std::max(nowNanoseconds(), node.key().first), std::memory_order_relaxed);
    enter(nullptr);
    node.mapped()();
    leave();
    return true;
}

} // namespace vintra
