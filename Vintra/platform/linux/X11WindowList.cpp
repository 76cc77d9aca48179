#include "Vintra/platform/linux/X11WindowList.h"

#include "Vintra/platform/linux/PixelRegion.h"
#include "Vintra/platform/linux/X11Monitors.h"

#include <X11/Xatom.h>
#include <X11/Xutil.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>

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

std::vector<::Window> topLevelChildren(X11Display& display) {
    std::vector<::Window> windows;
    ::Window root = 0;
    ::Window parent = 0;
    ::Window* children = nullptr;
    unsigned count = 0;
    if (!XQueryTree(display.get(), display.root(), &root, &parent, &children, &count) || !children) {
        return windows;
    }
    for (unsigned i = 0; i < count; ++i) {
        XWindowAttributes attributes{};
        if (!XGetWindowAttributes(display.get(), children[i], &attributes)) continue;
        const bool isMenuOrTip = attributes.override_redirect != 0;
        if (!isMenuOrTip && attributes.c_class == InputOutput && attributes.map_state != IsUnmapped) {
            windows.push_back(children[i]);
        }
    }
    XFree(children);
    return windows;
}

bool isDesktopWindow(X11Display& display, ::Window window) {
    const Atom desktop = XInternAtom(display.get(), "_NET_WM_WINDOW_TYPE_DESKTOP", False);
    const Atom dock = XInternAtom(display.get(), "_NET_WM_WINDOW_TYPE_DOCK", False);
    const auto types = readNumbers(display, window, "_NET_WM_WINDOW_TYPE", XA_ATOM);
    return std::any_of(types.begin(), types.end(),
                       [=](unsigned long type) { return type == desktop || type == dock; });
}

struct Place {
    PixelRect frame;
    bool isOnScreen = false;
};

/// Nothing if the window has gone.
std::optional<Place> readPlace(X11Display& display, ::Window window) {
    XWindowAttributes attributes{};
    XWindowAttributes rootAttributes{};
    ::Window child = 0;
    int x = 0;
    int y = 0;
    if (!XGetWindowAttributes(display.get(), window, &attributes) ||
        !XGetWindowAttributes(display.get(), display.root(), &rootAttributes) ||
        !XTranslateCoordinates(display.get(), window, display.root(), 0, 0, &x, &y, &child)) {
        return std::nullopt;
    }
    Place place{{x, y, attributes.width, attributes.height}, attributes.map_state == IsViewable};
    const PixelRect root{0, 0, rootAttributes.width, rootAttributes.height};
    if (intersection(place.frame, root).isEmpty()) place.isOnScreen = false;
    return place;
}

void addApplication(X11Display& display, ::Window window, std::vector<SCRunningApplication>& applications) {
    const auto processes = readNumbers(display, window, "_NET_WM_PID", XA_CARDINAL);
    if (processes.empty()) return;
    const auto processID = static_cast<int32_t>(processes.front());
    const bool isKnown =
        std::any_of(applications.begin(), applications.end(),
                    [=](const SCRunningApplication& known) { return known.processID == processID; });
    if (!isKnown) applications.push_back({processID, readApplicationName(display, window)});
}

} // namespace

X11WindowList readWindowList(X11Display& display, double scale, X11WindowChoice choice) {
    X11WindowList list;
    std::vector<::Window> windows;
    for (const unsigned long id : readNumbers(display, display.root(), "_NET_CLIENT_LIST", XA_WINDOW)) {
        windows.push_back(id);
    }
    if (windows.empty()) windows = topLevelChildren(display);
    for (const ::Window window : windows) {
        if (display.isDead()) return {};
        const auto place = readPlace(display, window);
        if (!place || (choice.onScreenOnly && !place->isOnScreen)) continue;
        addApplication(display, window, list.applications);
        if (choice.excludesDesktopWindows && isDesktopWindow(display, window)) continue;
        const PixelRect& frame = place->frame;
        list.windows.push_back({static_cast<uint32_t>(window),
                                {{frame.x / scale, frame.y / scale},
                                 {pointsCovering(frame.width, scale), pointsCovering(frame.height, scale)}},
                                readTitle(display, window)});
    }
    return list;
}

} // namespace vintra
