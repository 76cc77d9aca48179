#pragma once

#include "Vintra/platform/ScreenCapture.h"
#include "Vintra/platform/linux/X11Display.h"

#include <vector>

namespace vintra {

/// The windows of a desktop, and the programs that they belong to.
struct X11WindowList {
    std::vector<SCWindow> windows; ///< the window manager's order
    std::vector<SCRunningApplication> applications;
};

struct X11WindowChoice {
    bool excludesDesktopWindows = false; ///< leaves out backgrounds and panels
    bool onScreenOnly = false;           ///< leaves out hidden windows, and those outside of the desktop
};

/// The windows that the window manager lists; without a window manager, the mapped children of the root
/// window that are for more than a moment. `scale` is in pixels a point.
X11WindowList readWindowList(X11Display& display, double scale, X11WindowChoice choice);

} // namespace vintra
