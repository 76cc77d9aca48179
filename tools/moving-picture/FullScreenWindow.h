#pragma once

#include <X11/Xlib.h>

namespace vintra {

/// A plain window over the whole screen, above all others and outside the reach of a window manager. One
/// thread.
class FullScreenWindow {
public:
    /// The connection stays the caller's.
    FullScreenWindow(Display* display, unsigned long ground);
    ~FullScreenWindow();
    FullScreenWindow(const FullScreenWindow&) = delete;
    FullScreenWindow& operator=(const FullScreenWindow&) = delete;

    /// A named colour's pixel on this display.
    static unsigned long colour(Display* display, const char* name);

    Display* const display;
    const int width;
    const int height;
    const Window window;
    const GC context; ///< without graphics exposures
};

} // namespace vintra
