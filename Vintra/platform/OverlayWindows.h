#pragma once

#include "Vintra/platform/DrawList.h"
#include "Vintra/platform/KeyCode.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace vintra {

/// The pointer's shape over an overlay.
enum class OverlayCursor { arrow, crosshair, pointingHand };

/// What an overlay window passes on. Points are in its own coordinates, the origin at the bottom left; those
/// of a drag may lie outside of it. Main thread.
class OverlayInput {
public:
    virtual ~OverlayInput() = default;
    virtual void mouseDown(CGPoint at) = 0;
    virtual void mouseDragged(CGPoint to) = 0;
    virtual void mouseUp() = 0;
    /// Without a button held down.
    virtual void mouseMoved(CGPoint to) = 0;
    /// False if the key means nothing here and goes to the ordinary handling of keys.
    virtual bool keyDown(KeyCode key) = 0;
    /// The user asks to leave, by whatever way the system has for it.
    virtual void cancelOperation() = 0;
};

/// How an overlay window is made: transparent where nothing is drawn, without a frame or a shadow, above
/// ordinary windows and on every desktop of the user.
struct OverlayRecipe {
    CGRect frame;                   ///< points, on the desktop
    bool takesKeyboard = false;     ///< it becomes the key window, and the program the active one
    bool ignoresMouseEvents = true; ///< at the beginning
    int level = 3;                  ///< 0 is that of ordinary windows
    OverlayCursor cursor = OverlayCursor::arrow;
    bool isSelectionPanel = false; ///< as `OwnWindows` tells it
};

/// A window over a screen that shows a list of shapes. It may be destroyed from within a call to its input.
/// Main thread.
class OverlayWindow {
public:
    virtual ~OverlayWindow() = default;
    /// As the capture knows the window.
    virtual uint32_t windowNumber() const = 0;
    virtual void setFrame(const CGRect& frame) = 0;
    /// Whether clicks go through to what lies below.
    virtual void setIgnoresMouseEvents(bool ignores) = 0;
    /// Where it would take clicks if the pointer came there, in its own coordinates. A system that doesn't tell where
    /// the pointer is over others' windows takes clicks in these while it lets the rest through.
    virtual void setInteractiveParts(const std::vector<CGRect>& parts) = 0;
    /// Shows this list from now on.
    virtual void present(const DrawList& list) = 0;
    /// To the front of its level, whichever program is the active one.
    virtual void orderFront() = 0;
    virtual void orderOut() = 0;
};

/// Makes the windows that lie over the screen. Main thread.
class OverlayWindows {
public:
    virtual ~OverlayWindows() = default;
    /// Not yet on the screen. The input outlives the window; it isn't called from within a call to the
    /// window. Null where the machine has no such windows, and for one that ignores mouse events where it has none
    /// that do.
    virtual std::unique_ptr<OverlayWindow> makeWindow(const OverlayRecipe& recipe, OverlayInput& input) = 0;
    /// Whether there are windows that clicks go through to what lies below.
    virtual bool canLetClicksThrough() const = 0;
    /// Of the text that the windows draw. It lives as long as this.
    virtual const TextMeasure& textMeasure() const = 0;
    /// Whether the program's own windows are in the picture of a captured display, as everything on it is.
    virtual bool areCaptured() const = 0;
    /// How long after a change the screen surely shows it; 0 for at once.
    virtual int64_t nanosecondsUntilShown() const = 0;
};

} // namespace vintra
