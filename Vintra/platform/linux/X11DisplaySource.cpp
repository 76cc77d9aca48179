#include "Vintra/platform/linux/X11DisplaySource.h"

#include "Vintra/platform/linux/X11Monitors.h"

#include <X11/Xutil.h>
#include <X11/extensions/Xrandr.h>

#include <cmath>

namespace vintra {
namespace {

void requireReadablePixels(::Display* connection) {
    const Visual* const visual = DefaultVisual(connection, DefaultScreen(connection));
    const int depth = DefaultDepth(connection, DefaultScreen(connection));
    int bitsPerPixel = 0;
    int count = 0;
    if (XPixmapFormatValues* const formats = XListPixmapFormats(connection, &count)) {
        for (int i = 0; i < count; ++i) {
            if (formats[i].depth == depth) bitsPerPixel = formats[i].bits_per_pixel;
        }
        XFree(formats);
    }
    const bool isReadable = visual->c_class == TrueColor && visual->red_mask == 0xff0000 &&
                            visual->green_mask == 0xff00 && visual->blue_mask == 0xff && bitsPerPixel == 32 &&
                            ImageByteOrder(connection) == LSBFirst;
    if (isReadable) return;
    throw SystemError("x11", 4,
                      "This X display can't be recorded: its pixels have " + std::to_string(depth) +
                          " bits. Set the display to 24-bit colour.");
}

/// The pixels of `part`, in points of a display that has `frame` on the root window.
PixelRect pixelsOf(const CGRect& part, const PixelRect& frame, double scale) {
    const auto pixels = [scale](double points) { return static_cast<int>(std::lround(points * scale)); };
    return intersection({frame.x + pixels(part.origin.x), frame.y + pixels(part.origin.y),
                         pixels(part.size.width), pixels(part.size.height)},
                        frame);
}

} // namespace

X11DisplaySource::X11DisplaySource(X11Display& display, const SCDisplay& captured,
                                   std::optional<CGRect> aSourceRect)
    : displayID(captured.displayID)
    , sourceRect(aSourceRect)
    , root(display.root())
    , depth_(DefaultDepth(display.get(), DefaultScreen(display.get()))) {
    requireReadablePixels(display.get());
    int errorBase = 0;
    if (XRRQueryExtension(display.get(), &randrEvents, &errorBase)) {
        XRRSelectInput(display.get(), root,
                       RRScreenChangeNotifyMask | RRCrtcChangeNotifyMask | RROutputChangeNotifyMask);
    } else {
        randrEvents = -1;
    }
    XSelectInput(display.get(), root, StructureNotifyMask);
    if (const auto error = update(display)) throw SystemError(*error);
}

void X11DisplaySource::handle(XEvent& event) {
    const bool isOfRandR = randrEvents >= 0 && (event.type == randrEvents + RRScreenChangeNotify ||
                                                event.type == randrEvents + RRNotify);
    const bool isOfRoot = event.type == ConfigureNotify && event.xconfigure.window == root;
    if (!isOfRandR && !isOfRoot) return;
    XRRUpdateConfiguration(&event);
    outOfDate = true;
}

std::optional<SystemError> X11DisplaySource::update(X11Display& display) {
    outOfDate = true;
    const auto monitor = findMonitor(display, displayID);
    if (display.isDead()) return X11Display::serverGone();
    if (!monitor) {
        return SystemError("x11", 5, "The display to record isn't there: it was unplugged or switched off.");
    }
    area_ = sourceRect ? pixelsOf(*sourceRect, monitor->frame, readScale(display)) : monitor->frame;
    if (area_.isEmpty()) {
        return SystemError("x11", 6, "The area to record lies outside of its display.");
    }
    outOfDate = false;
    return std::nullopt;
}

} // namespace vintra
