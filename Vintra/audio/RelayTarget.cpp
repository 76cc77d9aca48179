#include "Vintra/audio/RelayTarget.h"

#include <algorithm>

namespace vintra {
namespace {

constexpr int64_t kLeastFrames = 128;
constexpr int64_t kMostFrames = 4096;
constexpr int64_t kMostPinnedFrames = 8192;
constexpr int64_t kFramesIfUnknown = 1024;
constexpr int64_t kLeastBand = 256;

} // namespace

RelayTarget RelayTarget::initial(uint32_t sourceBufferFrames, uint32_t outputBufferFrames,
                                 int64_t pinnedFrames) {
    if (pinnedFrames > 0) return {std::clamp(pinnedFrames, kLeastFrames, kMostPinnedFrames), true};
    const int64_t sum = int64_t{sourceBufferFrames} + outputBufferFrames;
    return {sum < kLeastFrames ? kFramesIfUnknown : std::min(sum, kMostFrames), false};
}

int64_t relayBand(int64_t targetFrames) {
    return targetFrames >= 4 * kLeastBand ? targetFrames / 4 : kLeastBand;
}

} // namespace vintra
