#include "tests/app/qt/XTrayDouble.h"

#include <X11/Xlib.h>

namespace vintra {

struct XTrayDouble::Connection {
    Display* display = XOpenDisplay(nullptr);
};

XTrayDouble::XTrayDouble()
    : connection(std::make_unique<Connection>()) {
    Display* const display = connection->display;
    const Window window = XCreateSimpleWindow(display, DefaultRootWindow(display), 0, 0, 1, 1, 0, 0, 0);
    XSetSelectionOwner(display, XInternAtom(display, "_NET_SYSTEM_TRAY_S0", False), window, CurrentTime);
    XSync(display, False);
}

/// Its window goes with the connection, and the selection with the window.
XTrayDouble::~XTrayDouble() {
    XCloseDisplay(connection->display);
}

} // namespace vintra
