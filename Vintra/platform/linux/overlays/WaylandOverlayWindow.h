#pragma once

#include "Vintra/platform/OverlayWindows.h"
#include "Vintra/platform/linux/overlays/OverlayPainter.h"
#include "Vintra/platform/linux/overlays/OverlayPixels.h"
#include "Vintra/platform/linux/overlays/WaylandOverlayBuffers.h"
#include "Vintra/platform/linux/overlays/WaylandOverlayConnection.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

struct zwlr_layer_surface_v1;

namespace vintra {

/// One overlay on a Wayland desktop: a surface of its own in the uppermost of the compositor's layers, above panels and
/// windows on every workspace, painted into shared memory.
///
/// No program is told where the pointer is over others' windows. So while it lets clicks through it still takes those
/// in its interactive parts, and the compositor itself turns from one to the other as the pointer moves.
///
/// Owned by the overlay; main thread.
class WaylandOverlayWindow final : public OverlayWindow, private WaylandOverlayPart {
public:
    /// How the compositor knows the display of a frame; nothing for a place without one.
    using FindOutput = std::function<const WaylandOverlayConnection::Output*(const CGRect&)>;

    /// The painter and the input outlive this.
    WaylandOverlayWindow(std::shared_ptr<WaylandOverlayConnection> connection, OverlayPainter& painter,
                         const OverlayRecipe& recipe, OverlayInput& input, uint32_t number,
                         FindOutput findOutput);
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

    void configured(uint32_t serial, uint32_t width, uint32_t height);
    void setInputRegion();
    void repaint();
    void show();
    CGPoint pointOf(CGPoint fromTop) const { return {fromTop.x, frame.size.height - fromTop.y}; }
    OverlayPixels::Grid grid() const { return {buffers->width(), buffers->height(), double(scale)}; }

    const std::shared_ptr<WaylandOverlayConnection> connection;
    OverlayPainter& painter;
    const OverlayRecipe recipe;
    OverlayInput& input;
    const uint32_t number;
    const FindOutput findOutput;
    CGRect frame;
    int scale = 1;
    bool ignoresMouseEvents;
    std::vector<CGRect> interactiveParts; ///< points, the origin at the bottom left
    wl_surface* shown = nullptr;          ///< while it is on the screen
    zwlr_layer_surface_v1* layer = nullptr;
    std::unique_ptr<WaylandOverlayBuffers> buffers; ///< once the compositor has said how large it is
    wl_callback* nextFrame = nullptr;               ///< until the compositor wants another picture
    DrawList wanted;
    DrawList painted;
    bool isOutOfDate = false; ///< the surface, not the canvas
    bool isDragging = false;
};

} // namespace vintra
