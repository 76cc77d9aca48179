#include "Vintra/platform/linux/overlays/X11OverlayConnection.h"

#include "Vintra/platform/SystemError.h"
#include "Vintra/platform/linux/x11/X11Monitors.h"
#include "Vintra/platform/linux/x11/X11Patience.h"

#include <X11/Xatom.h>
#include <X11/extensions/Xfixes.h>

#include <algorithm>
#include <optional>
#include <utility>

namespace vintra {

std::shared_ptr<X11OverlayConnection> X11OverlayConnection::open(EventLoop& eventLoop,
                                                                 const std::string& displayName) {
    try {
        auto display = X11Display::open(displayName);
        const X11Patience patience(*display, X11Display::kPatience);
        return std::shared_ptr<X11OverlayConnection>(new X11OverlayConnection(eventLoop, std::move(display)));
    } catch (const SystemError&) {
        return nullptr;
    }
}

X11OverlayConnection::X11OverlayConnection(EventLoop& eventLoop, std::unique_ptr<X11Display> opened)
    : eventLoop(eventLoop)
    , display(std::move(opened))
    , ownWindows(*display) {
    XSelectInput(get(), display->root(), SubstructureNotifyMask | PropertyChangeMask);
    watchCompositor();
    pixelsPerPoint = readScale(*display);
    watch =
        eventLoop.watch(ConnectionNumber(get()), EventLoop::Readiness::readable, [this] { handleEvents(); });
}

X11OverlayConnection::~X11OverlayConnection() = default;

void X11OverlayConnection::watchCompositor() {
    const std::string name = "_NET_WM_CM_S" + std::to_string(DefaultScreen(get()));
    compositorSelection = atom(name.c_str());
    int errorBase = 0;
    int major = 5;
    int minor = 0;
    if (XFixesQueryExtension(get(), &fixesEvents, &errorBase) && XFixesQueryVersion(get(), &major, &minor)) {
        XFixesSelectSelectionInput(get(), display->root(), compositorSelection,
                                   XFixesSetSelectionOwnerNotifyMask |
                                       XFixesSelectionWindowDestroyNotifyMask |
                                       XFixesSelectionClientCloseNotifyMask);
    } else {
        fixesEvents = -1;
    }
    readCompositor();
}

void X11OverlayConnection::readCompositor() {
    composited = XGetSelectionOwner(get(), compositorSelection) != 0;
}

void X11OverlayConnection::add(X11OverlayPart& part) {
    overlays.push_back(&part);
}

void X11OverlayConnection::remove(const X11OverlayPart& part) {
    std::erase(overlays, &part);
}

bool X11OverlayConnection::isOverlay(::Window window) const {
    return std::ranges::any_of(overlays, [window](const auto* part) { return part->owns(window); });
}

void X11OverlayConnection::readOwnWindowPlaces() {
    const bool isAnyShown =
        std::ranges::any_of(overlays, [](const auto* part) { return part->description().isVisible; });
    if (!isAnyShown || isDead()) return;
    auto places = ownWindows.places([this](::Window window) { return isOverlay(window); });
    if (places == ownPlaces) return;
    ownPlaces = std::move(places);
    for (X11OverlayPart* const part : overlays)
        part->ownWindowsMoved();
}

void X11OverlayConnection::raiseAll() {
    readOwnWindowPlaces();
    std::vector<X11OverlayPart*> byLevel = overlays;
    std::stable_sort(byLevel.begin(), byLevel.end(), [](const X11OverlayPart* a, const X11OverlayPart* b) {
        return a->level() < b->level();
    });
    for (X11OverlayPart* const part : byLevel)
        part->raise();
}

/// Xlib takes events from the connection while it waits for an answer, so that the event loop no longer sees them.
void X11OverlayConnection::settle() {
    if (isDead()) return;
    XFlush(get());
    if (XEventsQueued(get(), QueuedAlready) == 0) return;
    eventLoop.post([weak = weak_from_this()] {
        if (const auto connection = weak.lock()) connection->handleEvents();
    });
}

void X11OverlayConnection::handleEvents() {
    const auto kept = shared_from_this(); // what is told may let go of it
    while (!isDead() && XPending(get()) > 0) {
        XEvent event;
        XNextEvent(get(), &event);
        handle(event);
    }
    if (isDead()) {
        watch.reset();
        return;
    }
    if (std::exchange(mayBeCovered, false) && isCovered()) raiseAll();
    if (toldStructure != structureChanges) readOwnWindowPlaces();
    settle();
    if (std::exchange(toldStructure, structureChanges) == structureChanges) return;
    const auto all = structureBlocks;
    for (const auto& weak : all) {
        if (const auto block = weak.lock()) (*block)();
    }
}

Observation X11OverlayConnection::observeStructure(std::function<void()> block) {
    std::erase_if(structureBlocks, [](const auto& weak) { return weak.expired(); });
    auto kept = std::make_shared<std::function<void()>>(std::move(block));
    structureBlocks.push_back(kept);
    return kept;
}

void X11OverlayConnection::handle(XEvent& event) {
    if (fixesEvents >= 0 && event.type == fixesEvents + XFixesSelectionNotify) {
        const bool before = composited;
        readCompositor();
        if (composited == before) return;
        const auto all = overlays;
        for (X11OverlayPart* const part : all)
            part->compositorChanged();
        return;
    }
    if (event.xany.window == display->root()) handleOfRoot(event);
    for (X11OverlayPart* const part : overlays) {
        if (!part->owns(event.xany.window)) continue;
        part->handle(event);
        return;
    }
}

void X11OverlayConnection::handleOfRoot(const XEvent& event) {
    switch (event.type) {
    case PropertyNotify:
        if (event.xproperty.atom == XA_RESOURCE_MANAGER) pixelsPerPoint = readScale(*display);
        return;
    case ConfigureNotify:
        if (isOverlay(event.xconfigure.window)) return;
        mayBeCovered = mayBeCovered || !event.xconfigure.override_redirect;
        break;
    case MapNotify:
        if (isOverlay(event.xmap.window)) return;
        mayBeCovered = mayBeCovered || !event.xmap.override_redirect;
        break;
    case ReparentNotify:
    case UnmapNotify:
    case DestroyNotify:
    case CirculateNotify:
        break;
    default:
        return;
    }
    ownWindows.note(event);
    ++structureChanges;
}

/// By an ordinary window; menus and what else isn't for the window manager may lie above.
bool X11OverlayConnection::isCovered() const {
    ::Window root = 0;
    ::Window parent = 0;
    ::Window* children = nullptr;
    unsigned count = 0;
    if (!XQueryTree(get(), display->root(), &root, &parent, &children, &count) || !children) return false;
    const std::vector<::Window> stack(children, children + count);
    XFree(children);
    bool isAboveOne = false;
    for (const ::Window window : stack) {
        const bool isOverlay = std::ranges::any_of(overlays, [window](const auto* part) {
            return part->description().isVisible && part->owns(window);
        });
        if (isOverlay) {
            isAboveOne = true;
        } else if (isAboveOne) {
            XWindowAttributes attributes{};
            if (XGetWindowAttributes(get(), window, &attributes) && attributes.map_state == IsViewable &&
                !attributes.override_redirect && attributes.c_class == InputOutput) {
                return true;
            }
        }
    }
    return false;
}

X11OverlayConnection::Pointer X11OverlayConnection::pointer() const {
    Pointer result;
    if (isDead()) return result;
    ::Window root = 0;
    int inWindowX = 0;
    int inWindowY = 0;
    unsigned buttons = 0;
    XQueryPointer(get(), display->root(), &root, &result.child, &result.x, &result.y, &inWindowX, &inWindowY,
                  &buttons);
    return result;
}

} // namespace vintra
