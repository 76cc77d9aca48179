#pragma once

#include "Vintra/platform/CVPixelBuffer.h"

#include <cstdint>
#include <map>
#include <memory>
#include <tuple>

namespace vintra {

/// Makes pictures in one shade. Each has an identity of its own, but pictures of one size and shade share
/// their pixels, which are kept: a long take costs no memory as long as it shows few shades. One real thread.
class SimulatedPictures {
public:
    /// Every byte of the picture is the shade. Null for a format that isn't known.
    std::shared_ptr<CVPixelBuffer> make(uint32_t pixelFormat, size_t width, size_t height, uint8_t shade);

private:
    std::map<std::tuple<uint32_t, size_t, size_t, uint8_t>, std::shared_ptr<CVPixelBuffer>> originals;
};

} // namespace vintra
