#include "Vintra/platform/CMTime.h"

#include <cmath>
#include <limits>
#include <numeric>

namespace vintra {
namespace {

__extension__ using Wide = __int128;

constexpr Wide kMaxValue = std::numeric_limits<int64_t>::max();
constexpr Wide kMaxTimescale = std::numeric_limits<int32_t>::max();

Wide magnitude(Wide x) {
    return x < 0 ? -x : x;
}

Wide greatestCommonDivisor(Wide a, Wide b) {
    a = magnitude(a);
    b = magnitude(b);
    while (b != 0) {
        const Wide rest = a % b;
        a = b;
        b = rest;
    }
    return a;
}

/// numerator/denominator to the nearest whole number, halves away from zero; the denominator is positive.
Wide dividedToNearest(Wide numerator, Wide denominator) {
    const Wide whole = numerator / denominator;
    const Wide rest = magnitude(numerator % denominator);
    if (rest < denominator - rest) return whole;
    return numerator < 0 ? whole - 1 : whole + 1;
}

CMTime infinity(bool positive) {
    return positive ? kCMTimePositiveInfinity : kCMTimeNegativeInfinity;
}

uint32_t roundedFlag(CMTime a, CMTime b) {
    return (a.flags | b.flags) & kCMTimeFlags_HasBeenRounded;
}

/// The rational numerator/denominator as a time: unreduced if it fits, else reduced, else rounded to the
/// largest time scale at which it fits. The denominator is positive.
CMTime timeFromRational(Wide numerator, Wide denominator, uint32_t extraFlags) {
    if (denominator > kMaxTimescale || magnitude(numerator) > kMaxValue) {
        const Wide divisor = greatestCommonDivisor(numerator, denominator);
        if (divisor > 1) {
            numerator /= divisor;
            denominator /= divisor;
        }
    }
    uint32_t flags = kCMTimeFlags_Valid | extraFlags;
    if (denominator > kMaxTimescale) {
        numerator = dividedToNearest(numerator * kMaxTimescale, denominator);
        denominator = kMaxTimescale;
        flags |= kCMTimeFlags_HasBeenRounded;
    }
    if (magnitude(numerator) > kMaxValue) {
        const Wide seconds = dividedToNearest(numerator, denominator);
        if (magnitude(seconds) > kMaxValue) return infinity(numerator > 0);
        Wide timescale = kMaxValue / (magnitude(seconds) + 1);
        if (timescale < 1) timescale = 1;
        if (timescale > denominator) timescale = denominator;
        numerator = dividedToNearest(numerator * timescale, denominator);
        denominator = timescale;
        flags |= kCMTimeFlags_HasBeenRounded;
        if (magnitude(numerator) > kMaxValue) return infinity(numerator > 0);
    }
    return {static_cast<int64_t>(numerator), static_cast<int32_t>(denominator), flags};
}

/// The order of times that are not both numeric.
int rank(CMTime time) {
    if (!time.isValid()) return 4;
    if (time.isIndefinite()) return 3;
    if (time.isPositiveInfinity()) return 2;
    if (time.isNegativeInfinity()) return 0;
    return 1;
}

CMTime negated(CMTime time) {
    if (time.isPositiveInfinity()) return kCMTimeNegativeInfinity;
    if (time.isNegativeInfinity()) return kCMTimePositiveInfinity;
    return time;
}

CMTime addNonNumeric(CMTime a, CMTime b) {
    if (!a.isValid() || !b.isValid()) return kCMTimeInvalid;
    if (a.isIndefinite() || b.isIndefinite()) return kCMTimeIndefinite;
    if (a.isNumeric()) return b;
    if (b.isNumeric()) return a;
    return a.isPositiveInfinity() == b.isPositiveInfinity() ? a : kCMTimeInvalid;
}

CMTime sum(CMTime a, CMTime b, int sign) {
    const Wide common = std::lcm<int64_t>(a.timescale, b.timescale);
    const Wide numerator = static_cast<Wide>(a.value) * (common / a.timescale) +
                           sign * static_cast<Wide>(b.value) * (common / b.timescale);
    return timeFromRational(numerator, common, roundedFlag(a, b));
}

} // namespace

bool CMTime::isNumeric() const {
    constexpr uint32_t implied =
        kCMTimeFlags_PositiveInfinity | kCMTimeFlags_NegativeInfinity | kCMTimeFlags_Indefinite;
    return isValid() && (flags & implied) == 0 && timescale > 0;
}

CMTime CMTimeMake(int64_t value, int32_t timescale) {
    if (timescale < 1) return kCMTimeInvalid;
    return {value, timescale, kCMTimeFlags_Valid};
}

CMTime CMTimeMakeWithSeconds(double seconds, int32_t preferredTimescale) {
    if (std::isnan(seconds) || preferredTimescale < 1) return kCMTimeInvalid;
    const double exact = seconds * preferredTimescale;
    const double rounded = std::round(exact);
    // 2^63 is the first double beyond the range of the value.
    if (!(std::fabs(rounded) < 9223372036854775808.0)) return infinity(seconds > 0);
    CMTime time = CMTimeMake(static_cast<int64_t>(rounded), preferredTimescale);
    if (rounded / preferredTimescale != seconds) time.flags |= kCMTimeFlags_HasBeenRounded;
    return time;
}

CMTime CMTimeAdd(CMTime a, CMTime b) {
    return a.isNumeric() && b.isNumeric() ? sum(a, b, 1) : addNonNumeric(a, b);
}

CMTime CMTimeSubtract(CMTime a, CMTime b) {
    return a.isNumeric() && b.isNumeric() ? sum(a, b, -1) : addNonNumeric(a, negated(b));
}

CMTime CMTimeMultiply(CMTime a, int32_t factor) {
    if (a.isNumeric()) {
        return timeFromRational(static_cast<Wide>(a.value) * factor, a.timescale,
                                a.flags & kCMTimeFlags_HasBeenRounded);
    }
    if (!a.isValid() || a.isIndefinite()) return a;
    if (factor == 0) return kCMTimeInvalid;
    return factor < 0 ? negated(a) : a;
}

int CMTimeCompare(CMTime a, CMTime b) {
    if (!a.isNumeric() || !b.isNumeric()) {
        const int left = rank(a);
        const int right = rank(b);
        return left < right ? -1 : left > right ? 1 : 0;
    }
    const Wide left = static_cast<Wide>(a.value) * b.timescale;
    const Wide right = static_cast<Wide>(b.value) * a.timescale;
    return left < right ? -1 : left > right ? 1 : 0;
}

double CMTimeGetSeconds(CMTime time) {
    if (time.isNumeric()) {
        // A value that a double holds exactly is divided at once: one rounding, to the nearest double.
        constexpr int64_t exactLimit = int64_t{1} << 53;
        if (time.value >= -exactLimit && time.value <= exactLimit)
            return static_cast<double>(time.value) / time.timescale;
        // A larger one is split into whole seconds and the fraction, so that it loses no precision before the
        // division.
        const int64_t whole = time.value / time.timescale;
        const int64_t rest = time.value % time.timescale;
        return static_cast<double>(whole) + static_cast<double>(rest) / time.timescale;
    }
    if (time.isPositiveInfinity()) return std::numeric_limits<double>::infinity();
    if (time.isNegativeInfinity()) return -std::numeric_limits<double>::infinity();
    return std::numeric_limits<double>::quiet_NaN();
}

CMTime CMTimeConvertScale(CMTime time, int32_t timescale) {
    if (!time.isNumeric()) return time;
    if (timescale < 1) return kCMTimeInvalid;
    const Wide numerator = static_cast<Wide>(time.value) * timescale;
    const Wide value = dividedToNearest(numerator, time.timescale);
    if (magnitude(value) > kMaxValue) return infinity(time.value > 0);
    uint32_t flags = kCMTimeFlags_Valid | (time.flags & kCMTimeFlags_HasBeenRounded);
    if (value * time.timescale != numerator) flags |= kCMTimeFlags_HasBeenRounded;
    return {static_cast<int64_t>(value), timescale, flags};
}

std::string describe(CMTime time) {
    if (!time.isValid()) return "invalid";
    if (time.isIndefinite()) return "indefinite";
    if (time.isPositiveInfinity()) return "+inf";
    if (time.isNegativeInfinity()) return "-inf";
    return (time.hasBeenRounded() ? "~" : "") + std::to_string(time.value) + "/" +
           std::to_string(time.timescale);
}

} // namespace vintra
