#pragma once

#include "Vintra/platform/OverlayWindows.h"
#include "Vintra/platform/linux/overlays/OverlayPainter.h"
#include "Vintra/platform/linux/overlays/OverlayPixels.h"
#include "Vintra/platform/linux/overlays/X11OverlayConnection.h"
#include "Vintra/platform/linux/overlays/X11OverlayPixels.h"
#include "Vintra/platform/linux/screen/PixelRegion.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace vintra {

/// One overlay on an X desktop. It is two windows: one to look at, that no click ever hits, and over it one without
/// pixels, the glass, which takes clicks and keys and is there only while it is to take them.
///
/// Both are kept from the window manager, since none would otherwise let a program cover panels, stay above the window
/// in front on every desktop, and be gone without a trace of its own making. They are Xlib's own
/// and no toolkit's: what matters here (stacking, what lets clicks through, shapes without a compositor) would be work
/// against a toolkit, and so they need no display connection, thread or event loop but the ones that are there.
///
/// Painted are the pixels that changed, and they are copied to the server once it is done with those before: on a
/// busy machine pictures are left out rather than queued up.
///
/// Where a window of the program itself lies, neither of them is.
///
/// With a compositor the window is translucent. Without one it has the shape of what is drawn, all of it opaque, and
/// the dimmed surround, which would be black, is a narrow border.
///
/// Owned by the overlay; main thread.
class X11OverlayWindow final : public OverlayWindow, private X11OverlayPart {
public:
    /// The painter and the input outlive this.
    X11OverlayWindow(std::shared_ptr<X11OverlayConnection> connection, OverlayPainter& painter,
                     const OverlayRecipe& recipe, OverlayInput& input);
    ~X11OverlayWindow() override;

    uint32_t windowNumber() const override { return static_cast<uint32_t>(window); }
    void setFrame(const CGRect& newFrame) override;
    void setIgnoresMouseEvents(bool ignores) override;
    void setInteractiveParts(const std::vector<CGRect>&) override {} // the pointer is seen everywhere
    void present(const DrawList& list) override;
    void orderFront() override;
    void orderOut() override;

private:
    bool owns(::Window other) const override { return other == window || other == glass; }
    void handle(const XEvent& event) override;
    void compositorChanged() override;
    void ownWindowsMoved() override;
    void raise() override;
    int level() const override { return recipe.level; }
    OwnWindows::Window description() const override;
    bool hasKeyboard() const override;

    void makeWindows();
    void makePixels();
    void showOrHideGlass();
    void takeKeyboard();
    void giveKeyboardBack();
    void repaint(const DrawList& list);
    void setShape(const DrawList& list);
    void leaveOwnWindowsFree();
    void put(const std::vector<PixelRect>& rects);
    void handlePointer(const XEvent& event);
    CGPoint pointOf(int x, int y, bool isDragged) const;
    OverlayPixels::Grid grid() const { return {pixelFrame.width, pixelFrame.height, scale}; }
    OverlayCanvas canvas() const;

    const std::shared_ptr<X11OverlayConnection> connection;
    OverlayPainter& painter;
    const OverlayRecipe recipe;
    OverlayInput& input;
    CGRect frame;
    PixelRect pixelFrame; ///< on the root window
    double scale = 1;
    ::Window window = 0;
    ::Window glass = 0;
    Visual* visual = nullptr;
    int depth = 0;
    Colormap colormap = 0;
    GC context = nullptr;
    Cursor cursor = 0;
    std::unique_ptr<X11OverlayPixels> pixels;
    DrawList wanted;            ///< what was presented last
    DrawList painted;           ///< what the pixels show
    bool isPutUnderWay = false; ///< the server may still read the pixels
    bool isDragging = false;
    bool ignoresMouseEvents = true;
    bool isOnScreen = false;
    bool isGlassOnScreen = false;
    bool hasKeyboardFocus = false;
    ::Window focusBefore = 0;
};

} // namespace vintra
