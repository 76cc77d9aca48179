#include "Vintra/platform/linux/x11/X11WindowSource.h"

#include "Vintra/platform/linux/x11/X11Windows.h"

#include <X11/extensions/Xcomposite.h>

#include <algorithm>

namespace vintra {
namespace {

void requireComposite(X11Display& display) {
    int eventBase = 0;
    int errorBase = 0;
    int major = 0;
    int minor = 4;
    const bool isThere = XCompositeQueryExtension(display.get(), &eventBase, &errorBase) &&
                         XCompositeQueryVersion(display.get(), &major, &minor) && (major > 0 || minor >= 2);
    if (isThere) return;
    if (display.isDead()) throw X11Display::serverGone();
    throw SystemError("x11", 12,
                      "A single window can't be recorded on this X server: it lacks the extension Composite. "
                      "Turn that on in the server's configuration, or record the display or a region of it.");
}

SystemError windowClosed() {
    return {"x11", 13, "The window to record isn't there: it was closed."};
}

} // namespace

X11WindowSource::X11WindowSource(X11Display& display, uint32_t windowID)
    : window(windowID)
    , shadowProperty(XInternAtom(display.get(), kShadowProperty, False)) {
    requireComposite(display);
    display.clearErrors();
    XSelectInput(display.get(), window, StructureNotifyMask | PropertyChangeMask);
    XWindowAttributes attributes{};
    if (!XGetWindowAttributes(display.get(), window, &attributes) || display.hasError()) {
        throw display.isDead() ? X11Display::serverGone() : windowClosed();
    }
    if (attributes.map_state != IsViewable) {
        throw SystemError(
            "x11", 14,
            "The window to record isn't shown: it is minimised or hidden. Bring it up, and start again.");
    }
    std::optional<X11PixelFormat> format;
    if (attributes.c_class == InputOutput)
        format = pixelFormatOf(display, *attributes.visual, attributes.depth);
    if (!format) {
        throw SystemError("x11", 15,
                          "This window can't be recorded: its pixels aren't red, green and blue. Record the "
                          "display, or a region of it.");
    }
    place_.format = *format;
    XCompositeRedirectWindow(display.get(), window, CompositeRedirectAutomatic);
    if (display.failed()) {
        if (display.isDead()) throw X11Display::serverGone();
        throw SystemError("x11", 16,
                          "This window can't be recorded by itself: the X server refused to keep it apart. "
                          "Record the display, or a region of it.");
    }
    const auto outcome = update(display);
    if (const auto* error = std::get_if<SystemError>(&outcome)) throw SystemError(*error);
}

bool X11WindowSource::isPointedAt(::Window childOfRoot) const {
    return childOfRoot == (ancestors.empty() ? window : ancestors.back());
}

bool X11WindowSource::isInChain(::Window candidate) const {
    return candidate == window || std::find(ancestors.begin(), ancestors.end(), candidate) != ancestors.end();
}

void X11WindowSource::handle(XEvent& event) {
    if (!isInChain(event.xany.window)) return;
    switch (event.type) {
    case DestroyNotify:
        if (event.xdestroywindow.window == window) isClosed = true;
        isChainOld = true;
        break;
    case ReparentNotify:
        isChainOld = true;
        isPixmapOld = true;
        break;
    case MapNotify:
    case UnmapNotify:
        isPixmapOld = true;
        break;
    case ConfigureNotify:
        if (event.xconfigure.window == window) {
            const int border = 2 * event.xconfigure.border_width;
            isPixmapOld = isPixmapOld || event.xconfigure.width + border != pixmapWidth ||
                          event.xconfigure.height + border != pixmapHeight;
        }
        break;
    case PropertyNotify:
        if (event.xproperty.window != window || event.xproperty.atom != shadowProperty) return;
        isPixmapOld = true;
        break;
    case GravityNotify:
        break;
    default:
        return;
    }
    outOfDate = true;
}

/// The events of the windows around this one tell when it moves or vanishes with them.
void X11WindowSource::watchChain(X11Display& display) {
    ancestors.clear();
    for (::Window inner = window;;) {
        ::Window root = 0;
        ::Window parent = 0;
        ::Window* children = nullptr;
        unsigned count = 0;
        if (!XQueryTree(display.get(), inner, &root, &parent, &children, &count)) break;
        if (children) XFree(children);
        if (parent == 0 || parent == root) break;
        XSelectInput(display.get(), parent, StructureNotifyMask);
        ancestors.push_back(parent);
        inner = parent;
    }
    isChainOld = false;
}

/// False if the window has just been hidden, which an event is about to tell.
bool X11WindowSource::namePixmap(X11Display& display, int border) {
    display.clearErrors();
    const Pixmap pixmap = XCompositeNameWindowPixmap(display.get(), window);
    ::Window root = 0;
    int x = 0;
    int y = 0;
    unsigned width = 0;
    unsigned height = 0;
    unsigned unused = 0;
    unsigned depth = 0;
    if (!XGetGeometry(display.get(), pixmap, &root, &x, &y, &width, &height, &unused, &depth) ||
        display.hasError()) {
        return false;
    }
    if (place_.drawable != 0) XFreePixmap(display.get(), place_.drawable);
    place_.drawable = pixmap;
    pixmapWidth = static_cast<int>(width);
    pixmapHeight = static_cast<int>(height);
    const PixelRect whole{0, 0, std::max(pixmapWidth - 2 * border, 1),
                          std::max(pixmapHeight - 2 * border, 1)};
    place_.watched = evenSized(withoutShadow(display, window, whole));
    place_.x = border + place_.watched.x;
    place_.y = border + place_.watched.y;
    isPixmapOld = false;
    return true;
}

std::variant<X11PictureSource::Update, SystemError> X11WindowSource::update(X11Display& display) {
    outOfDate = true;
    display.clearErrors();
    XWindowAttributes attributes{};
    const bool isThere = !isClosed && XGetWindowAttributes(display.get(), window, &attributes) != 0;
    if (display.isDead()) return X11Display::serverGone();
    if (!isThere) return windowClosed();
    // Events that come in the meantime make it out of date again.
    if (isChainOld) watchChain(display);
    const bool wasShown = isShown_;
    const bool wasOld = isPixmapOld;
    isShown_ = attributes.map_state == IsViewable;
    if (isShown_ && isPixmapOld) isShown_ = namePixmap(display, attributes.border_width);
    ::Window child = 0;
    int x = 0;
    int y = 0;
    if (XTranslateCoordinates(display.get(), window, display.root(), 0, 0, &x, &y, &child)) {
        place_.onRoot.x = x + place_.watched.x;
        place_.onRoot.y = y + place_.watched.y;
    }
    // Of the picture's size also where the window has gone since its pixmap was named.
    place_.onRoot.width = place_.watched.width;
    place_.onRoot.height = place_.watched.height;
    if (display.isDead()) return X11Display::serverGone();
    outOfDate = false;
    return isShown_ && (wasOld || !wasShown) ? Update::renewed : Update::moved;
}

} // namespace vintra
