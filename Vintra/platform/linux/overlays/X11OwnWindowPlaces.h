#pragma once

#include "Vintra/platform/linux/screen/PixelRegion.h"
#include "Vintra/platform/linux/x11/X11Display.h"

#include <X11/Xlib.h>

#include <functional>
#include <map>
#include <vector>

namespace vintra {

/// Where this program's own windows lie in front of those of others: there the overlays, which lie above all windows,
/// leave a hole, so that a window of the program is above them, and a panel of the desktop below. What is known of a
/// window is kept until the server tells of a change. Owned by the connection; main thread.
class X11OwnWindowPlaces {
public:
    /// The display outlives this.
    explicit X11OwnWindowPlaces(X11Display& display)
        : display(display) {}

    /// An event of the root window's children.
    void note(const XEvent& event);
    /// On the root window, with what the window manager puts around them.
    std::vector<PixelRect> places(const std::function<bool(::Window)>& isOverlay);

private:
    struct Known {
        bool isShown = false;
        bool isOwn = false;
        bool hidesOwn = false; ///< an ordinary window of another program
        PixelRect frame;
    };
    Known read(::Window outermost);
    ::Window clientIn(::Window window, int depth) const;

    X11Display& display;
    std::map<::Window, Known> known; ///< children of the root window
};

} // namespace vintra
