#include "tests/platform/linux/x11/X11Painter.h"

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/cursorfont.h>
#include <X11/extensions/XTest.h>
#include <X11/extensions/Xfixes.h>
#include <X11/extensions/Xrender.h>

#include <stdexcept>

namespace vintra {

X11Painter::X11Painter(const std::string& displayName)
    : display(XOpenDisplay(displayName.c_str())) {
    if (!display) throw std::runtime_error("no X server at " + displayName);
    // A test may take the server away; the handler that is there by itself would end the process.
    XSetIOErrorHandler([](::Display*) { return 0; });
    XSetIOErrorExitHandler(
        display, [](::Display*, void*) {}, nullptr);
}

X11Painter::~X11Painter() {
    XCloseDisplay(display);
}

void X11Painter::fill(int x, int y, int width, int height, uint32_t colour) {
    const GC context = DefaultGC(display, DefaultScreen(display));
    XSetForeground(display, context, colour);
    XFillRectangle(display, DefaultRootWindow(display), context, x, y, static_cast<unsigned>(width),
                   static_cast<unsigned>(height));
    XSync(display, False);
}

void X11Painter::draw(int width, int height, const std::vector<uint32_t>& pixels) {
    const int screen = DefaultScreen(display);
    std::vector<uint32_t> copy = pixels;
    XImage* const image = XCreateImage(display, DefaultVisual(display, screen),
                                       static_cast<unsigned>(DefaultDepth(display, screen)), ZPixmap, 0,
                                       reinterpret_cast<char*>(copy.data()), static_cast<unsigned>(width),
                                       static_cast<unsigned>(height), 32, 0);
    XPutImage(display, DefaultRootWindow(display), DefaultGC(display, screen), image, 0, 0, 0, 0,
              static_cast<unsigned>(width), static_cast<unsigned>(height));
    image->data = nullptr; // the vector's
    XDestroyImage(image);
    XSync(display, False);
}

void X11Painter::movePointer(int x, int y) {
    XTestFakeMotionEvent(display, -1, x, y, CurrentTime);
    XSync(display, False);
}

void X11Painter::setSquarePointer(unsigned size, uint32_t colour) {
    const Pixmap pixmap = XCreatePixmap(display, DefaultRootWindow(display), size, size, 32);
    const Picture picture = XRenderCreatePicture(
        display, pixmap, XRenderFindStandardFormat(display, PictStandardARGB32), 0, nullptr);
    const auto channel = [colour](unsigned shift) {
        return static_cast<unsigned short>(((colour >> shift) & 0xff) * 0x101);
    };
    const XRenderColor filling{channel(16), channel(8), channel(0), channel(24)};
    XRenderFillRectangle(display, PictOpSrc, picture, &filling, 0, 0, size, size);
    const Cursor cursor = XRenderCreateCursor(display, picture, 0, 0);
    XDefineCursor(display, DefaultRootWindow(display), cursor);
    XFreeCursor(display, cursor);
    XRenderFreePicture(display, picture);
    XFreePixmap(display, pixmap);
    XSync(display, False);
}

void X11Painter::setArrowPointer() {
    const Cursor cursor = XCreateFontCursor(display, XC_left_ptr);
    XDefineCursor(display, DefaultRootWindow(display), cursor);
    XFreeCursor(display, cursor);
    XSync(display, False);
}

X11Painter::PointerPicture X11Painter::pointerPicture() {
    int major = 5;
    int minor = 0;
    XFixesQueryVersion(display, &major, &minor);
    PointerPicture result;
    XFixesCursorImage* const image = XFixesGetCursorImage(display);
    if (!image) return result;
    result = {image->x - image->xhot, image->y - image->yhot, image->width, image->height, {}};
    for (int i = 0; i < result.width * result.height; ++i) {
        result.pixels.push_back(static_cast<uint32_t>(image->pixels[i]));
    }
    XFree(image);
    return result;
}

std::vector<uint32_t> X11Painter::pixels(int x, int y, int width, int height) {
    std::vector<uint32_t> result;
    XImage* const image = XGetImage(display, DefaultRootWindow(display), x, y, static_cast<unsigned>(width),
                                    static_cast<unsigned>(height), AllPlanes, ZPixmap);
    if (!image) return result;
    for (int row = 0; row < height; ++row) {
        for (int column = 0; column < width; ++column)
            result.push_back(static_cast<uint32_t>(XGetPixel(image, column, row)) & 0xffffff);
    }
    XDestroyImage(image);
    return result;
}

unsigned long X11Painter::openWindow(int x, int y, int width, int height, const std::string& title,
                                     int processID) {
    const ::Window window =
        XCreateSimpleWindow(display, DefaultRootWindow(display), x, y, static_cast<unsigned>(width),
                            static_cast<unsigned>(height), 0, 0, 0x336699);
    const Atom utf8 = XInternAtom(display, "UTF8_STRING", False);
    XChangeProperty(display, window, XInternAtom(display, "_NET_WM_NAME", False), utf8, 8, PropModeReplace,
                    reinterpret_cast<const unsigned char*>(title.data()), static_cast<int>(title.size()));
    const long process = processID;
    XChangeProperty(display, window, XInternAtom(display, "_NET_WM_PID", False), XA_CARDINAL, 32,
                    PropModeReplace, reinterpret_cast<const unsigned char*>(&process), 1);
    std::string name = "painter";
    XClassHint hint{name.data(), name.data()};
    XSetClassHint(display, window, &hint);
    XMapWindow(display, window);
    XSync(display, False);
    return window;
}

void X11Painter::moveWindow(unsigned long window, int x, int y) {
    XMoveWindow(display, window, x, y);
    XSync(display, False);
}

void X11Painter::closeWindow(unsigned long window) {
    XDestroyWindow(display, window);
    XSync(display, False);
}

void X11Painter::setManagedWindows(const std::vector<unsigned long>& windows) {
    XChangeProperty(display, DefaultRootWindow(display),
                    XInternAtom(display, "_NET_CLIENT_LIST_STACKING", False), XA_WINDOW, 32, PropModeReplace,
                    reinterpret_cast<const unsigned char*>(windows.data()), static_cast<int>(windows.size()));
    XSync(display, False);
}

void X11Painter::setResources(const std::string& text) {
    XChangeProperty(display, DefaultRootWindow(display), XA_RESOURCE_MANAGER, XA_STRING, 8, PropModeReplace,
                    reinterpret_cast<const unsigned char*>(text.data()), static_cast<int>(text.size()));
    XSync(display, False);
}

} // namespace vintra
