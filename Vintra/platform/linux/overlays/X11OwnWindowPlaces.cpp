#include "Vintra/platform/linux/overlays/X11OwnWindowPlaces.h"

#include "Vintra/platform/linux/x11/X11Windows.h"

#include <X11/Xatom.h>

#include <algorithm>
#include <optional>
#include <unistd.h>

namespace vintra {
namespace {

constexpr int kDeepestClient = 3; // windows that window managers put around one

std::vector<::Window> childrenOf(::Display* display, ::Window window) {
    ::Window root = 0;
    ::Window parent = 0;
    ::Window* children = nullptr;
    unsigned count = 0;
    if (!XQueryTree(display, window, &root, &parent, &children, &count) || !children) return {};
    const std::vector<::Window> all(children, children + count);
    XFree(children);
    return all;
}

/// As window managers mark the windows of programs.
bool isManaged(::Display* display, ::Window window) {
    Atom type = 0;
    int format = 0;
    unsigned long count = 0;
    unsigned long left = 0;
    unsigned char* data = nullptr;
    const Atom state = XInternAtom(display, "WM_STATE", False);
    if (XGetWindowProperty(display, window, state, 0, 1, False, state, &type, &format, &count, &left,
                           &data) != Success) {
        return false;
    }
    if (data) XFree(data);
    return type != 0;
}

} // namespace

void X11OwnWindowPlaces::note(const XEvent& event) {
    switch (event.type) {
    case ConfigureNotify: {
        const XConfigureEvent& moved = event.xconfigure;
        const auto found = known.find(moved.window);
        if (found == known.end()) return;
        const int border = 2 * moved.border_width;
        found->second.frame = {moved.x, moved.y, moved.width + border, moved.height + border};
        return;
    }
    case CirculateNotify:
        return;
    case MapNotify:
        known.erase(event.xmap.window);
        return;
    case UnmapNotify:
        known.erase(event.xunmap.window);
        return;
    case DestroyNotify:
        known.erase(event.xdestroywindow.window);
        return;
    default: // a window may have come out of its frame, or into one
        known.clear();
        return;
    }
}

std::vector<PixelRect> X11OwnWindowPlaces::places(const std::function<bool(::Window)>& isOverlay) {
    auto stack = childrenOf(display.get(), display.root());
    std::reverse(stack.begin(), stack.end()); // from the front
    std::vector<PixelRect> above;
    std::vector<PixelRect> own;
    for (const ::Window window : stack) {
        if (isOverlay(window)) continue;
        auto found = known.find(window);
        if (found == known.end()) found = known.emplace(window, read(window)).first;
        const Known& each = found->second;
        if (!each.isShown) continue;
        if (each.hidesOwn) above.push_back(each.frame);
        const bool isInFront = std::ranges::none_of(
            above, [&](const PixelRect& other) { return !intersection(other, each.frame).isEmpty(); });
        if (each.isOwn && isInFront) own.push_back(each.frame);
    }
    return own;
}

X11OwnWindowPlaces::Known X11OwnWindowPlaces::read(::Window outermost) {
    XWindowAttributes attributes{};
    if (!XGetWindowAttributes(display.get(), outermost, &attributes) || attributes.c_class != InputOutput ||
        attributes.map_state != IsViewable) {
        return {};
    }
    const int border = 2 * attributes.border_width;
    Known result{
        .isShown = true,
        .frame = {attributes.x, attributes.y, attributes.width + border, attributes.height + border}};
    const ::Window managed = clientIn(outermost, kDeepestClient);
    const ::Window client = managed != 0 ? managed : outermost;
    const auto described = readWindow(display, client);
    result.isOwn = described && described->process == ::getpid();
    result.hidesOwn = !result.isOwn && described && described->kind == X11Window::Kind::ordinary;
    return result;
}

/// 0 if there is none.
::Window X11OwnWindowPlaces::clientIn(::Window window, int depth) const {
    if (isManaged(display.get(), window)) return window;
    if (depth == 0) return 0;
    for (const ::Window child : childrenOf(display.get(), window)) {
        if (const ::Window client = clientIn(child, depth - 1)) return client;
    }
    return 0;
}

} // namespace vintra
