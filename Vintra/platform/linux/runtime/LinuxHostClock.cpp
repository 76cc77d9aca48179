#include "Vintra/platform/linux/runtime/LinuxHostClock.h"

#include <cerrno>
#include <ctime>

namespace vintra {

int64_t monotonicNanoseconds() {
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<int64_t>(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
}

CMTime LinuxHostClock::now() const {
    return hostTimeFromNanoseconds(monotonicNanoseconds());
}

void LinuxHostClock::sleep(int64_t microseconds) {
    if (microseconds <= 0) return;
    // An absolute deadline, so that signals on the way don't lengthen it.
    const int64_t deadline = monotonicNanoseconds() + microseconds * 1000;
    timespec until{};
    until.tv_sec = deadline / 1'000'000'000;
    until.tv_nsec = deadline % 1'000'000'000;
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &until, nullptr) == EINTR) {
    }
}

} // namespace vintra
