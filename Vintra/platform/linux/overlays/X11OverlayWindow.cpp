#include "Vintra/platform/linux/overlays/X11OverlayWindow.h"

#include "Vintra/platform/linux/overlays/OpaqueOverlay.h"
#include "Vintra/platform/linux/overlays/X11Keys.h"
#include "Vintra/platform/linux/x11/X11Monitors.h"

#include <X11/Xatom.h>
#include <X11/cursorfont.h>
#include <X11/extensions/Xfixes.h>
#include <X11/extensions/shape.h>

#include <algorithm>
#include <cstddef>
#include <unistd.h>
#include <utility>

namespace vintra {
namespace {

constexpr int kAboveOwnWindows = 25; // the level of the click ripples

unsigned cursorShape(OverlayCursor cursor) {
    switch (cursor) {
    case OverlayCursor::crosshair:
        return XC_crosshair;
    case OverlayCursor::pointingHand:
        return XC_hand2;
    case OverlayCursor::arrow:
        break;
    }
    return XC_left_ptr;
}

} // namespace

X11OverlayWindow::X11OverlayWindow(std::shared_ptr<X11OverlayConnection> connection, OverlayPainter& painter,
                                   const OverlayRecipe& recipe, OverlayInput& input)
    : connection(std::move(connection))
    , painter(painter)
    , recipe(recipe)
    , input(input)
    , frame(recipe.frame)
    , ignoresMouseEvents(recipe.ignoresMouseEvents) {
    XVisualInfo format{};
    ::Display* const display = this->connection->get();
    if (XMatchVisualInfo(display, DefaultScreen(display), 32, TrueColor, &format)) {
        visual = format.visual;
        depth = format.depth;
    } else {
        visual = DefaultVisual(display, DefaultScreen(display));
        depth = DefaultDepth(display, DefaultScreen(display));
    }
    scale = this->connection->scale();
    makeWindows();
    makePixels();
    this->connection->add(*this);
    this->connection->settle();
}

X11OverlayWindow::~X11OverlayWindow() {
    orderOut();
    connection->remove(*this);
    pixels.reset();
    if (connection->isDead()) {
        XFree(context); // this side of it; all else was the server's
        return;
    }
    ::Display* const display = connection->get();
    XFreeGC(display, context);
    XDestroyWindow(display, glass);
    XDestroyWindow(display, window);
    XFreeColormap(display, colormap);
    if (cursor != 0) XFreeCursor(display, cursor);
    connection->settle();
}

void X11OverlayWindow::makeWindows() {
    ::Display* const display = connection->get();
    const ::Window root = DefaultRootWindow(display);
    pixelFrame = {nearestPixel(frame.minX(), scale), nearestPixel(frame.minY(), scale),
                  std::max(nearestPixel(frame.size.width, scale), 1),
                  std::max(nearestPixel(frame.size.height, scale), 1)};
    colormap = XCreateColormap(display, root, visual, AllocNone);
    XSetWindowAttributes attributes{};
    attributes.override_redirect = True;
    attributes.colormap = colormap;
    attributes.background_pixel = 0;
    attributes.border_pixel = 0;
    attributes.event_mask = ExposureMask;
    window = XCreateWindow(display, root, pixelFrame.x, pixelFrame.y, static_cast<unsigned>(pixelFrame.width),
                           static_cast<unsigned>(pixelFrame.height), 0, depth, InputOutput, visual,
                           CWOverrideRedirect | CWColormap | CWBackPixel | CWBorderPixel | CWEventMask,
                           &attributes);
    context = XCreateGC(display, window, 0, nullptr);
    cursor = XCreateFontCursor(display, cursorShape(recipe.cursor));
    attributes.cursor = cursor;
    attributes.event_mask =
        ButtonPressMask | ButtonReleaseMask | PointerMotionMask | EnterWindowMask | KeyPressMask;
    glass = XCreateWindow(display, root, pixelFrame.x, pixelFrame.y, static_cast<unsigned>(pixelFrame.width),
                          static_cast<unsigned>(pixelFrame.height), 0, 0, InputOnly, nullptr,
                          CWOverrideRedirect | CWCursor | CWEventMask, &attributes);
    const XserverRegion nowhere = XFixesCreateRegion(display, nullptr, 0);
    XFixesSetWindowShapeRegion(display, window, ShapeInput, 0, 0, nowhere);
    XFixesDestroyRegion(display, nowhere);

    const long process = ::getpid();
    const Atom kind = connection->atom("_NET_WM_WINDOW_TYPE_NOTIFICATION");
    const long neverUnredirect = 2; // a full-screen window that is shown by itself would be black
    for (const ::Window each : {window, glass}) {
        XChangeProperty(display, each, connection->atom("_NET_WM_PID"), XA_CARDINAL, 32, PropModeReplace,
                        reinterpret_cast<const unsigned char*>(&process), 1);
        XStoreName(display, each, "Vintra overlay");
    }
    XChangeProperty(display, window, connection->atom("_NET_WM_WINDOW_TYPE"), XA_ATOM, 32, PropModeReplace,
                    reinterpret_cast<const unsigned char*>(&kind), 1);
    XChangeProperty(display, window, connection->atom("_NET_WM_BYPASS_COMPOSITOR"), XA_CARDINAL, 32,
                    PropModeReplace, reinterpret_cast<const unsigned char*>(&neverUnredirect), 1);
}

void X11OverlayWindow::makePixels() {
    isPutUnderWay = false;
    pixels.reset();
    if (connection->isDead()) return;
    pixels = X11OverlayPixels::make(connection->server(), visual, depth, pixelFrame.width, pixelFrame.height);
    painted = {};
    if (!connection->isComposited()) setShape({});
}

OverlayCanvas X11OverlayWindow::canvas() const {
    return {.pixels = pixels->data(), .width = pixels->width(), .height = pixels->height(), .scale = scale};
}

void X11OverlayWindow::setFrame(const CGRect& newFrame) {
    frame = newFrame;
    if (connection->isDead()) return;
    const double before = scale;
    scale = connection->scale();
    const PixelRect moved{nearestPixel(frame.minX(), scale), nearestPixel(frame.minY(), scale),
                          std::max(nearestPixel(frame.size.width, scale), 1),
                          std::max(nearestPixel(frame.size.height, scale), 1)};
    const bool isResized =
        moved.width != pixelFrame.width || moved.height != pixelFrame.height || scale != before;
    pixelFrame = moved;
    for (const ::Window each : {window, glass}) {
        XMoveResizeWindow(connection->get(), each, moved.x, moved.y, static_cast<unsigned>(moved.width),
                          static_cast<unsigned>(moved.height));
    }
    if (isResized) {
        makePixels();
        repaint(wanted);
    }
    if (!connection->ownWindowPlaces().empty()) ownWindowsMoved(); // it has moved over them
    connection->settle();
}

void X11OverlayWindow::setIgnoresMouseEvents(bool ignores) {
    ignoresMouseEvents = ignores;
    showOrHideGlass();
}

void X11OverlayWindow::showOrHideGlass() {
    const bool isWanted = isOnScreen && !ignoresMouseEvents;
    if (connection->isDead() || isWanted == isGlassOnScreen) return;
    isGlassOnScreen = isWanted;
    if (isWanted) {
        XMapWindow(connection->get(), glass);
        connection->raiseAll();
    } else {
        isDragging = false;
        XUnmapWindow(connection->get(), glass);
    }
    connection->settle();
}

void X11OverlayWindow::present(const DrawList& list) {
    wanted = list;
    if (!isPutUnderWay) repaint(list);
    connection->settle();
}

void X11OverlayWindow::repaint(const DrawList& list) {
    if (connection->isDead() || !pixels) return;
    const DrawList seen = connection->isComposited() ? list : OpaqueOverlay::withoutSurround(list);
    const PixelRegion changed = OverlayPixels::changedPixels(painted, seen, grid(), painter);
    if (!changed.isEmpty()) {
        painter.paint(seen, canvas(), changed.rects());
        if (!connection->isComposited()) setShape(seen);
    }
    painted = seen;
    if (isOnScreen) put(changed.rects());
}

/// To be called once the pixels show the list. Also turns them opaque.
void X11OverlayWindow::setShape(const DrawList& list) {
    std::vector<XRectangle> rectangles;
    if (pixels) {
        const PixelRegion drawn = OverlayPixels::changedPixels({}, list, grid(), painter);
        for (const PixelRect& part : drawn.rects()) {
            for (const PixelRect& each : OpaqueOverlay::makeOpaque(canvas(), part)) {
                rectangles.push_back({static_cast<short>(each.x), static_cast<short>(each.y),
                                      static_cast<unsigned short>(each.width),
                                      static_cast<unsigned short>(each.height)});
            }
        }
    }
    XShapeCombineRectangles(connection->get(), window, ShapeBounding, 0, 0, rectangles.data(),
                            static_cast<int>(rectangles.size()), ShapeSet, Unsorted);
    leaveOwnWindowsFree();
}

void X11OverlayWindow::ownWindowsMoved() {
    if (connection->isDead() || recipe.level >= kAboveOwnWindows) return;
    if (connection->isComposited()) {
        XShapeCombineMask(connection->get(), window, ShapeBounding, 0, 0, None, ShapeSet);
    } else {
        setShape(painted);
    }
    XShapeCombineMask(connection->get(), glass, ShapeBounding, 0, 0, None, ShapeSet);
    leaveOwnWindowsFree();
}

/// Of shapes that are set anew.
void X11OverlayWindow::leaveOwnWindowsFree() {
    if (recipe.level >= kAboveOwnWindows) return;
    std::vector<XRectangle> holes;
    for (const PixelRect& place : connection->ownWindowPlaces()) {
        const PixelRect hole = intersection(place, pixelFrame);
        if (hole.isEmpty()) continue;
        holes.push_back({static_cast<short>(hole.x - pixelFrame.x), static_cast<short>(hole.y - pixelFrame.y),
                         static_cast<unsigned short>(hole.width), static_cast<unsigned short>(hole.height)});
    }
    if (holes.empty()) return;
    for (const ::Window each : {window, glass})
        XShapeCombineRectangles(connection->get(), each, ShapeBounding, 0, 0, holes.data(),
                                static_cast<int>(holes.size()), ShapeSubtract, Unsorted);
}

void X11OverlayWindow::put(const std::vector<PixelRect>& rects) {
    if (pixels->put(window, context, rects)) isPutUnderWay = true;
}

void X11OverlayWindow::orderFront() {
    if (connection->isDead()) return;
    const bool isNew = !std::exchange(isOnScreen, true);
    connection->raiseAll();
    if (!connection->ownWindowPlaces().empty()) ownWindowsMoved();
    if (isNew) XMapWindow(connection->get(), window);
    showOrHideGlass();
    if (recipe.takesKeyboard) takeKeyboard();
    connection->settle();
}

void X11OverlayWindow::orderOut() {
    if (!isOnScreen) return;
    isOnScreen = false;
    if (connection->isDead()) return;
    giveKeyboardBack();
    showOrHideGlass();
    XUnmapWindow(connection->get(), window);
    isPutUnderWay = false;
    // Before anything else is asked of the server, so that a capture that begins next doesn't see it.
    XSync(connection->get(), False);
    connection->settle();
}

void X11OverlayWindow::takeKeyboard() {
    if (!isGlassOnScreen || hasKeyboardFocus) return;
    int revertTo = 0;
    XGetInputFocus(connection->get(), &focusBefore, &revertTo);
    XSetInputFocus(connection->get(), glass, RevertToPointerRoot, CurrentTime);
    hasKeyboardFocus = true;
}

/// Unless somebody else has it by now.
void X11OverlayWindow::giveKeyboardBack() {
    if (!std::exchange(hasKeyboardFocus, false) || !hasKeyboard()) return;
    XSetInputFocus(connection->get(), focusBefore, RevertToPointerRoot, CurrentTime);
}

bool X11OverlayWindow::hasKeyboard() const {
    if (connection->isDead()) return false;
    ::Window focused = 0;
    int revertTo = 0;
    XGetInputFocus(connection->get(), &focused, &revertTo);
    return focused == glass;
}

void X11OverlayWindow::raise() {
    if (!isOnScreen) return;
    XRaiseWindow(connection->get(), window);
    if (isGlassOnScreen) XRaiseWindow(connection->get(), glass);
}

OwnWindows::Window X11OverlayWindow::description() const {
    return {.number = windowNumber(),
            .frame = frame,
            .isVisible = isOnScreen,
            .isPanel = true,
            .isSelectionPanel = recipe.isSelectionPanel,
            .letsClicksThrough = ignoresMouseEvents};
}

void X11OverlayWindow::compositorChanged() {
    if (connection->isDead()) return;
    if (connection->isComposited()) {
        XShapeCombineMask(connection->get(), window, ShapeBounding, 0, 0, None, ShapeSet);
        leaveOwnWindowsFree();
    }
    makePixels();
    repaint(wanted);
    if (isOnScreen && pixels) put({grid().whole()});
    connection->settle();
}

void X11OverlayWindow::handle(const XEvent& event) {
    if (pixels && event.type == pixels->completionEvent()) {
        isPutUnderWay = false;
        if (isOnScreen) repaint(wanted);
        connection->settle();
        return;
    }
    switch (event.type) {
    case Expose:
        if (pixels && isOnScreen) {
            const XExposeEvent& exposed = event.xexpose;
            put({intersection({exposed.x, exposed.y, exposed.width, exposed.height}, grid().whole())});
        }
        return;
    case ButtonPress:
    case ButtonRelease:
    case MotionNotify:
        handlePointer(event);
        return;
    case EnterNotify: // the glass came up under the pointer
        if (!isDragging) input.mouseMoved(pointOf(event.xcrossing.x, event.xcrossing.y, false));
        return;
    case KeyPress: {
        XKeyEvent key = event.xkey;
        if (const auto code = keyCodeOf(key)) input.keyDown(*code); // it may destroy this
        return;
    }
    default:
        return;
    }
}

/// Each call may destroy this.
void X11OverlayWindow::handlePointer(const XEvent& event) {
    if (event.type == MotionNotify) {
        XEvent latest = event;
        for (XEvent next; XEventsQueued(connection->get(), QueuedAlready) > 0;) {
            XPeekEvent(connection->get(), &next);
            if (next.type != MotionNotify || next.xmotion.window != glass) break;
            XNextEvent(connection->get(), &latest);
        }
        const CGPoint at = pointOf(latest.xmotion.x, latest.xmotion.y, isDragging);
        if (isDragging) {
            input.mouseDragged(at);
        } else if ((latest.xmotion.state & (Button1Mask | Button2Mask | Button3Mask)) == 0) {
            input.mouseMoved(at);
        }
        return;
    }
    if (event.xbutton.button != Button1) return;
    if (event.type == ButtonPress) {
        isDragging = true;
        input.mouseDown(pointOf(event.xbutton.x, event.xbutton.y, false));
    } else if (std::exchange(isDragging, false)) {
        input.mouseUp();
    }
}

/// The pointer never reaches the line beyond the last pixel, so a drag to the last one means the edge.
CGPoint X11OverlayWindow::pointOf(int x, int y, bool isDragged) const {
    const auto edge = [isDragged](int at, int size) { return isDragged && at == size - 1 ? size : at; };
    return {edge(x, pixelFrame.width) / scale, (pixelFrame.height - edge(y, pixelFrame.height)) / scale};
}

} // namespace vintra
