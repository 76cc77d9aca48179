#pragma once

#include "Vintra/platform/OverlayWindows.h"
#include "Vintra/platform/linux/overlays/OverlayPainter.h"
#include "Vintra/platform/linux/overlays/OverlayPixels.h"
#include "Vintra/platform/linux/overlays/WaylandOverlayBuffers.h"
#include "Vintra/platform/linux/overlays/WaylandOverlayConnection.h"
#include "Vintra/platform/linux/overlays/WaylandOverlayRole.h"
#include "Vintra/platform/linux/wayland/PortalGlance.h"
#include "Vintra/platform/linux/wayland/WaylandDesktop.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace vintra {

/// One overlay on a Wayland desktop: a surface of its own in the uppermost of the compositor's layers, painted into shared
/// memory.
///
/// A compositor without layers has a full-screen window in their place, behind which nothing of the desktop shows. So it
/// is painted over a picture of the display, which the desktop's portal gives, and comes up with that.
///
/// No program is told where the pointer is over others' windows. So while it lets clicks through it still takes those
/// in its interactive parts, and the compositor itself turns from one to the other as the pointer moves.
///
/// Owned by the overlay; main thread.
class WaylandOverlayWindow final : public OverlayWindow, private WaylandOverlayPart {
public:
    /// How the compositor knows the display of a frame; nothing for a place without one.
    using FindOutput = std::function<const WaylandOverlayConnection::Output*(const CGRect&)>;

    /// The painter outlives this.
    struct Surroundings {
        std::shared_ptr<WaylandOverlayConnection> connection;
        OverlayPainter& painter;
        WaylandDesktop desktop;
        FindOutput findOutput;
    };

    /// The input outlives this.
    WaylandOverlayWindow(const Surroundings& surroundings, const OverlayRecipe& recipe, OverlayInput& input,
                         uint32_t number);
    ~WaylandOverlayWindow() override;

    uint32_t windowNumber() const override { return number; }
    void setFrame(const CGRect& newFrame) override;
    void setIgnoresMouseEvents(bool ignores) override;
    void setInteractiveParts(const std::vector<CGRect>& parts) override;
    void present(const DrawList& list) override;
    void orderFront() override;
    void orderOut() override;

private:
    wl_surface* surface() const override { return shown; }
    const char* cursorName() const override;
    CGPoint origin() const override { return frame.origin; }
    void pointerMoved(CGPoint to) override;
    void buttonPressed(CGPoint at) override;
    void buttonReleased() override;
    void keyPressed(uint32_t key) override;

    void lookAtDisplay();
    void sawDisplay(const PortalGlance::Outcome& seen);
    void makeSurface();
    void configured(int width, int height);
    void closed();
    void putOverBackdrop(const PixelRegion& region);
    void setInputRegion();
    void repaint();
    void show();
    CGPoint pointOf(CGPoint fromTop) const { return {fromTop.x, frame.size.height - fromTop.y}; }
    OverlayPixels::Grid grid() const { return {buffers->width(), buffers->height(), double(scale)}; }

    const std::shared_ptr<WaylandOverlayConnection> connection;
    OverlayPainter& painter;
    const WaylandDesktop desktop;
    const OverlayRecipe recipe;
    OverlayInput& input;
    const uint32_t number;
    const FindOutput findOutput;
    CGRect frame;
    int scale = 1;
    bool ignoresMouseEvents;
    std::vector<CGRect> interactiveParts; ///< points, the origin at the bottom left
    wl_surface* shown = nullptr;          ///< while it is on the screen
    std::unique_ptr<WaylandOverlayRole> role;
    std::shared_ptr<CVPixelBuffer> backdrop; ///< what shows where nothing is drawn, of a full-screen window
    std::unique_ptr<WaylandOverlayBuffers> buffers; ///< once the compositor has said how large it is
    wl_callback* nextFrame = nullptr;               ///< until the compositor wants another picture
    DrawList wanted;
    DrawList painted;
    bool isOutOfDate = false; ///< the surface, not the canvas
    bool isDragging = false;
    std::shared_ptr<int> life = std::make_shared<int>(); ///< for what comes from another thread
    std::unique_ptr<PortalGlance> glance;                ///< until the backdrop has come
};

} // namespace vintra
