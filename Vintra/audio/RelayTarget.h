#pragma once

#include <cstdint>

namespace vintra {

/// The fill that a relay's ring is held near, in frames.
struct RelayTarget {
    int64_t frames = 1024;
    bool isPinned = false; ///< fixed by the setting: it never grows

    /// One source buffer and one output buffer, as far as both sizes are known and add up to enough.
    /// `pinnedFrames` is the setting `RelayTargetFrames`, 0 or below where it doesn't fix the target.
    static RelayTarget initial(uint32_t sourceBufferFrames, uint32_t outputBufferFrames,
                               int64_t pinnedFrames);

    bool operator==(const RelayTarget&) const = default;
};

/// How far the fill may stray from the target to either side before frames are dropped or repeated.
int64_t relayBand(int64_t targetFrames);

} // namespace vintra
