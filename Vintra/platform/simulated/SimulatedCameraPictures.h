#pragma once

#include "Vintra/platform/CVPixelBuffer.h"

#include <cstdint>
#include <map>
#include <memory>
#include <utility>

namespace vintra {

/// Makes a camera's pictures, in 420v: each numbered, and each with noise of its own, as from a sensor. Small
/// ones have pixels of their own; large ones show one field of noise from places of their own, so that a take
/// of them costs no memory. One real thread.
class SimulatedCameraPictures {
public:
    /// Pictures of one number are equal to the byte.
    std::shared_ptr<CVPixelBuffer> make(CMVideoDimensions size, int64_t number);
    std::shared_ptr<CVPixelBuffer> makeBlack(CMVideoDimensions size);

    /// The number of a picture that was made here; of a large one its remainder by `kLargeNumbers`.
    static int64_t numberOf(const CVPixelBuffer& picture);
    static constexpr int64_t kLargeNumbers = 1021;
    /// A picture of more bytes is large.
    static constexpr size_t kMostSmallBytes = 4096;

private:
    std::map<std::pair<int32_t, int32_t>, std::shared_ptr<uint8_t>> fields; ///< of noise, by size
    std::map<std::pair<int32_t, int32_t>, std::shared_ptr<CVPixelBuffer>> blacks;
};

} // namespace vintra
