#pragma once

#include "Vintra/platform/linux/screen/PixelRegion.h"
#include "Vintra/platform/linux/x11/X11Display.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vintra {

/// A window of a program, without what a window manager puts around it, and without the shadow that the program draws
/// around itself.
struct X11Window {
    enum class Kind {
        ordinary,
        desktop, ///< a background
        dock,    ///< a panel
        passing, ///< a menu, a tip, a notification, or a window that its program keeps from the window
                 ///< manager
    };

    ::Window id = 0;
    Kind kind = Kind::ordinary;
    PixelRect frame; ///< on the root window
    bool isOnScreen = false;
    std::string title;              ///< empty where the window doesn't say
    std::string application;        ///< likewise
    std::optional<int32_t> process; ///< nothing where the window doesn't say

    bool operator==(const X11Window&) const = default;
};

/// The property in which a program says how wide its shadow is.
inline constexpr const char* kShadowProperty = "_GTK_FRAME_EXTENTS";
/// What remains of a window's frame without the shadow that its program draws itself; all of it where nothing would remain.
PixelRect withoutShadow(X11Display& display, ::Window window, PixelRect frame);

/// All windows with pixels, front to back; of very many the foremost. Empty if the server has ended.
///
/// Goal: however many windows there are, the server is waited for a few times only, since each time takes as long as the
/// line to it is slow. Method: one step asks all of all windows before it looks at the first answer.
std::vector<X11Window> readWindows(X11Display& display);
/// Nothing if there is no such window, or it has no pixels.
std::optional<X11Window> readWindow(X11Display& display, ::Window window);

/// Nothing where the window doesn't say.
std::optional<int32_t> readProcess(X11Display& display, ::Window window);

} // namespace vintra
