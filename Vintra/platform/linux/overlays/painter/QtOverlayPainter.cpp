#include "Vintra/platform/linux/overlays/painter/QtOverlayPainter.h"

#include "Vintra/platform/linux/overlays/painter/QtDrawing.h"

#include <QImage>
#include <QRegion>

#include <type_traits>

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
    QRegion region;
    for (const PixelRect& rect : within)
        region += QRect(rect.x, rect.y, rect.width, rect.height);
    QPainter painter(&image);
    painter.setClipRegion(region);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    painter.fillRect(region.boundingRect(), Qt::transparent);
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    QtDrawing drawing(painter, {canvas.width, canvas.height, canvas.scale}, fonts);
    for (const auto& shape : list.shapes)
        draw(shape, drawing);
}

} // namespace vintra
