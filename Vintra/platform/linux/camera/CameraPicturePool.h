#pragma once

#include "Vintra/platform/CVPixelBuffer.h"

#include <cstddef>
#include <cstdint>
#include <memory>

namespace vintra {

/// Memory for a camera's pictures, used again once nobody holds a picture any more. Owned by the camera's thread;
/// the pictures may outlive it and go on any thread.
class CameraPicturePool {
public:
    CameraPicturePool();
    ~CameraPicturePool();
    CameraPicturePool(const CameraPicturePool&) = delete;
    CameraPicturePool& operator=(const CameraPicturePool&) = delete;

    /// A picture to be filled, its rows with room for a pixel more; null if as many are held as all that comes
    /// behind may hold.
    std::shared_ptr<CVPixelBuffer> picture(uint32_t pixelFormat, size_t width, size_t height);

private:
    struct Memory;
    const std::shared_ptr<Memory> memory;
};

} // namespace vintra
