#include "tools/moving-picture/FullScreenWindow.h"

namespace vintra {
namespace {

Window makeWindow(Display* display, int width, int height, unsigned long ground) {
    XSetWindowAttributes attributes{};
    attributes.background_pixel = ground;
    attributes.override_redirect = True;
    return XCreateWindow(display, DefaultRootWindow(display), 0, 0, static_cast<unsigned>(width),
                         static_cast<unsigned>(height), 0, CopyFromParent, InputOutput, CopyFromParent,
                         CWBackPixel | CWOverrideRedirect, &attributes);
}

} // namespace

FullScreenWindow::FullScreenWindow(Display* aDisplay, unsigned long ground)
    : display(aDisplay)
    , width(DisplayWidth(display, DefaultScreen(display)))
    , height(DisplayHeight(display, DefaultScreen(display)))
    , window(makeWindow(display, width, height, ground))
    , context(XCreateGC(display, window, 0, nullptr)) {
    XSetGraphicsExposures(display, context, False);
    XMapRaised(display, window);
    XSync(display, False);
}

FullScreenWindow::~FullScreenWindow() {
    XFreeGC(display, context);
    XDestroyWindow(display, window);
}

unsigned long FullScreenWindow::colour(Display* display, const char* name) {
    XColor shown{};
    XColor exact{};
    const Colormap map = DefaultColormap(display, DefaultScreen(display));
    return XAllocNamedColor(display, map, name, &shown, &exact) ? shown.pixel : 0;
}

} // namespace vintra
