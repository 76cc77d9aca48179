#pragma once

#include "Vintra/platform/AudioDeviceIO.h"

#include <cstdint>
#include <optional>

namespace vintra {

struct BufferFrameSizeLimits {
    uint32_t min = 0;
    uint32_t max = 0;
    bool operator==(const BufferFrameSizeLimits&) const = default;
};

/// The sizes of a cycle that the device allows, in whole frames; nothing if they can't be read.
std::optional<BufferFrameSizeLimits> bufferFrameSizeRange(const AudioDeviceIO& io, AudioObjectID of);

/// Asks for a size within the device's limits, if those can be read. The size in force afterwards, 0 if it
/// can't be read.
uint32_t requestBufferFrameSize(AudioDeviceIO& io, uint32_t frames, AudioObjectID on);

} // namespace vintra
