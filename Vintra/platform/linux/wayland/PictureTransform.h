#pragma once

#include "Vintra/platform/linux/screen/PixelRegion.h"

namespace vintra {

/// How a desktop has turned the picture of a turned output before it handed it out: mirrored left to right, if it did
/// that too, and then turned counter-clockwise. Translates between the upright picture and the buffer. A value.
struct PictureTransform {
    int quarterTurns = 0; ///< counter-clockwise, 0 to 3
    bool isFlipped = false;
    bool operator==(const PictureTransform&) const = default;

    struct Place {
        int x = 0;
        int y = 0;
        bool operator==(const Place&) const = default;
    };

    bool isUpright() const { return quarterTurns == 0 && !isFlipped; }
    /// Of the upright picture in a buffer of that size.
    PixelRect uprightSize(int width, int height) const;
    /// Where the buffer has a pixel of the upright picture of that size.
    Place inBuffer(Place upright, const PixelRect& size) const;
    /// What a part of the buffer is in the upright picture of that size.
    PixelRect upright(const PixelRect& inBuffer, const PixelRect& size) const;
};

} // namespace vintra
