#pragma once

#include "Vintra/platform/EventLoop.h"
#include "Vintra/platform/Observation.h"
#include "Vintra/platform/OwnWindows.h"
#include "Vintra/platform/linux/overlays/X11OwnWindowPlaces.h"
#include "Vintra/platform/linux/screen/PixelRegion.h"
#include "Vintra/platform/linux/x11/X11Display.h"

#include <X11/Xlib.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace vintra {

/// A window of the connection, which tells it of what happens to it. Main thread.
class X11OverlayPart {
public:
    virtual ~X11OverlayPart() = default;
    virtual bool owns(::Window window) const = 0;
    /// It may destroy this.
    virtual void handle(const XEvent& event) = 0;
    /// A compositor has come or gone.
    virtual void compositorChanged() = 0;
    /// Those of `ownWindowPlaces` are others now.
    virtual void ownWindowsMoved() = 0;
    /// Above everything; the next ones of the same level lie above this.
    virtual void raise() = 0;
    virtual int level() const = 0;
    virtual OwnWindows::Window description() const = 0;
    virtual bool hasKeyboard() const = 0;
};

/// The connection to the X server that all overlays share: it hands on their events as the event loop finds
/// them, keeps them above other windows, and knows of the desktop what they need. It sleeps while nothing
/// happens. Once the server has gone nothing happens any more. Owned by whoever uses it; main thread.
class X11OverlayConnection : public std::enable_shared_from_this<X11OverlayConnection> {
public:
    /// Null without a server. The event loop outlives it.
    static std::shared_ptr<X11OverlayConnection> open(EventLoop& eventLoop, const std::string& displayName);
    ~X11OverlayConnection();
    X11OverlayConnection(const X11OverlayConnection&) = delete;
    X11OverlayConnection& operator=(const X11OverlayConnection&) = delete;

    X11Display& server() { return *display; }
    ::Display* get() const { return display->get(); }
    bool isDead() const { return display->isDead(); }
    /// Whether something mixes translucent windows with those below.
    bool isComposited() const { return composited; }
    /// Pixels a point.
    double scale() const { return pixelsPerPoint; }
    /// Another number whenever windows may have come, gone, moved or been stacked otherwise.
    uint64_t structureNumber() const { return structureChanges; }
    /// Calls the block when that number has changed, once for all that has come by then.
    Observation observeStructure(std::function<void()> block);
    Atom atom(const char* name) const { return XInternAtom(get(), name, False); }

    void add(X11OverlayPart& part);
    void remove(const X11OverlayPart& part);
    const std::vector<X11OverlayPart*>& parts() const { return overlays; }
    /// Where the program's own windows lie, which the overlays leave free. Known while one is on the screen.
    const std::vector<PixelRect>& ownWindowPlaces() const { return ownPlaces; }
    /// Puts the overlays that are on the screen above all windows, by their levels.
    void raiseAll();
    /// After every use: sends what was asked for, and sees to events that came meanwhile.
    void settle();

    /// `XQueryPointer` of the root window.
    struct Pointer {
        int x = 0;
        int y = 0;
        ::Window child = 0;
    };
    Pointer pointer() const;

private:
    X11OverlayConnection(EventLoop& eventLoop, std::unique_ptr<X11Display> display);
    void handleEvents();
    void handle(XEvent& event);
    void handleOfRoot(const XEvent& event);
    void watchCompositor();
    void readCompositor();
    bool isCovered() const;
    bool isOverlay(::Window window) const;
    void readOwnWindowPlaces();

    EventLoop& eventLoop;
    const std::unique_ptr<X11Display> display;
    std::vector<X11OverlayPart*> overlays; ///< in the order of their making
    X11OwnWindowPlaces ownWindows;
    std::vector<PixelRect> ownPlaces;
    bool composited = false;
    double pixelsPerPoint = 1;
    uint64_t structureChanges = 0;
    uint64_t toldStructure = 0;
    std::vector<std::weak_ptr<std::function<void()>>> structureBlocks;
    bool mayBeCovered = false;
    Atom compositorSelection = 0;
    int fixesEvents = -1;
    std::shared_ptr<void> watch;
};

} // namespace vintra
