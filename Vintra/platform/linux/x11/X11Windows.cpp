#include "Vintra/platform/linux/x11/X11Windows.h"

#include <X11/Xatom.h>
#include <X11/Xutil.h>

#include <algorithm>
#include <map>

namespace vintra {
namespace {

/// A property's items of 32 bits; empty if it isn't there.
std::vector<unsigned long> readNumbers(X11Display& display, ::Window window, const char* name, Atom type) {
    constexpr long kMostItems = 4096;
    const Atom property = XInternAtom(display.get(), name, True);
    Atom actualType = 0;
    int format = 0;
    unsigned long count = 0;
    unsigned long left = 0;
    unsigned char* data = nullptr;
    std::vector<unsigned long> numbers;
    if (property == 0) return numbers;
    if (XGetWindowProperty(display.get(), window, property, 0, kMostItems, False, type, &actualType, &format,
                           &count, &left, &data) != Success) {
        return numbers;
    }
    if (data && format == 32) {
        const auto* const items = reinterpret_cast<const unsigned long*>(data);
        numbers.assign(items, items + count);
    }
    if (data) XFree(data);
    return numbers;
}

struct Family {
    ::Window parent = 0;
    std::vector<::Window> children; ///< back to front
};

Family readFamily(X11Display& display, ::Window window) {
    Family family;
    ::Window root = 0;
    ::Window* children = nullptr;
    unsigned count = 0;
    if (!XQueryTree(display.get(), window, &root, &family.parent, &children, &count)) return family;
    if (children) {
        family.children.assign(children, children + count);
        XFree(children);
    }
    return family;
}

/// The child of the root window that the window is, or lies in; 0 if it has gone.
::Window readOutermost(X11Display& display, ::Window window) {
    while (window != 0) {
        const ::Window parent = readFamily(display, window).parent;
        if (parent == display.root()) return window;
        window = parent;
    }
    return 0;
}

std::vector<unsigned long> readManagedWindows(X11Display& display) {
    auto windows = readNumbers(display, display.root(), "_NET_CLIENT_LIST_STACKING", XA_WINDOW);
    if (windows.empty()) windows = readNumbers(display, display.root(), "_NET_CLIENT_LIST", XA_WINDOW);
    return windows;
}

X11Window::Kind readKind(X11Display& display, ::Window window, bool isUnmanaged) {
    const auto types = readNumbers(display, window, "_NET_WM_WINDOW_TYPE", XA_ATOM);
    const auto is = [&](const char* name) {
        const Atom type = XInternAtom(display.get(), name, True);
        return type != 0 && std::find(types.begin(), types.end(), type) != types.end();
    };
    if (is("_NET_WM_WINDOW_TYPE_DESKTOP")) return X11Window::Kind::desktop;
    if (is("_NET_WM_WINDOW_TYPE_DOCK")) return X11Window::Kind::dock;
    const char* const passing[] = {"_NET_WM_WINDOW_TYPE_DROPDOWN_MENU", "_NET_WM_WINDOW_TYPE_POPUP_MENU",
                                   "_NET_WM_WINDOW_TYPE_TOOLTIP",       "_NET_WM_WINDOW_TYPE_NOTIFICATION",
                                   "_NET_WM_WINDOW_TYPE_COMBO",         "_NET_WM_WINDOW_TYPE_DND",
                                   "_NET_WM_WINDOW_TYPE_SPLASH"};
    if (isUnmanaged || std::any_of(std::begin(passing), std::end(passing), is)) {
        return X11Window::Kind::passing;
    }
    return X11Window::Kind::ordinary;
}

} // namespace

PixelRect withoutShadow(X11Display& display, ::Window window, PixelRect frame) {
    // Left, right, top, bottom, in pixels.
    const auto extents = readNumbers(display, window, kShadowProperty, XA_CARDINAL);
    if (extents.size() != 4) return frame;
    const auto most = static_cast<unsigned long>(std::max(frame.width, frame.height));
    if (std::ranges::any_of(extents, [most](unsigned long side) { return side > most; })) return frame;
    const auto side = [&](size_t index) { return static_cast<int>(extents[index]); };
    const PixelRect rest{frame.x + side(0), frame.y + side(2), frame.width - side(0) - side(1),
                         frame.height - side(2) - side(3)};
    return rest.isEmpty() ? frame : rest;
}

std::optional<X11Window> readWindow(X11Display& display, ::Window id) {
    XWindowAttributes attributes{};
    XWindowAttributes root{};
    ::Window child = 0;
    int x = 0;
    int y = 0;
    if (!XGetWindowAttributes(display.get(), id, &attributes) || attributes.c_class != InputOutput ||
        !XGetWindowAttributes(display.get(), display.root(), &root) ||
        !XTranslateCoordinates(display.get(), id, display.root(), 0, 0, &x, &y, &child)) {
        return std::nullopt;
    }
    X11Window window{.id = id,
                     .kind = readKind(display, id, attributes.override_redirect != 0),
                     .frame = withoutShadow(display, id, {x, y, attributes.width, attributes.height})};
    window.isOnScreen = attributes.map_state == IsViewable &&
                        !intersection(window.frame, {0, 0, root.width, root.height}).isEmpty();
    return window;
}

std::vector<X11Window> readWindows(X11Display& display) {
    std::map<::Window, std::vector<::Window>> managed; ///< by the outermost window around them, back to front
    for (const unsigned long window : readManagedWindows(display)) {
        if (const ::Window outermost = readOutermost(display, window)) managed[outermost].push_back(window);
    }
    std::vector<X11Window> windows;
    const auto add = [&](::Window id, bool isManaged) {
        auto window = readWindow(display, id);
        if (!window) return;
        if (!isManaged && window->kind == X11Window::Kind::ordinary) window->kind = X11Window::Kind::passing;
        windows.push_back(*window);
    };
    std::vector<::Window> outermost = readFamily(display, display.root()).children;
    std::reverse(outermost.begin(), outermost.end());
    for (const ::Window window : outermost) {
        const auto within = managed.find(window);
        if (within == managed.end()) {
            add(window, managed.empty()); // without a window manager they are all the programs' own
            continue;
        }
        std::reverse(within->second.begin(), within->second.end());
        for (const ::Window client : within->second)
            add(client, true);
    }
    if (display.isDead()) return {};
    return windows;
}

std::string readTitle(X11Display& display, ::Window window) {
    XTextProperty property{};
    const Atom modern = XInternAtom(display.get(), "_NET_WM_NAME", False);
    if (!XGetTextProperty(display.get(), window, &property, modern) &&
        !XGetWMName(display.get(), window, &property)) {
        return {};
    }
    std::string title;
    char** list = nullptr;
    int count = 0;
    if (Xutf8TextPropertyToTextList(display.get(), &property, &list, &count) >= Success && list) {
        if (count > 0) title = list[0];
        XFreeStringList(list);
    }
    XFree(property.value);
    return title;
}

std::string readApplicationName(X11Display& display, ::Window window) {
    XClassHint hint{};
    if (!XGetClassHint(display.get(), window, &hint)) return {};
    std::string name = hint.res_class ? hint.res_class : "";
    XFree(hint.res_name);
    XFree(hint.res_class);
    return name;
}

std::optional<int32_t> readProcess(X11Display& display, ::Window window) {
    const auto processes = readNumbers(display, window, "_NET_WM_PID", XA_CARDINAL);
    if (processes.empty()) return std::nullopt;
    return static_cast<int32_t>(processes.front());
}

} // namespace vintra
