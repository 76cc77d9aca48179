#pragma once

#include "Vintra/capturearea/AspectPreset.h"
#include "Vintra/platform/Geometry.h"

#include <cstdint>
#include <string>

namespace vintra {

/// A part of one display, chosen by the user.
struct CaptureRegion {
    struct PixelSize {
        int width = 0;
        int height = 0;
        bool operator==(const PixelSize&) const = default;
    };

    uint32_t displayID = 0;
    CGRect rect; ///< points, from the display's top left

    /// The size of the region's picture at `scale` pixels a point: even, at least one unit of the preset, and
    /// otherwise the largest of the preset's shape that the rectangle holds. A side that is no number, or
    /// negative, counts as 0; one beyond an int as the largest int.
    PixelSize pixelSize(double scale, AspectPreset aspect) const;

    bool operator==(const CaptureRegion&) const = default;
};

/// "1280 × 720": the region's picture at that scale.
std::string pixelSizeText(const CaptureRegion& region, double scale, AspectPreset aspect);

} // namespace vintra
