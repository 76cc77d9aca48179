#pragma once

#include "Vintra/platform/linux/overlays/OverlayPainter.h"
#include "Vintra/platform/linux/overlays/painter/OverlayFonts.h"

#include <string>
#include <vector>

namespace vintra {

/// Paints overlays with Qt's own rasteriser, on no window of Qt's. Made once there is a QGuiApplication, of whichever
/// platform; main thread.
class QtOverlayPainter final : public OverlayPainter {
public:
    CGSize textSize(const std::string& text, const NSFont& font) const override {
        return fonts.textSize(text, font);
    }
    void paint(const DrawList& list, const OverlayCanvas& canvas,
               const std::vector<PixelRect>& within) override;

private:
    const OverlayFonts fonts;
};

} // namespace vintra
