#include "tests/platform/linux/overlays/X11Hand.h"

#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>

#include <stdexcept>

namespace vintra {
namespace {

/// A connection that may outlive its server.
Display* connectHand(const std::string& displayName) {
    Display* const display = XOpenDisplay(displayName.c_str());
    if (!display) throw std::runtime_error("no X server at " + displayName);
    XSetIOErrorExitHandler(
        display, [](Display*, void*) {}, nullptr);
    return display;
}

} // namespace

X11Hand::X11Hand(const std::string& displayName)
    : display(connectHand(displayName)) {}

X11Hand::~X11Hand() {
    XCloseDisplay(display);
}

void X11Hand::move(int x, int y) {
    XTestFakeMotionEvent(display, -1, x, y, CurrentTime);
    XSync(display, False);
}

void X11Hand::press(unsigned button) {
    XTestFakeButtonEvent(display, button, True, CurrentTime);
    XSync(display, False);
}

void X11Hand::release(unsigned button) {
    XTestFakeButtonEvent(display, button, False, CurrentTime);
    XSync(display, False);
}

void X11Hand::click(int x, int y, unsigned button) {
    move(x, y);
    press(button);
    release(button);
}

void X11Hand::drag(int fromX, int fromY, int toX, int toY) {
    constexpr int kSteps = 5;
    move(fromX, fromY);
    press();
    for (int step = 1; step <= kSteps; ++step)
        move(fromX + (toX - fromX) * step / kSteps, fromY + (toY - fromY) * step / kSteps);
    release();
}

void X11Hand::type(const std::string& key) {
    const KeyCode code = XKeysymToKeycode(display, XStringToKeysym(key.c_str()));
    if (code == 0) throw std::runtime_error("the keyboard has no key " + key);
    XTestFakeKeyEvent(display, code, True, CurrentTime);
    XTestFakeKeyEvent(display, code, False, CurrentTime);
    XSync(display, False);
}

unsigned long X11Hand::focus() const {
    ::Window window = 0;
    int revertTo = 0;
    XGetInputFocus(display, &window, &revertTo);
    return window;
}

void X11Hand::setFocus(unsigned long window) {
    XSetInputFocus(display, window, RevertToPointerRoot, CurrentTime);
    XSync(display, False);
}

bool X11Hand::isComposited() const {
    return XGetSelectionOwner(display, XInternAtom(display, "_NET_WM_CM_S0", False)) != 0;
}

X11ClickedWindow::X11ClickedWindow(const std::string& displayName, int x, int y, int width, int height,
                                   unsigned long ground)
    : display(connectHand(displayName)) {
    window = XCreateSimpleWindow(display, DefaultRootWindow(display), x, y, static_cast<unsigned>(width),
                                 static_cast<unsigned>(height), 0, 0, ground);
    XSelectInput(display, window, ButtonPressMask | KeyPressMask);
    XMapWindow(display, window);
    XSync(display, False);
}

X11ClickedWindow::~X11ClickedWindow() {
    XCloseDisplay(display);
}

void X11ClickedWindow::read() {
    XSync(display, False);
    while (XPending(display) > 0) {
        XEvent event;
        XNextEvent(display, &event);
        if (event.type == KeyPress) ++typed;
        if (event.type != ButtonPress) continue;
        clicked.push_back({event.xbutton.x_root, event.xbutton.y_root, event.xbutton.button});
    }
}

const std::vector<X11ClickedWindow::Click>& X11ClickedWindow::clicks() {
    read();
    return clicked;
}

int X11ClickedWindow::keys() {
    read();
    return typed;
}

void X11ClickedWindow::move(int x, int y) {
    XMoveWindow(display, window, x, y);
    XSync(display, False);
}

void X11ClickedWindow::raise() {
    XRaiseWindow(display, window);
    XSync(display, False);
}

} // namespace vintra
