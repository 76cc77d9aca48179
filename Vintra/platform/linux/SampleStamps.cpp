#include "Vintra/platform/linux/SampleStamps.h"

#include <algorithm>
#include <cstdlib>

namespace vintra {

int64_t SampleStamps::stamp(int64_t graphTime, uint32_t frames) {
    constexpr int64_t second = 1'000'000'000;
    // The frames since the anchor are counted as such, so that a length that is no whole number of
    // nanoseconds leaves no error behind.
    const int64_t expected = anchor + framesSinceAnchor * second / sampleRate;
    const int64_t difference = graphTime - expected;
    if (!hasBegun || std::llabs(difference) >= gapNanoseconds) {
        if (hasBegun) ++gaps_;
        hasBegun = true;
        anchor = graphTime;
        framesSinceAnchor = 0;
    } else {
        const int64_t limit = lastFrames * second / sampleRate / 10'000;
        anchor += std::clamp(difference / 64, -limit, limit);
    }
    const int64_t result = anchor + framesSinceAnchor * second / sampleRate;
    framesSinceAnchor += frames;
    lastFrames = frames;
    anchor += framesSinceAnchor / sampleRate * second;
    framesSinceAnchor %= sampleRate;
    return result;
}

} // namespace vintra
