#include "Vintra/platform/linux/runtime/LinuxWallClock.h"

#include <cmath>
#include <ctime>

namespace vintra {

Date LinuxWallClock::now() const {
    timespec time{};
    clock_gettime(CLOCK_REALTIME, &time);
    return {static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9};
}

LocalTime LinuxWallClock::localTime(Date date) const {
    const auto seconds = static_cast<time_t>(std::floor(date.secondsSince1970));
    tm parts{};
    if (!localtime_r(&seconds, &parts)) return {};
    return {.year = parts.tm_year + 1900,
            .month = parts.tm_mon + 1,
            .day = parts.tm_mday,
            .hour = parts.tm_hour,
            .minute = parts.tm_min,
            .second = parts.tm_sec};
}

} // namespace vintra
