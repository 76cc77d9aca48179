#include "Vintra/platform/linux/pipewire/SampleStamps.h"

#include <algorithm>
#include <cstdlib>

namespace vintra {
namespace {

constexpr int64_t kSecond = 1'000'000'000; // nanoseconds

} // namespace

int64_t SampleStamps::stamp(int64_t graphTime, uint32_t frames) {
    // The frames since the anchor are counted as such, so that a length that is no whole number of
    // nanoseconds leaves no error behind.
    const int64_t expected = anchor + framesSinceAnchor * kSecond / sampleRate;
    const int64_t difference = graphTime - expected;
    if (!hasBegun || std::llabs(difference) >= kGapNanoseconds) {
        begin(graphTime);
    } else {
        follow(difference);
    }
    const int64_t result = anchor + framesSinceAnchor * kSecond / sampleRate;
    framesToSettle -= std::min<int64_t>(frames, framesToSettle);
    framesSinceAnchor += frames;
    lastFrames = frames;
    anchor += framesSinceAnchor / sampleRate * kSecond;
    framesSinceAnchor %= sampleRate;
    return result;
}

void SampleStamps::begin(int64_t graphTime) {
    if (hasBegun) gaps_.fetch_add(1, std::memory_order_relaxed);
    hasBegun = true;
    anchor = graphTime;
    framesSinceAnchor = 0;
    framesToSettle = sampleRate;
    differences = 0;
}

void SampleStamps::follow(int64_t difference) {
    least = differences == 0 ? difference : std::min(least, difference);
    most = differences == 0 ? difference : std::max(most, difference);
    ++differences;
    int64_t correction = 0;
    if (framesToSettle > 0 && difference < 0) {
        correction = difference;
        differences = 0;
    } else if (differences == kBuffersOfASlip && (least > kSlipNanoseconds || most < -kSlipNanoseconds)) {
        correction = least > 0 ? least : most;
    } else {
        const int64_t limit = lastFrames * kSecond / sampleRate / 10'000;
        correction = std::clamp(difference / 64, -limit, limit);
    }
    if (differences == kBuffersOfASlip) differences = 0;
    anchor += correction;
}

} // namespace vintra
