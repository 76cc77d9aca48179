#include "Vintra/platform/linux/overlays/OverlayPixels.h"

#include <algorithm>
#include <cmath>
#include <type_traits>

namespace vintra::OverlayPixels {
namespace {

/// Half a line upwards, as the capture rounds; the rest is less than any length that is meant.
int nearestLine(double pixels) {
    constexpr double kFarthest = 1e6;
    constexpr double kNoise = 1e-6;
    return static_cast<int>(std::floor(std::clamp(pixels, -kFarthest, kFarthest) + 0.5 + kNoise));
}

/// Smooth edges reach into the pixels around, glyphs a little out of their line.
PixelRect touched(const CGRect& rect, const Grid& grid) {
    constexpr int kReach = 3;
    const PixelRect inner = pixelsOf(rect, grid);
    return {inner.x - kReach, inner.y - kReach, inner.width + 2 * kReach, inner.height + 2 * kReach};
}

void addClipped(const PixelRect& rect, const Grid& grid, PixelRegion& region) {
    region.add(intersection(rect, grid.whole()));
}

/// What of `a` lies outside of `b`.
void addDifference(const PixelRect& a, const PixelRect& b, const Grid& grid, PixelRegion& region) {
    const PixelRect common = intersection(a, b);
    if (common.isEmpty()) {
        addClipped(a, grid, region);
        return;
    }
    addClipped({a.x, a.y, a.width, common.y - a.y}, grid, region);
    addClipped({a.x, common.bottom(), a.width, a.bottom() - common.bottom()}, grid, region);
    addClipped({a.x, common.y, common.x - a.x, common.height}, grid, region);
    addClipped({common.right(), common.y, a.right() - common.right(), common.height}, grid, region);
}

void addShape(const DrawList::Shape& shape, const Grid& grid, const TextMeasure& measure,
              PixelRegion& region) {
    std::visit(
        [&](const auto& drawn) {
            using Shape = std::decay_t<decltype(drawn)>;
            if constexpr (std::is_same_v<Shape, DrawList::FilledRect>) {
                addClipped(touched(drawn.rect, grid), grid, region);
            } else if constexpr (std::is_same_v<Shape, DrawList::FilledSurround>) {
                addDifference(pixelsOf(drawn.outer, grid), pixelsOf(drawn.hole, grid), grid, region);
            } else if constexpr (std::is_same_v<Shape, DrawList::StrokedRect>) {
                const Sides sides = sidesOf(drawn, grid);
                for (const PixelRect& side : {sides.top, sides.bottom, sides.left, sides.right})
                    addClipped(side, grid, region);
            } else if constexpr (std::is_same_v<Shape, DrawList::FilledEllipse>) {
                addClipped(touched(drawn.in, grid), grid, region);
            } else if constexpr (std::is_same_v<Shape, DrawList::StrokedEllipse>) {
                const double reach = drawn.lineWidth / 2;
                addClipped(touched(drawn.in.insetBy(-reach, -reach), grid), grid, region);
            } else {
                static_assert(std::is_same_v<Shape, DrawList::Text>);
                addClipped(touched({drawn.at, measure.textSize(drawn.text, drawn.font)}, grid), grid, region);
            }
        },
        shape);
}

bool differInHolesAlone(const DrawList::FilledSurround& a, const DrawList::FilledSurround& b) {
    return a.outer == b.outer && a.color == b.color;
}

} // namespace

PixelRect pixelsOf(const CGRect& rect, const Grid& grid) {
    const int left = nearestLine(rect.minX() * grid.scale);
    const int right = nearestLine(rect.maxX() * grid.scale);
    const int top = nearestLine(grid.height - rect.maxY() * grid.scale);
    const int bottom = nearestLine(grid.height - rect.minY() * grid.scale);
    return {left, top, std::max(right - left, 0), std::max(bottom - top, 0)};
}

Sides sidesOf(const DrawList::StrokedRect& shape, const Grid& grid) {
    const double half = shape.lineWidth / 2;
    const PixelRect inner = pixelsOf(shape.rect.insetBy(half, half), grid);
    const PixelRect edge = pixelsOf(shape.rect.insetBy(-half, -half), grid);
    const int left = std::min(edge.x, inner.x - 1);
    const int top = std::min(edge.y, inner.y - 1);
    const int right = std::max(edge.right(), inner.right() + 1);
    const int bottom = std::max(edge.bottom(), inner.bottom() + 1);
    return {.top = {left, top, right - left, inner.y - top},
            .bottom = {left, inner.bottom(), right - left, bottom - inner.bottom()},
            .left = {left, inner.y, inner.x - left, inner.height},
            .right = {inner.right(), inner.y, right - inner.right(), inner.height}};
}

PixelRect reachOf(const DrawList::Shape& shape, const Grid& grid, const TextMeasure& measure) {
    return std::visit(
        [&](const auto& drawn) {
            using Shape = std::decay_t<decltype(drawn)>;
            if constexpr (std::is_same_v<Shape, DrawList::FilledRect>) {
                return touched(drawn.rect, grid);
            } else if constexpr (std::is_same_v<Shape, DrawList::FilledSurround>) {
                return pixelsOf(drawn.outer, grid);
            } else if constexpr (std::is_same_v<Shape, DrawList::StrokedRect>) {
                const Sides sides = sidesOf(drawn, grid);
                return boundingBox(sides.top, sides.bottom);
            } else if constexpr (std::is_same_v<Shape, DrawList::FilledEllipse>) {
                return touched(drawn.in, grid);
            } else if constexpr (std::is_same_v<Shape, DrawList::StrokedEllipse>) {
                const double reach = drawn.lineWidth / 2;
                return touched(drawn.in.insetBy(-reach, -reach), grid);
            } else {
                static_assert(std::is_same_v<Shape, DrawList::Text>);
                return touched({drawn.at, measure.textSize(drawn.text, drawn.font)}, grid);
            }
        },
        shape);
}

/// Goal: after a small change only a small part is painted anew. Method: what is the same at the beginning and at
/// the end of both lists looks the same, but for where something between them has changed; all shapes between
/// count as changed. Of two surrounds in the same place that differ in their holes alone, only the difference of
/// the holes counts: a selection that is dragged dims and clears narrow strips of the screen.
PixelRegion changedPixels(const DrawList& before, const DrawList& after, const Grid& grid,
                          const TextMeasure& measure) {
    PixelRegion region;
    const auto& a = before.shapes;
    const auto& b = after.shapes;
    const auto addUnlessSame = [&](const DrawList::Shape& old, const DrawList::Shape& fresh) {
        if (old == fresh) return;
        const auto* const oldSurround = std::get_if<DrawList::FilledSurround>(&old);
        const auto* const freshSurround = std::get_if<DrawList::FilledSurround>(&fresh);
        if (oldSurround && freshSurround && differInHolesAlone(*oldSurround, *freshSurround)) {
            const PixelRect oldHole = pixelsOf(oldSurround->hole, grid);
            const PixelRect freshHole = pixelsOf(freshSurround->hole, grid);
            addDifference(oldHole, freshHole, grid, region);
            addDifference(freshHole, oldHole, grid, region);
            return;
        }
        addShape(old, grid, measure, region);
        addShape(fresh, grid, measure, region);
    };
    if (a.size() == b.size()) {
        for (size_t i = 0; i < a.size(); ++i)
            addUnlessSame(a[i], b[i]);
        return region;
    }
    const size_t least = std::min(a.size(), b.size());
    size_t first = 0;
    while (first < least && a[first].index() == b[first].index() &&
           (a[first] == b[first] || std::holds_alternative<DrawList::FilledSurround>(a[first]))) {
        addUnlessSame(a[first], b[first]);
        ++first;
    }
    size_t last = 0;
    while (last < least - first && a[a.size() - 1 - last] == b[b.size() - 1 - last])
        ++last;
    for (size_t i = first; i < a.size() - last; ++i)
        addShape(a[i], grid, measure, region);
    for (size_t i = first; i < b.size() - last; ++i)
        addShape(b[i], grid, measure, region);
    return region;
}

} // namespace vintra::OverlayPixels
