#pragma once

#include "tests/support/ScreenPicture.h"

#include <cstdint>
#include <spa/param/video/raw.h>
#include <vector>

namespace vintra {

/// A picture as a desktop lays it into a buffer. Says itself how each pixel format lies, a byte or a bit at a time.
struct PackedPicture {
    struct Layout {
        spa_video_format video = SPA_VIDEO_FORMAT_BGRx;
        uint32_t transform = 0; ///< SPA_META_TRANSFORMATION_…
        int padding = 0;        ///< bytes after each row
        bool isUpsideDown = false;
    };
    PackedPicture(const ScreenPicture& upright, const Layout& layout);

    /// What of a picture has been mirrored and turned as the transform says.
    static ScreenPicture turned(const ScreenPicture& upright, uint32_t transform);
    /// Every pixel another one, with all bits of each colour in use.
    static ScreenPicture motley(int width, int height, uint32_t seed);
    static size_t bytesPerPixel(spa_video_format video);

    int width = 0; ///< of the buffer
    int height = 0;
    int stride = 0; ///< bytes, below 0 if the rows stand upside down
    uint32_t transform = 0;
    std::vector<uint8_t> bytes;
};

} // namespace vintra
