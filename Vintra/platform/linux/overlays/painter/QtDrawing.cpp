#include "Vintra/platform/linux/overlays/painter/QtDrawing.h"

#include <cmath>

namespace vintra {
namespace {

QColor qtColor(const NSColor& color) {
    return QColor::fromRgbF(static_cast<float>(color.red), static_cast<float>(color.green),
                            static_cast<float>(color.blue), static_cast<float>(color.alpha));
}

QRect qtRect(const PixelRect& rect) {
    return {rect.x, rect.y, rect.width, rect.height};
}

} // namespace

QtDrawing::QtDrawing(QPainter& painter, const OverlayPixels::Grid& grid, const OverlayFonts& fonts)
    : painter(painter)
    , grid(grid)
    , fonts(fonts) {
    painter.setPen(Qt::NoPen);
}

void QtDrawing::fillRect(const CGRect& rect, double cornerRadius, const NSColor& color) {
    const QRect pixels = qtRect(OverlayPixels::pixelsOf(rect, grid));
    if (cornerRadius <= 0) {
        painter.fillRect(pixels, qtColor(color));
        return;
    }
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(qtColor(color));
    const double radius = cornerRadius * grid.scale;
    painter.drawRoundedRect(pixels, radius, radius);
}

void QtDrawing::fillAround(const CGRect& hole, const CGRect& outer, const NSColor& color) {
    const PixelRect all = OverlayPixels::pixelsOf(outer, grid);
    const PixelRect clear = intersection(OverlayPixels::pixelsOf(hole, grid), all);
    const QColor fill = qtColor(color);
    if (clear.isEmpty()) {
        painter.fillRect(qtRect(all), fill);
        return;
    }
    const PixelRect parts[] = {
        {all.x, all.y, all.width, clear.y - all.y},
        {all.x, clear.bottom(), all.width, all.bottom() - clear.bottom()},
        {all.x, clear.y, clear.x - all.x, clear.height},
        {clear.right(), clear.y, all.right() - clear.right(), clear.height},
    };
    for (const PixelRect& part : parts) {
        if (!part.isEmpty()) painter.fillRect(qtRect(part), fill);
    }
}

void QtDrawing::strokeRect(const CGRect& rect, double lineWidth, const NSColor& color) {
    const OverlayPixels::Sides sides = OverlayPixels::sidesOf({rect, lineWidth, color}, grid);
    for (const PixelRect& side : {sides.top, sides.bottom, sides.left, sides.right}) {
        if (!side.isEmpty()) painter.fillRect(qtRect(side), qtColor(color));
    }
}

QRectF QtDrawing::smooth(const CGRect& rect) const {
    return {rect.minX() * grid.scale, grid.height - rect.maxY() * grid.scale, rect.size.width * grid.scale,
            rect.size.height * grid.scale};
}

void QtDrawing::fillEllipse(const CGRect& in, const NSColor& color) {
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(qtColor(color));
    painter.drawEllipse(smooth(in));
}

void QtDrawing::strokeEllipse(const CGRect& in, double lineWidth, const NSColor& color) {
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(qtColor(color), lineWidth * grid.scale));
    painter.drawEllipse(smooth(in));
    painter.setPen(Qt::NoPen);
}

void QtDrawing::drawText(const std::string& text, CGPoint at, const NSFont& font, const NSColor& color) {
    const OverlayFonts::Face& face = fonts.face(font);
    const double baseline = std::round(grid.height - (at.y + face.descent) * grid.scale);
    painter.save();
    painter.translate(std::round(at.x * grid.scale), baseline);
    painter.scale(grid.scale, grid.scale);
    painter.setFont(face.font);
    painter.setPen(qtColor(color));
    for (const OverlayFonts::Piece& piece : fonts.pieces(text, font))
        painter.drawText(QPointF(piece.x, 0), piece.text);
    painter.restore();
}

} // namespace vintra
