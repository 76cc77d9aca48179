#include "Vintra/platform/linux/overlays/OpaqueOverlay.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace vintra::OpaqueOverlay {
namespace {

constexpr double kBorder = 4; // points
/// Of 255. A ring that fades is to be seen for most of its time; what a smooth edge mixes in is not.
constexpr uint32_t kLeastAlpha = 48;

uint32_t opaque(uint32_t pixel) {
    const uint32_t alpha = pixel >> 24;
    if (alpha == 0xff) return pixel;
    const auto part = [&](int shift) {
        return std::min<uint32_t>(((pixel >> shift & 0xff) * 255 + alpha / 2) / alpha, 0xff) << shift;
    };
    return 0xff000000 | part(16) | part(8) | part(0);
}

} // namespace

DrawList withoutSurround(const DrawList& list) {
    DrawList result;
    for (const auto& shape : list.shapes) {
        const auto* const surround = std::get_if<DrawList::FilledSurround>(&shape);
        if (!surround) {
            result.shapes.push_back(shape);
        } else if (surround->hole.size.width > 0 && surround->hole.size.height > 0) {
            const CGRect border = surround->hole.insetBy(-kBorder, -kBorder);
            result.shapes.push_back(
                DrawList::FilledSurround{surround->hole, border, NSColor::black(surround->color.alpha)});
        }
    }
    return result;
}

std::vector<PixelRect> makeOpaque(const OverlayCanvas& canvas, const PixelRect& within) {
    std::vector<PixelRect> shape;
    size_t rowAbove = 0; // where the rectangles of the row above begin
    for (int y = within.y; y < within.bottom(); ++y) {
        uint32_t* const row = canvas.pixels + static_cast<size_t>(y) * static_cast<size_t>(canvas.width);
        std::vector<PixelRect> runs;
        for (int x = within.x; x < within.right(); ++x) {
            if (row[x] >> 24 < kLeastAlpha) {
                row[x] = 0;
                continue;
            }
            row[x] = opaque(row[x]);
            if (!runs.empty() && runs.back().right() == x) {
                ++runs.back().width;
            } else {
                runs.push_back({x, y, 1, 1});
            }
        }
        const auto above = shape.begin() + static_cast<std::ptrdiff_t>(rowAbove);
        const bool isAsAbove =
            std::equal(above, shape.end(), runs.begin(), runs.end(), [y](const auto& a, const auto& run) {
                return a.x == run.x && a.width == run.width && a.bottom() == y;
            });
        if (isAsAbove) {
            std::for_each(above, shape.end(), [](PixelRect& each) { ++each.height; });
        } else {
            rowAbove = shape.size();
            shape.insert(shape.end(), runs.begin(), runs.end());
        }
    }
    return shape;
}

} // namespace vintra::OpaqueOverlay
