#include "Vintra/platform/linux/overlays/X11OwnWindows.h"

#include "Vintra/platform/linux/runtime/LinuxHostClock.h"
#include "Vintra/platform/linux/x11/X11Monitors.h"
#include "Vintra/platform/linux/x11/X11Windows.h"

#include <X11/Xatom.h>

#include <algorithm>
#include <unistd.h>
#include <utility>

namespace vintra {
namespace {

constexpr int64_t kLeastReadingDistance = 100'000'000; // nanoseconds

::Window parentOf(X11OverlayConnection& connection, ::Window window) {
    ::Window root = 0;
    ::Window parent = 0;
    ::Window* children = nullptr;
    unsigned count = 0;
    if (!XQueryTree(connection.get(), window, &root, &parent, &children, &count)) return 0;
    if (children) XFree(children);
    return parent == root ? 0 : parent;
}

/// With its frame.
CGRect outerFrame(X11OverlayConnection& connection, const X11Window& window) {
    ::Window outermost = window.id;
    while (const ::Window parent = parentOf(connection, outermost))
        outermost = parent;
    const auto frame =
        outermost == window.id ? std::optional(window) : readWindow(connection.server(), outermost);
    return pointsOf(frame ? frame->frame : window.frame, connection.scale());
}

bool isOfThisProcess(X11OverlayConnection& connection, ::Window window) {
    for (; window > PointerRoot; window = parentOf(connection, window)) {
        if (readProcess(connection.server(), window) == ::getpid()) return true;
    }
    return false;
}

/// As the window manager has it; 0 without one.
::Window activeWindow(X11OverlayConnection& connection) {
    Atom type = 0;
    int format = 0;
    unsigned long count = 0;
    unsigned long left = 0;
    unsigned char* data = nullptr;
    ::Window window = 0;
    if (XGetWindowProperty(connection.get(), DefaultRootWindow(connection.get()),
                           connection.atom("_NET_ACTIVE_WINDOW"), 0, 1, False, XA_WINDOW, &type, &format,
                           &count, &left, &data) == Success) {
        if (data && format == 32 && count > 0) window = *reinterpret_cast<const unsigned long*>(data);
        if (data) XFree(data);
    }
    return window;
}

} // namespace

X11OwnWindows::X11OwnWindows(std::shared_ptr<X11OverlayConnection> connection)
    : connection(std::move(connection)) {}

bool X11OwnWindows::isActive() const {
    if (connection->isDead()) return false;
    ::Window focused = 0;
    int revertTo = 0;
    XGetInputFocus(connection->get(), &focused, &revertTo);
    const bool isOverlay =
        std::ranges::any_of(connection->parts(), [focused](const auto* part) { return part->owns(focused); });
    const ::Window active = isOverlay ? 0 : activeWindow(*connection);
    const bool isOwn = isOverlay || isOfThisProcess(*connection, active != 0 ? active : focused);
    connection->settle();
    return isOwn;
}

std::vector<OwnWindows::Window> X11OwnWindows::windows() const {
    if (connection->isDead()) return {};
    refreshIfNeeded();
    std::vector<Window> all;
    for (const X11OverlayPart* const part : connection->parts())
        all.push_back(part->description());
    all.insert(all.end(), others.begin(), others.end());
    return all;
}

void X11OwnWindows::refreshIfNeeded() const {
    const int64_t now = monotonicNanoseconds();
    if (readAt != 0 &&
        (knownStructure == connection->structureNumber() || now - readAt < kLeastReadingDistance)) {
        return;
    }
    readAt = now;
    knownStructure = connection->structureNumber();
    others.clear();
    for (const X11Window& window : readWindows(connection->server())) {
        const bool isOverlay =
            std::ranges::any_of(connection->parts(), [&](const auto* part) { return part->owns(window.id); });
        if (isOverlay || window.process != ::getpid()) continue;
        others.push_back({.number = static_cast<uint32_t>(window.id),
                          .frame = outerFrame(*connection, window),
                          .isVisible = window.isOnScreen,
                          .isPanel = window.kind != X11Window::Kind::ordinary});
    }
    connection->settle();
}

} // namespace vintra
