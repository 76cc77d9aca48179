#pragma once

#include "Vintra/platform/linux/overlays/OverlayPainter.h"
#include "Vintra/platform/linux/overlays/OverlayPixels.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <type_traits>
#include <vector>

namespace vintra {

/// Paints without smooth edges and without glyphs: a text is a block of its colour. So a test knows each pixel.
class SolidPainter final : public OverlayPainter {
public:
    CGSize textSize(const std::string& text, const NSFont& font) const override {
        return {static_cast<double>(text.size()) * font.size / 2, font.size};
    }

    void paint(const DrawList& list, const OverlayCanvas& canvas,
               const std::vector<PixelRect>& within) override {
        const OverlayPixels::Grid grid{canvas.width, canvas.height, canvas.scale};
        for (const PixelRect& rect : within) {
            const PixelRect part = intersection(rect, grid.whole());
            fill(canvas, part, part, {0, 0, 0, 0}, true);
            for (const auto& shape : list.shapes)
                paintShape(shape, canvas, grid, part);
            paintedPixels += part.area();
        }
    }

    int64_t paintedPixels = 0;

private:
    static uint32_t mixed(uint32_t below, const NSColor& color) {
        const auto part = [&](int shift, double value) {
            const double old = static_cast<double>(below >> shift & 0xff);
            const double result = value * color.alpha * 255 + old * (1 - color.alpha);
            return static_cast<uint32_t>(std::lround(result)) << shift;
        };
        return part(24, 1) | part(16, color.red) | part(8, color.green) | part(0, color.blue);
    }
    static void fill(const OverlayCanvas& canvas, const PixelRect& rect, const PixelRect& within,
                     const NSColor& color, bool replaces = false) {
        const PixelRect part = intersection(rect, within);
        for (int y = part.y; y < part.bottom(); ++y) {
            uint32_t* const row = canvas.pixels + static_cast<size_t>(y) * static_cast<size_t>(canvas.width);
            for (int x = part.x; x < part.right(); ++x)
                row[x] = replaces ? 0 : mixed(row[x], color);
        }
    }
    static void ring(const OverlayCanvas& canvas, const CGRect& in, double width, const NSColor& color,
                     const PixelRect& within) {
        const double centreX = in.midX() * canvas.scale;
        const double centreY = canvas.height - in.midY() * canvas.scale;
        const double radius = in.size.width / 2 * canvas.scale;
        for (int y = within.y; y < within.bottom(); ++y) {
            uint32_t* const row = canvas.pixels + static_cast<size_t>(y) * static_cast<size_t>(canvas.width);
            for (int x = within.x; x < within.right(); ++x) {
                const double distance = std::hypot(x + 0.5 - centreX, y + 0.5 - centreY);
                if (std::abs(distance - radius) <= width * canvas.scale / 2) row[x] = mixed(row[x], color);
            }
        }
    }
    void paintShape(const DrawList::Shape& shape, const OverlayCanvas& canvas,
                    const OverlayPixels::Grid& grid, const PixelRect& within) const {
        std::visit(
            [&](const auto& drawn) {
                using Shape = std::decay_t<decltype(drawn)>;
                if constexpr (std::is_same_v<Shape, DrawList::FilledRect>) {
                    fill(canvas, OverlayPixels::pixelsOf(drawn.rect, grid), within, drawn.color);
                } else if constexpr (std::is_same_v<Shape, DrawList::FilledSurround>) {
                    const PixelRect outer = OverlayPixels::pixelsOf(drawn.outer, grid);
                    const PixelRect hole = intersection(OverlayPixels::pixelsOf(drawn.hole, grid), outer);
                    const PixelRect last = hole.isEmpty() ? PixelRect{outer.x, outer.bottom(), 0, 0} : hole;
                    fill(canvas, {outer.x, outer.y, outer.width, last.y - outer.y}, within, drawn.color);
                    fill(canvas, {outer.x, last.bottom(), outer.width, outer.bottom() - last.bottom()},
                         within, drawn.color);
                    fill(canvas, {outer.x, last.y, last.x - outer.x, last.height}, within, drawn.color);
                    fill(canvas, {last.right(), last.y, outer.right() - last.right(), last.height}, within,
                         drawn.color);
                } else if constexpr (std::is_same_v<Shape, DrawList::StrokedRect>) {
                    const auto sides = OverlayPixels::sidesOf(drawn, grid);
                    for (const PixelRect& side : {sides.top, sides.bottom, sides.left, sides.right})
                        fill(canvas, side, within, drawn.color);
                } else if constexpr (std::is_same_v<Shape, DrawList::FilledEllipse>) {
                    fill(canvas, OverlayPixels::pixelsOf(drawn.in, grid), within, drawn.color);
                } else if constexpr (std::is_same_v<Shape, DrawList::StrokedEllipse>) {
                    ring(canvas, drawn.in, drawn.lineWidth, drawn.color, within);
                } else {
                    fill(canvas, OverlayPixels::pixelsOf({drawn.at, textSize(drawn.text, drawn.font)}, grid),
                         within, drawn.color);
                }
            },
            shape);
    }
};

} // namespace vintra
