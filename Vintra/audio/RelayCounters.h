#pragma once

#include <cstdint>
#include <limits>

namespace vintra {

/// The state of a relay's ring and all that is counted on it. Counts of frames run from the start and are
/// never wrapped. A value.
struct RelayCounters {
    static constexpr int64_t kLargest = std::numeric_limits<int64_t>::max();

    // First a cache line of what both sides read and write in every cycle, then a line for each side alone: a
    // cycle is shorter the less data moves between the two processors.
    alignas(64) int64_t writeIndex = 0; ///< frames ever written
    int64_t readIndex = 0;              ///< frames ever consumed
    int64_t targetFillFrames = 0;       ///< changes by growth alone
    int64_t fillLow = kLargest;         ///< while primed, since the last growth
    int64_t fillHigh = 0;
    int64_t fillHighAtFrame = 0; ///< `framesIn` then
    bool primed = false;         ///< false: the output is silent and lets the ring fill

    alignas(64) int64_t sourceIOCount = 0; ///< source cycles that reached the ring
    int64_t framesIn = 0;
    int64_t overruns = 0;          ///< source cycles that couldn't store all their frames
    int64_t skips = 0;             ///< frames dropped on purpose on the way in
    int64_t firstSkipAtFrame = -1; ///< `framesIn` then; -1 if there was none
    int64_t lastSkipAtFrame = -1;
    int64_t sourceCycleFrames = 0; ///< the longest cycle seen

    alignas(64) int64_t outputIOCount = 0; ///< output cycles that reached the ring
    int64_t framesOut = 0;
    int64_t underruns = 0; ///< output cycles with a silent frame in them
    int64_t underrunsSinceGrow = 0;
    int64_t grows = 0;
    int64_t repeats = 0;  ///< frames doubled on purpose on the way out
    int64_t reprimes = 0; ///< times the output went from silence to sound, the first included
    int64_t outputCycleFrames = 0;

    int64_t fill() const { return writeIndex - readIndex; }
    bool operator==(const RelayCounters&) const = default;
};

} // namespace vintra
