#include "tests/app/qt/RepaintWatch.h"

#include <X11/Xlib.h>
#include <X11/extensions/Xdamage.h>

namespace vintra {

struct RepaintWatch::Connection {
    Display* display = XOpenDisplay(nullptr);
    int firstEvent = 0;
    Damage damage = 0;
};

RepaintWatch::RepaintWatch(uint64_t window)
    : connection(std::make_unique<Connection>()) {
    int firstError = 0;
    XDamageQueryExtension(connection->display, &connection->firstEvent, &firstError);
    connection->damage = XDamageCreate(connection->display, window, XDamageReportRawRectangles);
    // All of the window counts as new at first.
    XSync(connection->display, True);
}

RepaintWatch::~RepaintWatch() {
    XDamageDestroy(connection->display, connection->damage);
    XCloseDisplay(connection->display);
}

void RepaintWatch::look() {
    while (XPending(connection->display) > 0) {
        XEvent event;
        XNextEvent(connection->display, &event);
        if (event.type != connection->firstEvent + XDamageNotify) continue;
        const XRectangle& part = reinterpret_cast<const XDamageNotifyEvent&>(event).area;
        area |= QRect(part.x, part.y, part.width, part.height);
        ++repaints;
    }
}

} // namespace vintra
