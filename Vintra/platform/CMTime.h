#pragma once

#include <cstdint>
#include <string>

namespace vintra {

enum CMTimeFlags : uint32_t {
    kCMTimeFlags_Valid = 1u << 0,
    kCMTimeFlags_HasBeenRounded = 1u << 1,
    kCMTimeFlags_PositiveInfinity = 1u << 2,
    kCMTimeFlags_NegativeInfinity = 1u << 3,
    kCMTimeFlags_Indefinite = 1u << 4,
};

/// A time as the exact rational `value`/`timescale` seconds, or one of the non-numeric times: invalid (all
/// zero), the two infinities, indefinite. Arithmetic on numeric times is exact as long as the result can be
/// written with a 64-bit value over a 32-bit time scale; where it can't, the nearest that can be written is
/// given and `kCMTimeFlags_HasBeenRounded` is set. A result beyond the range of the value is the infinity of
/// its sign. A plain value: any thread.
struct CMTime {
    int64_t value = 0;
    int32_t timescale = 0;
    uint32_t flags = 0;

    bool isValid() const { return (flags & kCMTimeFlags_Valid) != 0; }
    /// Valid, and neither infinite nor indefinite.
    bool isNumeric() const;
    bool isPositiveInfinity() const { return isValid() && (flags & kCMTimeFlags_PositiveInfinity) != 0; }
    bool isNegativeInfinity() const { return isValid() && (flags & kCMTimeFlags_NegativeInfinity) != 0; }
    bool isIndefinite() const { return isValid() && (flags & kCMTimeFlags_Indefinite) != 0; }
    bool hasBeenRounded() const { return isValid() && (flags & kCMTimeFlags_HasBeenRounded) != 0; }
};

inline constexpr CMTime kCMTimeInvalid{};
inline constexpr CMTime kCMTimeZero{0, 1, kCMTimeFlags_Valid};
inline constexpr CMTime kCMTimePositiveInfinity{0, 0, kCMTimeFlags_Valid | kCMTimeFlags_PositiveInfinity};
inline constexpr CMTime kCMTimeNegativeInfinity{0, 0, kCMTimeFlags_Valid | kCMTimeFlags_NegativeInfinity};
inline constexpr CMTime kCMTimeIndefinite{0, 0, kCMTimeFlags_Valid | kCMTimeFlags_Indefinite};

/// `value`/`timescale` seconds; invalid if `timescale` is below 1.
CMTime CMTimeMake(int64_t value, int32_t timescale);

/// `seconds` at the preferred time scale, rounded to nearest with halves away from zero; flagged as rounded
/// if that changed it. A NaN gives the invalid time, an infinity the infinite one.
CMTime CMTimeMakeWithSeconds(double seconds, int32_t preferredTimescale);

/// The sum at the least common multiple of the time scales, or at the reduced one where that multiple is too
/// large. Invalid if either is invalid or the two are opposite infinities; indefinite if either is
/// indefinite.
CMTime CMTimeAdd(CMTime a, CMTime b);
/// a - b, by the rules of `CMTimeAdd`.
CMTime CMTimeSubtract(CMTime a, CMTime b);
/// a × factor at a's time scale.
CMTime CMTimeMultiply(CMTime a, int32_t factor);

/// -1, 0 or 1, exactly, whatever the time scales. Non-numeric times order as: negative infinity, numeric
/// times, positive infinity, indefinite, invalid.
int CMTimeCompare(CMTime a, CMTime b);

/// Seconds as a double; NaN for invalid and indefinite times, an infinity for infinite ones.
double CMTimeGetSeconds(CMTime time);

/// The same time at another time scale, rounded to nearest with halves away from zero and flagged if that
/// changed it.
CMTime CMTimeConvertScale(CMTime time, int32_t timescale);

/// For messages and test failures: "3/600", "invalid", "+inf", "-inf", "indefinite"; a rounded time has a "~"
/// before.
std::string describe(CMTime time);

inline CMTime operator+(CMTime a, CMTime b) {
    return CMTimeAdd(a, b);
}
inline CMTime operator-(CMTime a, CMTime b) {
    return CMTimeSubtract(a, b);
}
inline bool operator==(CMTime a, CMTime b) {
    return CMTimeCompare(a, b) == 0;
}
inline bool operator<(CMTime a, CMTime b) {
    return CMTimeCompare(a, b) < 0;
}
inline bool operator>(CMTime a, CMTime b) {
    return CMTimeCompare(a, b) > 0;
}
inline bool operator<=(CMTime a, CMTime b) {
    return CMTimeCompare(a, b) <= 0;
}
inline bool operator>=(CMTime a, CMTime b) {
    return CMTimeCompare(a, b) >= 0;
}

} // namespace vintra
