#include "tests/platform/linux/x11/X11TestWindow.h"

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>

#include <stdexcept>

namespace vintra {

X11TestWindow::X11TestWindow(const std::string& displayName, const Settings& settings)
    : display(XOpenDisplay(displayName.c_str())) {
    if (!display) throw std::runtime_error("no X server at " + displayName);
    const int screen = DefaultScreen(display);
    const ::Window root = DefaultRootWindow(display);
    XVisualInfo format{};
    const int depth = settings.isOfDisplay ? DefaultDepth(display, screen) : settings.hasAlpha ? 32 : 24;
    if (!XMatchVisualInfo(display, screen, depth, TrueColor, &format)) {
        throw std::runtime_error("no such pixels");
    }
    XSetWindowAttributes attributes{};
    attributes.background_pixel = settings.ground;
    attributes.border_pixel = 0xff00ff;
    attributes.override_redirect = settings.isUnmanaged ? True : False;
    attributes.colormap = XCreateColormap(display, root, format.visual, AllocNone);
    const auto width = static_cast<unsigned>(settings.width);
    const auto height = static_cast<unsigned>(settings.height);
    if (settings.hasFrame) {
        frame = XCreateSimpleWindow(display, root, settings.x, settings.y, width + 2 * kFrameLeft,
                                    height + kFrameTop + kFrameLeft, 1, 0, 0x909090);
        XMapWindow(display, frame);
    }
    if (settings.isInputOnly) {
        window = XCreateWindow(display, root, settings.x, settings.y, width, height, 0, 0, InputOnly, nullptr,
                               0, &attributes);
    } else {
        window =
            XCreateWindow(display, frame != 0 ? frame : root, frame != 0 ? kFrameLeft : settings.x,
                          frame != 0 ? kFrameTop : settings.y, width, height,
                          static_cast<unsigned>(settings.border), format.depth, InputOutput, format.visual,
                          CWBackPixel | CWBorderPixel | CWColormap | CWOverrideRedirect, &attributes);
    }
    if (!settings.type.empty()) {
        const Atom type = XInternAtom(display, ("_NET_WM_WINDOW_TYPE_" + settings.type).c_str(), False);
        XChangeProperty(display, window, XInternAtom(display, "_NET_WM_WINDOW_TYPE", False), XA_ATOM, 32,
                        PropModeReplace, reinterpret_cast<const unsigned char*>(&type), 1);
    }
    XMapWindow(display, window);
    XSync(display, False);
}

X11TestWindow::~X11TestWindow() {
    XCloseDisplay(display);
}

void X11TestWindow::fill(int x, int y, int width, int height, uint32_t colour) {
    const GC context = XCreateGC(display, window, 0, nullptr);
    XSetForeground(display, context, colour);
    XFillRectangle(display, window, context, x, y, static_cast<unsigned>(width),
                   static_cast<unsigned>(height));
    XFreeGC(display, context);
    XSync(display, False);
}

void X11TestWindow::move(int x, int y) {
    XMoveWindow(display, outermost(), x, y);
    XSync(display, False);
}

void X11TestWindow::resize(int width, int height) {
    XResizeWindow(display, window, static_cast<unsigned>(width), static_cast<unsigned>(height));
    XSync(display, False);
}

void X11TestWindow::setShadow(long left, long right, long top, long bottom) {
    const long extents[] = {left, right, top, bottom};
    XChangeProperty(display, window, XInternAtom(display, "_GTK_FRAME_EXTENTS", False), XA_CARDINAL, 32,
                    PropModeReplace, reinterpret_cast<const unsigned char*>(extents), 4);
    XSync(display, False);
}

void X11TestWindow::raise() {
    XRaiseWindow(display, outermost());
    XSync(display, False);
}

void X11TestWindow::hide() {
    XUnmapWindow(display, outermost());
    XSync(display, False);
}

void X11TestWindow::show() {
    XMapWindow(display, outermost());
    XSync(display, False);
}

void X11TestWindow::close() {
    XDestroyWindow(display, window);
    XSync(display, False);
}

} // namespace vintra
