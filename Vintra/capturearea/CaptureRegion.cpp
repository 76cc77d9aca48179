#include "Vintra/capturearea/CaptureRegion.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace vintra {
namespace {

/// A region may come from the settings, so it may hold any number.
int wholePixels(double scale, double points) {
    const double pixels = std::floor(scale * points);
    if (!(pixels > 0)) return 0;
    constexpr int most = std::numeric_limits<int>::max();
    return pixels >= most ? most : static_cast<int>(pixels);
}

int evenAtLeastTwo(int pixels) {
    return std::max(pixels & ~1, 2);
}

} // namespace

CaptureRegion::PixelSize CaptureRegion::pixelSize(double scale, AspectPreset aspect) const {
    const int width = wholePixels(scale, rect.size.width);
    const int height = wholePixels(scale, rect.size.height);
    const auto units = aspectUnits(aspect);
    if (!units) return {evenAtLeastTwo(width), evenAtLeastTwo(height)};
    const int steps = std::max(1, std::min(width / units->width, height / units->height));
    return {units->width * steps, units->height * steps};
}

std::string pixelSizeText(const CaptureRegion& region, double scale, AspectPreset aspect) {
    const auto size = region.pixelSize(scale, aspect);
    return std::to_string(size.width) + " × " + std::to_string(size.height);
}

} // namespace vintra
