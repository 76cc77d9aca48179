#pragma once

#include "Vintra/platform/CMFormatDescription.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace vintra {

inline constexpr uint32_t kCVPixelFormatType_32BGRA = fourCharCode("BGRA");
/// Two planes: luma, then interleaved chroma at half size both ways; video range.
inline constexpr uint32_t kCVPixelFormatType_420YpCbCr8BiPlanarVideoRange = fourCharCode("420v");

/// One picture. Its identity is its address: samples that share a buffer show the same picture, so what was
/// worked out for it once holds for all of them. The maker fills it before handing it on; from then on it is
/// read-only and any thread may read it.
class CVPixelBuffer {
public:
    struct Plane {
        uint8_t* baseAddress = nullptr; ///< null if the pixels can't be read
        size_t width = 0;               ///< in this plane's samples
        size_t height = 0;
        size_t bytesPerRow = 0;
    };

    /// A fresh buffer, its pixels not initialised, rows starting at multiples of 64 bytes. The format is one
    /// of the two above; any other gives null.
    static std::shared_ptr<CVPixelBuffer> make(uint32_t pixelFormat, size_t width, size_t height);
    /// A buffer over memory that `owner` keeps alive.
    static std::shared_ptr<CVPixelBuffer> make(uint32_t pixelFormat, size_t width, size_t height,
                                               std::vector<Plane> planes, std::shared_ptr<void> owner);

    uint32_t pixelFormat() const { return format; }
    size_t width() const { return pixelWidth; }
    size_t height() const { return pixelHeight; }
    /// False for a picture whose only plane is the whole of it.
    bool isPlanar() const { return planes.size() > 1; }
    size_t planeCount() const { return planes.size(); }
    const Plane& plane(size_t index) const { return planes.at(index); }

private:
    CVPixelBuffer(uint32_t format, size_t width, size_t height, std::vector<Plane> planes,
                  std::shared_ptr<void> owner);
    uint32_t format;
    size_t pixelWidth;
    size_t pixelHeight;
    std::vector<Plane> planes;
    std::shared_ptr<void> owner;
};

} // namespace vintra
