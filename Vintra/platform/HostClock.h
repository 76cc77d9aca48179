#pragma once

#include "Vintra/platform/CMTime.h"

#include <cstdint>

namespace vintra {

/// Ticks a second of every host time. 7,200,000 is a multiple of 600 and of 24, 25, 30, 48, 50, 60, 96, 120,
/// 144, 240 and 48,000, and its least common multiple with any whole rate up to 240 fits the 32 bits of a
/// time scale: so the sum of a host time, a phase in 1/600 s and a slot at any such rate is exact. A tick is
/// 139 ns.
inline constexpr int32_t kHostTimescale = 7'200'000;

/// The one clock that all samples of a take are stamped on; it never goes back. Any thread.
class HostClock {
public:
    virtual ~HostClock() = default;
    /// Now, at `kHostTimescale`.
    virtual CMTime now() const = 0;
    /// Blocks the calling thread for at least this long. On virtual time the other threads keep working
    /// meanwhile.
    virtual void sleep(int64_t microseconds) = 0;
};

/// The host time of a reading of the machine's monotonic clock in nanoseconds, rounded down to a tick.
constexpr CMTime hostTimeFromNanoseconds(int64_t nanoseconds) {
    // 7.2 ticks a microsecond. Whole seconds apart, so that the product stays within 64 bits.
    const int64_t seconds = nanoseconds / 1'000'000'000;
    const int64_t rest = nanoseconds % 1'000'000'000;
    return {seconds * kHostTimescale + rest * 9 / 1250, kHostTimescale, kCMTimeFlags_Valid};
}

} // namespace vintra
