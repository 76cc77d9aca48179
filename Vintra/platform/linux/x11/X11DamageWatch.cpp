#include "Vintra/platform/linux/x11/X11DamageWatch.h"

#include <X11/extensions/Xdamage.h>

namespace vintra {

X11DamageWatch::X11DamageWatch(X11Display& display, Drawable drawable) {
    ::Display* const connection = display.get();
    int eventBase = 0;
    int errorBase = 0;
    int major = 1;
    int minor = 1;
    const bool hasDamage = XDamageQueryExtension(connection, &eventBase, &errorBase) &&
                           XDamageQueryVersion(connection, &major, &minor);
    damageEvent = eventBase + XDamageNotify;
    // A server takes requests of XFixes only from who has asked for its version.
    int fixesMajor = 5;
    int fixesMinor = 0;
    const bool hasFixes = XFixesQueryExtension(connection, &eventBase, &errorBase) &&
                          XFixesQueryVersion(connection, &fixesMajor, &fixesMinor) && fixesMajor >= 2;
    if (!hasDamage || !hasFixes) {
        throw SystemError("x11", 3,
                          "This X server can't be recorded: it lacks the extensions DAMAGE and XFIXES, which "
                          "tell when the screen changes.");
    }
    display.clearErrors();
    damage = XDamageCreate(connection, drawable, XDamageReportNonEmpty);
    parts = XFixesCreateRegion(connection, nullptr, 0);
    if (display.failed()) {
        throw SystemError("x11", 3, "The X server refused to tell when the screen changes.");
    }
}

void X11DamageWatch::handle(const XEvent& event) {
    if (event.type != damageEvent || pending) return;
    pending = true;
    since = static_cast<uint32_t>(reinterpret_cast<const XDamageNotifyEvent&>(event).timestamp);
}

std::vector<PixelRect> X11DamageWatch::take(X11Display& display) {
    pending = false;
    XDamageSubtract(display.get(), damage, 0, parts);
    int count = 0;
    XRectangle* const rectangles = XFixesFetchRegion(display.get(), parts, &count);
    std::vector<PixelRect> rects;
    if (!rectangles) return rects;
    rects.reserve(static_cast<size_t>(count));
    for (int i = 0; i < count; ++i) {
        rects.push_back({rectangles[i].x, rectangles[i].y, rectangles[i].width, rectangles[i].height});
    }
    XFree(rectangles);
    return rects;
}

} // namespace vintra
