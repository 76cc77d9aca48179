#pragma once

#include "Vintra/platform/linux/camera/CameraColour.h"
#include "Vintra/platform/linux/camera/CameraPixelLayout.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace vintra {

/// A picture as a camera sent it or as a decoder gave it, in memory that someone else owns. A value.
struct CameraPicture {
    struct Plane {
        const uint8_t* bytes = nullptr;
        size_t row = 0; ///< bytes from one row to the next
    };
    CameraPixelLayout layout = CameraPixelLayout::nv12; ///< a raw one
    size_t width = 0;
    size_t height = 0;
    Plane planes[3];
    CameraColour colour; ///< of a picture in luma and chroma
};

/// A block of memory with one plane of a picture, or with all of them one behind the other.
struct CameraMemory {
    const uint8_t* bytes = nullptr;
    size_t size = 0;
    size_t row = 0; ///< bytes from one row to the next, of the first plane in it; 0: they lie close together
};

/// Points the picture's planes at their places in one block, or in a block for each. False if there isn't room for
/// the picture in them.
bool layOut(CameraPicture& picture, std::span<const CameraMemory> blocks);

} // namespace vintra
