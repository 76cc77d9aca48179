#pragma once

#include <cstdint>
#include <span>

namespace vintra {

/// One stream of a device's IO cycle: interleaved 32-bit float samples in the device's memory, which is there
/// for the length of the cycle.
struct AudioBuffer {
    uint32_t mNumberChannels = 0;
    uint32_t mDataByteSize = 0;
    float* mData = nullptr; ///< may be null
};

/// The streams of one IO cycle.
using AudioBufferList = std::span<const AudioBuffer>;

} // namespace vintra
