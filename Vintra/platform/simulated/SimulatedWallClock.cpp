#include "Vintra/platform/simulated/SimulatedWallClock.h"

#include <chrono>
#include <cmath>

namespace vintra {

namespace {
constexpr std::chrono::sys_seconds kStart = std::chrono::sys_days{std::chrono::year{2025} / 3 / 4} +
                                            std::chrono::hours{10} + std::chrono::minutes{20} +
                                            std::chrono::seconds{30};
}

SimulatedWallClock::SimulatedWallClock(std::shared_ptr<VirtualTime> time)
    : time(time)
    , startSeconds(time->nowSeconds()) {}

Date SimulatedWallClock::now() const {
    const auto start = static_cast<double>(kStart.time_since_epoch().count());
    return {start + time->nowSeconds() - startSeconds + offsetSeconds};
}

LocalTime SimulatedWallClock::localTime(Date date) const {
    const auto whole = static_cast<int64_t>(std::floor(date.secondsSince1970)) + secondsFromGreenwich;
    const std::chrono::sys_seconds instant{std::chrono::seconds{whole}};
    const auto midnight = std::chrono::floor<std::chrono::days>(instant);
    const std::chrono::year_month_day day{midnight};
    const std::chrono::hh_mm_ss clock{instant - midnight};
    return {
        .year = static_cast<int>(day.year()),
        .month = static_cast<int>(static_cast<unsigned>(day.month())),
        .day = static_cast<int>(static_cast<unsigned>(day.day())),
        .hour = static_cast<int>(clock.hours().count()),
        .minute = static_cast<int>(clock.minutes().count()),
        .second = static_cast<int>(clock.seconds().count()),
    };
}

} // namespace vintra
