#include "Vintra/audio/RelayTarget.h"

#include <algorithm>

namespace vintra {
namespace {

constexpr int64_t leastFrames = 128;
constexpr int64_t mostFrames = 4096;
constexpr int64_t mostPinnedFrames = 8192;
constexpr int64_t framesIfUnknown = 1024;
constexpr int64_t leastBand = 256;

} // namespace

RelayTarget RelayTarget::initial(uint32_t sourceBufferFrames, uint32_t outputBufferFrames,
                                 int64_t pinnedFrames) {
    if (pinnedFrames > 0) return {std::clamp(pinnedFrames, leastFrames, mostPinnedFrames), true};
    const int64_t sum = int64_t{sourceBufferFrames} + outputBufferFrames;
    return {sum < leastFrames ? framesIfUnknown : std::min(sum, mostFrames), false};
}

int64_t relayBand(int64_t targetFrames) {
    return targetFrames >= 4 * leastBand ? targetFrames / 4 : leastBand;
}

} // namespace vintra
