#include "Vintra/platform/linux/x11/X11DisplaySource.h"

#include "Vintra/platform/linux/x11/X11Monitors.h"

#include <X11/extensions/Xrandr.h>

#include <algorithm>

namespace vintra {
namespace {

X11PixelFormat requirePixelFormat(X11Display& display) {
    const int screen = DefaultScreen(display.get());
    const int depth = DefaultDepth(display.get(), screen);
    const auto format = pixelFormatOf(display, *DefaultVisual(display.get(), screen), depth);
    if (format) return *format;
    throw SystemError(
        "x11", 4,
        "This X display can't be recorded: its pixels have " + std::to_string(depth) +
            " bits, which aren't red, green and blue in this machine's order. Set the display to 24-bit "
            "colour.");
}

/// The pixels of `part`, in points of a display that has `frame` on the root window. What rounding, or a
/// display that has become smaller, pushes over an edge is moved back, so that the size stays.
PixelRect pixelsOf(const CGRect& part, const PixelRect& frame, double scale) {
    const int width = nearestPixel(part.size.width, scale);
    const int height = nearestPixel(part.size.height, scale);
    const int x = nearestPixel(part.origin.x, scale);
    const int y = nearestPixel(part.origin.y, scale);
    if (intersection({x, y, width, height}, {0, 0, frame.width, frame.height}).isEmpty()) return {};
    const int left = std::max(std::min(x, frame.width - width), 0);
    const int top = std::max(std::min(y, frame.height - height), 0);
    return intersection({frame.x + left, frame.y + top, width, height}, frame);
}

} // namespace

X11DisplaySource::X11DisplaySource(X11Display& display, const SCDisplay& captured,
                                   std::optional<CGRect> sourceRect)
    : displayID(captured.displayID)
    , sourceRect(sourceRect)
    , scale(readScale(display))
    , root(display.root()) {
    place_.format = requirePixelFormat(display);
    int errorBase = 0;
    if (XRRQueryExtension(display.get(), &randrEvents, &errorBase)) {
        XRRSelectInput(display.get(), root,
                       RRScreenChangeNotifyMask | RRCrtcChangeNotifyMask | RROutputChangeNotifyMask);
    } else {
        randrEvents = -1;
    }
    XSelectInput(display.get(), root, StructureNotifyMask);
    place_.drawable = root;
    const auto outcome = update(display);
    if (const auto* error = std::get_if<SystemError>(&outcome)) throw SystemError(*error);
}

void X11DisplaySource::handle(XEvent& event) {
    const bool isOfRandR = randrEvents >= 0 && (event.type == randrEvents + RRScreenChangeNotify ||
                                                event.type == randrEvents + RRNotify);
    const bool isOfRoot = event.type == ConfigureNotify && event.xconfigure.window == root;
    if (!isOfRandR && !isOfRoot) return;
    XRRUpdateConfiguration(&event);
    outOfDate = true;
}

std::variant<X11PictureSource::Update, SystemError> X11DisplaySource::update(X11Display& display) {
    outOfDate = true;
    const auto monitor = findMonitor(display, displayID);
    if (display.isDead()) return X11Display::serverGone();
    if (!monitor) {
        return SystemError("x11", 5, "The display to record isn't there: it was unplugged or switched off.");
    }
    const PixelRect before = place_.onRoot;
    const PixelRect area =
        evenSized(sourceRect ? pixelsOf(*sourceRect, monitor->frame, scale) : monitor->frame);
    if (area.isEmpty()) return SystemError("x11", 6, "The area to record lies outside of its display.");
    place_.x = area.x;
    place_.y = area.y;
    place_.watched = place_.onRoot = area;
    outOfDate = false;
    return area == before ? Update::moved : Update::renewed;
}

} // namespace vintra
