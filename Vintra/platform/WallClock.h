#pragma once

#include <compare>

namespace vintra {

/// A wall-clock instant in seconds since 1970-01-01 00:00 UTC.
struct Date {
    double secondsSince1970 = 0;
    auto operator<=>(const Date&) const = default;
};

struct LocalTime {
    int year = 1970;
    int month = 1; ///< 1 to 12
    int day = 1;
    int hour = 0;
    int minute = 0;
    int second = 0;
};

/// The clock on the wall: it may be set while the program runs, so it never measures a take's media. Any
/// thread.
class WallClock {
public:
    virtual ~WallClock() = default;
    virtual Date now() const = 0;
    /// The instant in the user's time zone.
    virtual LocalTime localTime(Date date) const = 0;
};

} // namespace vintra
