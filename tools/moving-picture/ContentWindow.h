#pragma once

#include <X11/Xlib.h>

#include <optional>

namespace vintra {

/// The plain window that contents are painted in: over the whole screen, above all others and outside the
/// reach of a window manager; or an ordinary one. One thread.
class ContentWindow {
public:
    struct Place {
        int x = 0;
        int y = 0;
        int width = 0;
        int height = 0;
    };

    /// Without a place it covers the screen. The connection stays the caller's.
    ContentWindow(Display* display, unsigned long ground, const std::optional<Place>& place);
    ~ContentWindow();
    ContentWindow(const ContentWindow&) = delete;
    ContentWindow& operator=(const ContentWindow&) = delete;

    /// A named colour's pixel on this display.
    static unsigned long colour(Display* display, const char* name);

    Display* const display;
    const int width;
    const int height;
    const Window window;
    const GC context; ///< without graphics exposures
};

} // namespace vintra
