#pragma once

#include "Vintra/platform/AVAssetWriter.h"

#include <memory>

struct SwsContext;

namespace vintra {

/// Brings pictures of another size to a track's: stretched by `fill`, or whole with black beside by
/// `resizeAspect`. The format stays. Owned and called by a writer's thread.
class PictureScaler {
public:
    PictureScaler(size_t width, size_t height, AVVideoScalingMode mode);
    ~PictureScaler();
    /// Throws `SystemError`.
    std::shared_ptr<CVPixelBuffer> scale(const CVPixelBuffer& source);

private:
    struct Place {
        size_t x = 0;
        size_t y = 0;
        size_t width = 0;
        size_t height = 0;
    };
    Place placeOf(const CVPixelBuffer& source) const;

    const size_t width;
    const size_t height;
    const AVVideoScalingMode mode;
    SwsContext* context = nullptr; ///< kept from picture to picture
};

} // namespace vintra
