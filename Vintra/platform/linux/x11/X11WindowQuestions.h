#pragma once

#include "Vintra/platform/linux/x11/X11Display.h"
#include "Vintra/platform/linux/x11/X11Windows.h"

#include <X11/Xlib.h>
#include <xcb/xcb.h>

#include <map>
#include <vector>

namespace vintra {

/// What is asked of many windows at once: each function sends all of its questions before it waits for the first answer.
/// Windows that have gone have no answers; a server that has gone shows in the connection. Made for one reading, by
/// whoever has the connection; one thread.
class X11WindowQuestions {
public:
    explicit X11WindowQuestions(X11Display& display);
    /// The connection learns that it was lost.
    ~X11WindowQuestions();
    X11WindowQuestions(const X11WindowQuestions&) = delete;
    X11WindowQuestions& operator=(const X11WindowQuestions&) = delete;

    /// Back to front.
    const std::vector<::Window>& childrenOfRoot() const { return children; }
    /// As the window manager tells them, back to front if it tells that; empty without one.
    const std::vector<::Window>& managedWindows() const { return managed; }
    /// 0 for a window that has gone.
    std::map<::Window, ::Window> parentsOf(const std::vector<::Window>& windows);
    /// Those of the windows that have pixels, in their order.
    std::vector<X11Window> describe(const std::vector<::Window>& windows);

private:
    struct Asked;
    xcb_atom_t atom(const char* name) const;
    xcb_get_property_cookie_t askProperty(xcb_window_t window, xcb_atom_t property, xcb_atom_t type);
    void readAtoms();
    void readRoot();
    Asked ask(xcb_window_t window);
    std::optional<X11Window> answer(const Asked& asked);
    X11Window::Kind kindOf(const std::vector<uint32_t>& types, bool isUnmanaged) const;
    std::string textOf(const xcb_get_property_reply_t& property) const;

    X11Display& display;
    xcb_connection_t* const connection;
    const xcb_window_t root;
    std::map<std::string, xcb_atom_t> atoms; ///< without those that nobody on this desktop has used
    PixelRect desktop;                       ///< the root window
    std::vector<::Window> children;
    std::vector<::Window> managed;
};

/// What remains of a frame without a shadow of so many pixels at the left, right, top and bottom; all of it where nothing would
/// remain, or where these aren't four numbers.
PixelRect withoutShadow(const std::vector<uint32_t>& extents, PixelRect frame);

} // namespace vintra
