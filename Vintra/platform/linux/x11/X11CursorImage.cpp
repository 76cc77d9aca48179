#include "Vintra/platform/linux/x11/X11CursorImage.h"

#include <X11/extensions/XInput2.h>
#include <X11/extensions/Xfixes.h>

#include <array>

namespace vintra {
namespace {

/// x/255 for x up to 255², rounded to nearest.
uint32_t dividedBy255(uint32_t x) {
    x += 128;
    return (x + (x >> 8)) >> 8;
}

/// Premultiplied `over` on an opaque pixel. The result's alpha byte is that of `below`.
uint32_t blended(uint32_t over, uint32_t below) {
    const uint32_t rest = 255 - (over >> 24);
    uint32_t result = below & 0xff000000u;
    for (unsigned shift = 0; shift < 24; shift += 8) {
        const uint32_t sum = ((over >> shift) & 0xff) + dividedBy255(((below >> shift) & 0xff) * rest);
        result |= (sum > 255 ? 255 : sum) << shift; // themes aren't always rightly premultiplied
    }
    return result;
}

} // namespace

void X11CursorImage::watch(X11Display& display) {
    ::Display* const connection = display.get();
    int eventBase = 0;
    int errorBase = 0;
    if (XFixesQueryExtension(connection, &eventBase, &errorBase)) {
        cursorEvent = eventBase + XFixesCursorNotify;
        XFixesSelectCursorInput(connection, display.root(), XFixesDisplayCursorNotifyMask);
    }
    int opcode = 0;
    if (!XQueryExtension(connection, "XInputExtension", &opcode, &eventBase, &errorBase)) return;
    int major = 2;
    int minor = 2;
    if (XIQueryVersion(connection, &major, &minor) != Success) return;
    inputExtension = opcode;
    // Raw motion is what hands do, wherever the pointer is; plain motion adds what programs do to it over
    // windows that don't take it themselves.
    std::array<unsigned char, XIMaskLen(XI_LASTEVENT)> bits{};
    XISetMask(bits.data(), XI_RawMotion);
    XISetMask(bits.data(), XI_Motion);
    XIEventMask mask{XIAllMasterDevices, static_cast<int>(bits.size()), bits.data()};
    XISelectEvents(connection, display.root(), &mask, 1);
}

void X11CursorImage::handle(const XEvent& event) {
    if (event.type == cursorEvent) {
        isCurrent = false;
    } else if (event.type == GenericEvent && event.xcookie.extension == inputExtension) {
        hasMoved = true;
    }
}

bool X11CursorImage::fetchImage(X11Display& display) {
    isCurrent = true;
    XFixesCursorImage* const fetched = XFixesGetCursorImage(display.get());
    if (!fetched) {
        const bool hadImage = serial != 0;
        serial = 0;
        image = {};
        pixels.clear();
        return hadImage;
    }
    const bool isOther = fetched->cursor_serial != serial;
    if (isOther) {
        serial = fetched->cursor_serial;
        image = {-fetched->xhot, -fetched->yhot, fetched->width, fetched->height};
        pixels.resize(static_cast<size_t>(image.area()));
        // The library hands 32 bits over in a long each.
        for (size_t i = 0; i < pixels.size(); ++i)
            pixels[i] = static_cast<uint32_t>(fetched->pixels[i]);
    }
    XFree(fetched);
    return isOther;
}

bool X11CursorImage::update(X11Display& display) {
    const PixelRect before = frame();
    hasMoved = false;
    const bool isOther = !isCurrent && fetchImage(display);
    ::Window rootUnderPointer = 0;
    int windowX = 0;
    int windowY = 0;
    unsigned buttons = 0;
    // False when the pointer is on another X screen, which this capture doesn't show.
    const bool isHere = XQueryPointer(display.get(), display.root(), &rootUnderPointer, &child, &pointerX,
                                      &pointerY, &windowX, &windowY, &buttons) != 0;
    if (!isHere) {
        pointerX = pointerY = -65'536;
        child = 0;
    }
    return isOther || !(frame() == before);
}

PixelRect X11CursorImage::frame() const {
    if (image.isEmpty()) return {};
    return {pointerX + image.x, pointerY + image.y, image.width, image.height};
}

void X11CursorImage::blend(const CVPixelBuffer::Plane& plane, const PixelRect& shown) const {
    const PixelRect whole = frame();
    const PixelRect visible =
        intersection(whole, intersection(shown, {shown.x, shown.y, static_cast<int>(plane.width),
                                                 static_cast<int>(plane.height)}));
    for (int y = visible.y; y < visible.bottom(); ++y) {
        const uint32_t* const over = pixels.data() + int64_t{y - whole.y} * whole.width - whole.x;
        auto* const row = reinterpret_cast<uint32_t*>(plane.baseAddress +
                                                      static_cast<size_t>(y - shown.y) * plane.bytesPerRow);
        for (int x = visible.x; x < visible.right(); ++x) {
            const uint32_t pixel = over[x];
            if (pixel != 0) row[x - shown.x] = blended(pixel, row[x - shown.x]);
        }
    }
}

} // namespace vintra
