#include "Vintra/platform/simulated/SimulatedPictures.h"

#include <cstring>
#include <utility>
#include <vector>

namespace vintra {

std::shared_ptr<CVPixelBuffer> SimulatedPictures::make(uint32_t pixelFormat, size_t width, size_t height,
                                                       uint8_t shade) {
    auto& original = originals[{pixelFormat, width, height, shade}];
    if (!original) {
        original = CVPixelBuffer::make(pixelFormat, width, height);
        if (!original) return nullptr;
        for (size_t i = 0; i < original->planeCount(); ++i) {
            const CVPixelBuffer::Plane& plane = original->plane(i);
            std::memset(plane.baseAddress, shade, plane.bytesPerRow * plane.height);
        }
    }
    std::vector<CVPixelBuffer::Plane> planes;
    for (size_t i = 0; i < original->planeCount(); ++i)
        planes.push_back(original->plane(i));
    return CVPixelBuffer::make(pixelFormat, width, height, std::move(planes), original);
}

} // namespace vintra
