#pragma once

#include "Vintra/platform/Drawing.h"
#include "Vintra/platform/linux/overlays/OverlayPixels.h"
#include "Vintra/platform/linux/overlays/painter/OverlayFonts.h"

#include <QPainter>

#include <string>

namespace vintra {

/// Draws with a QPainter, whose target has the pixels of the grid. Edges of rectangles lie between pixels; round
/// shapes and text have smooth edges. Lives for one drawing pass; main thread.
class QtDrawing final : public Drawing {
public:
    /// All outlive this.
    QtDrawing(QPainter& painter, const OverlayPixels::Grid& grid, const OverlayFonts& fonts);

    CGSize textSize(const std::string& text, const NSFont& font) const override {
        return fonts.textSize(text, font);
    }
    void fillRect(const CGRect& rect, double cornerRadius, const NSColor& color) override;
    void fillAround(const CGRect& hole, const CGRect& outer, const NSColor& color) override;
    void strokeRect(const CGRect& rect, double lineWidth, const NSColor& color) override;
    void fillEllipse(const CGRect& in, const NSColor& color) override;
    void strokeEllipse(const CGRect& in, double lineWidth, const NSColor& color) override;
    void drawText(const std::string& text, CGPoint at, const NSFont& font, const NSColor& color) override;

private:
    QRectF smooth(const CGRect& rect) const;

    QPainter& painter;
    const OverlayPixels::Grid grid;
    const OverlayFonts& fonts;
};

} // namespace vintra
