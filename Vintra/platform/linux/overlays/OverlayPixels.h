#pragma once

#include "Vintra/platform/DrawList.h"
#include "Vintra/platform/linux/screen/PixelRegion.h"

namespace vintra {

/// Where shapes of an overlay lie in its pixels. Points have their origin at the bottom left, pixels at the top
/// left. Pure functions.
namespace OverlayPixels {

/// The pixels of an overlay: its whole size, and how many there are to a point.
struct Grid {
    int width = 0;
    int height = 0;
    double scale = 1;
    bool operator==(const Grid&) const = default;
    PixelRect whole() const { return {0, 0, width, height}; }
};

/// Each edge at the nearest line between pixels, as a captured region's edges are: so a line beside a region
/// never reaches into a captured pixel, however many pixels a point has.
PixelRect pixelsOf(const CGRect& rect, const Grid& grid);
/// The four sides of a stroked rectangle, each at least a pixel wide; top, bottom, left, right.
struct Sides {
    PixelRect top;
    PixelRect bottom;
    PixelRect left;
    PixelRect right;
};
Sides sidesOf(const DrawList::StrokedRect& shape, const Grid& grid);
/// All pixels that the shape may be drawn in, and more.
PixelRect reachOf(const DrawList::Shape& shape, const Grid& grid, const TextMeasure& measure);
/// All pixels that may look otherwise when the first list gives way to the second, in few rectangles.
PixelRegion changedPixels(const DrawList& before, const DrawList& after, const Grid& grid,
                          const TextMeasure& measure);

} // namespace OverlayPixels
} // namespace vintra
