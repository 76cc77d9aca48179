#include "tools/moving-picture/ContentWindow.h"

#include <X11/Xutil.h>

namespace vintra {
namespace {

Window makeWindow(Display* display, const ContentWindow::Place& place, unsigned long ground,
                  bool isOrdinary) {
    XSetWindowAttributes attributes{};
    attributes.background_pixel = ground;
    attributes.override_redirect = isOrdinary ? False : True;
    const Window window = XCreateWindow(display, DefaultRootWindow(display), place.x, place.y,
                                        static_cast<unsigned>(place.width),
                                        static_cast<unsigned>(place.height), 0, CopyFromParent, InputOutput,
                                        CopyFromParent, CWBackPixel | CWOverrideRedirect, &attributes);
    XStoreName(display, window, "moving-picture");
    return window;
}

ContentWindow::Place wholeScreen(Display* display) {
    const int screen = DefaultScreen(display);
    return {0, 0, DisplayWidth(display, screen), DisplayHeight(display, screen)};
}

} // namespace

ContentWindow::ContentWindow(Display* display, unsigned long ground, const std::optional<Place>& place)
    : display(display)
    , width(place.value_or(wholeScreen(display)).width)
    , height(place.value_or(wholeScreen(display)).height)
    , window(makeWindow(display, place.value_or(wholeScreen(display)), ground, place.has_value()))
    , context(XCreateGC(display, window, 0, nullptr)) {
    XSetGraphicsExposures(display, context, False);
    XMapRaised(display, window);
    XSync(display, False);
}

ContentWindow::~ContentWindow() {
    XFreeGC(display, context);
    XDestroyWindow(display, window);
}

unsigned long ContentWindow::colour(Display* display, const char* name) {
    XColor shown{};
    XColor exact{};
    const Colormap map = DefaultColormap(display, DefaultScreen(display));
    return XAllocNamedColor(display, map, name, &shown, &exact) ? shown.pixel : 0;
}

} // namespace vintra
