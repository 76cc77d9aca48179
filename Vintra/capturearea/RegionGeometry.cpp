#include "Vintra/capturearea/RegionGeometry.h"

#include <algorithm>
#include <cmath>

namespace vintra {
namespace {

double overlapArea(const CGRect& a, const CGRect& b) {
    const double width = std::min(a.maxX(), b.maxX()) - std::max(a.minX(), b.minX());
    const double height = std::min(a.maxY(), b.maxY()) - std::max(a.minY(), b.minY());
    return width > 0 && height > 0 ? width * height : 0;
}

/// Where a side of that length begins, as near to `origin` as the bounds let it.
double heldInside(double origin, double length, double bounds) {
    return std::max(0.0, std::min(origin, bounds - length));
}

} // namespace

CGRect reshaped(const CGRect& selection, AspectPreset to, CGSize within) {
    const auto units = aspectUnits(to);
    const double area = selection.size.width * selection.size.height;
    if (!units || !(area > 0) || !std::isfinite(area)) return selection;
    const double ratio = static_cast<double>(units->width) / units->height;
    double width = std::sqrt(area * ratio);
    double height = width / ratio;
    const double fit = std::min({1.0, within.width / width, within.height / height});
    width *= fit;
    height *= fit;
    return {{heldInside(selection.midX() - width / 2, width, within.width),
             heldInside(selection.midY() - height / 2, height, within.height)},
            {width, height}};
}

std::optional<CaptureRegion> regionOnScreens(const CGRect& frame, const std::vector<NSScreen>& screens) {
    const auto most = std::ranges::max_element(screens, [&](const auto& a, const auto& b) {
        return overlapArea(frame, a.frame) < overlapArea(frame, b.frame);
    });
    if (most == screens.end()) return std::nullopt;
    return CaptureRegion{
        .displayID = most->screenNumber,
        .rect = {{frame.origin.x - most->frame.origin.x, frame.origin.y - most->frame.origin.y}, frame.size}};
}

} // namespace vintra
