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

CGPoint cornerPoint(const CGRect& of, Corner corner) {
    switch (corner) {
    case Corner::bottomLeft:
        return {of.minX(), of.minY()};
    case Corner::bottomRight:
        return {of.maxX(), of.minY()};
    case Corner::topLeft:
        return {of.minX(), of.maxY()};
    case Corner::topRight:
        return {of.maxX(), of.maxY()};
    }
    return {};
}

Corner opposite(Corner corner) {
    switch (corner) {
    case Corner::bottomLeft:
        return Corner::topRight;
    case Corner::bottomRight:
        return Corner::topLeft;
    case Corner::topLeft:
        return Corner::bottomRight;
    case Corner::topRight:
        return Corner::bottomLeft;
    }
    return corner;
}

CGRect constrained(CGPoint from, CGPoint to, std::optional<double> ratio, const CGRect& bounds) {
    const bool rightwards = to.x >= from.x;
    const bool upwards = to.y >= from.y;
    const double widthLeft = rightwards ? bounds.maxX() - from.x : from.x - bounds.minX();
    const double heightLeft = upwards ? bounds.maxY() - from.y : from.y - bounds.minY();
    double width = std::abs(to.x - from.x);
    double height = std::abs(to.y - from.y);
    if (ratio) {
        constexpr double leastHeight = 0.001; // a drag along one line drives by its width
        if (width / std::max(height, leastHeight) > *ratio) {
            height = width / *ratio;
        } else {
            width = height * *ratio;
        }
        if (width > widthLeft) {
            width = widthLeft;
            height = widthLeft / *ratio;
        }
        if (height > heightLeft) {
            height = heightLeft;
            width = *ratio * heightLeft;
        }
    } else {
        width = std::min(width, widthLeft);
        height = std::min(height, heightLeft);
    }
    return {{rightwards ? from.x : from.x - width, upwards ? from.y : from.y - height}, {width, height}};
}

CGRect movedInside(const CGRect& rect, const CGRect& bounds) {
    return {{bounds.minX() + heldInside(rect.minX() - bounds.minX(), rect.size.width, bounds.size.width),
             bounds.minY() + heldInside(rect.minY() - bounds.minY(), rect.size.height, bounds.size.height)},
            rect.size};
}

std::optional<double> aspectRatio(AspectPreset preset) {
    const auto units = aspectUnits(preset);
    if (!units) return std::nullopt;
    return static_cast<double>(units->width) / units->height;
}

CGRect flipped(const CGRect& rect, double height) {
    return {{rect.minX(), height - rect.maxY()}, rect.size};
}

CGPoint flipped(CGPoint point, double height) {
    return {point.x, height - point.y};
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
