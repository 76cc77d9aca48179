#include "Vintra/platform/linux/overlays/painter/QtOverlayPainter.h"

#include "Vintra/platform/linux/overlays/painter/QtDrawing.h"

#include <QImage>

#include <cstddef>
#include <type_traits>
#include <vector>

namespace vintra {
namespace {

void draw(const DrawList::Shape& shape, Drawing& drawing) {
    std::visit(
        [&](const auto& drawn) {
            using Shape = std::decay_t<decltype(drawn)>;
            if constexpr (std::is_same_v<Shape, DrawList::FilledRect>) {
                drawing.fillRect(drawn.rect, drawn.cornerRadius, drawn.color);
            } else if constexpr (std::is_same_v<Shape, DrawList::FilledSurround>) {
                drawing.fillAround(drawn.hole, drawn.outer, drawn.color);
            } else if constexpr (std::is_same_v<Shape, DrawList::StrokedRect>) {
                drawing.strokeRect(drawn.rect, drawn.lineWidth, drawn.color);
            } else if constexpr (std::is_same_v<Shape, DrawList::FilledEllipse>) {
                drawing.fillEllipse(drawn.in, drawn.color);
            } else if constexpr (std::is_same_v<Shape, DrawList::StrokedEllipse>) {
                drawing.strokeEllipse(drawn.in, drawn.lineWidth, drawn.color);
            } else {
                static_assert(std::is_same_v<Shape, DrawList::Text>);
                drawing.drawText(drawn.text, drawn.at, drawn.font, drawn.color);
            }
        },
        shape);
}

} // namespace

void QtOverlayPainter::paint(const DrawList& list, const OverlayCanvas& canvas,
                             const std::vector<PixelRect>& within) {
    QImage image(reinterpret_cast<uchar*>(canvas.pixels), canvas.width, canvas.height, canvas.width * 4,
                 QImage::Format_ARGB32_Premultiplied);
    const OverlayPixels::Grid grid{canvas.width, canvas.height, canvas.scale};
    std::vector<PixelRect> reaches;
    for (const auto& shape : list.shapes)
        reaches.push_back(OverlayPixels::reachOf(shape, grid, *this));
    QPainter painter(&image);
    QtDrawing drawing(painter, grid, fonts);
    // One after the other, with what reaches into each: most shapes stand far from what has changed, and a clip of
    // several rectangles is slow.
    for (const PixelRect& rect : within) {
        const QRect part(rect.x, rect.y, rect.width, rect.height);
        painter.setClipRect(part);
        painter.setCompositionMode(QPainter::CompositionMode_Source);
        painter.fillRect(part, Qt::transparent);
        painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
        for (size_t n = 0; n < reaches.size(); ++n) {
            if (!intersection(reaches[n], rect).isEmpty()) draw(list.shapes[n], drawing);
        }
    }
}

} // namespace vintra
