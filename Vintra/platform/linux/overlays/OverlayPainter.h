#pragma once

#include "Vintra/platform/DrawList.h"
#include "Vintra/platform/linux/screen/PixelRegion.h"

#include <cstdint>
#include <vector>

namespace vintra {

/// The pixels of an overlay. It doesn't own them. A value.
struct OverlayCanvas {
    uint32_t* pixels = nullptr; ///< premultiplied ARGB, row by row from the top, without gaps
    int width = 0;              ///< pixels
    int height = 0;             ///< pixels
    double scale = 1;           ///< pixels a point
};

/// Turns what an overlay shows into pixels. It stands apart from the windows, so that those need no toolkit.
/// Main thread.
class OverlayPainter : public TextMeasure {
public:
    /// Makes the pixels within the rectangles those of the list, transparent where it draws nothing. Edges
    /// of rectangles lie between pixels as `OverlayPixels` has it.
    virtual void paint(const DrawList& list, const OverlayCanvas& canvas,
                       const std::vector<PixelRect>& within) = 0;
};

} // namespace vintra
