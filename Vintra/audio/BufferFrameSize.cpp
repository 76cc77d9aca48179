#include "Vintra/audio/BufferFrameSize.h"

#include <algorithm>

namespace vintra {
namespace {

uint32_t wholeFrames(double frames) {
    constexpr double most = 4'294'967'295.0;
    return frames >= 0 ? static_cast<uint32_t>(std::min(frames, most)) : 0;
}

} // namespace

std::optional<BufferFrameSizeLimits> bufferFrameSizeRange(const AudioDeviceIO& io, AudioObjectID of) {
    const auto range = io.bufferFrameSizeRange(of);
    if (!range) return std::nullopt;
    return BufferFrameSizeLimits{wholeFrames(range->minimum), wholeFrames(range->maximum)};
}

uint32_t requestBufferFrameSize(AudioDeviceIO& io, uint32_t frames, AudioObjectID on) {
    if (const auto range = bufferFrameSizeRange(io, on))
        io.setBufferFrameSize(on, std::min(std::max(frames, range->min), range->max));
    return io.bufferFrameSize(on).value_or(0);
}

} // namespace vintra
