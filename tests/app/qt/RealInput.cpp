#include "tests/app/qt/RealInput.h"

#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

namespace vintra {

struct RealInput::Connection {
    Display* display = XOpenDisplay(nullptr);

    void sendKey(KeySym symbol, bool isDown) const {
        XTestFakeKeyEvent(display, XKeysymToKeycode(display, symbol), isDown ? True : False, CurrentTime);
    }
};

RealInput::RealInput()
    : connection(std::make_unique<Connection>()) {}

RealInput::~RealInput() {
    XCloseDisplay(connection->display);
}

void RealInput::moveTo(QPoint place) {
    XTestFakeMotionEvent(connection->display, -1, place.x(), place.y(), CurrentTime);
    XSync(connection->display, False);
}

void RealInput::press() {
    XTestFakeButtonEvent(connection->display, 1, True, CurrentTime);
    XSync(connection->display, False);
}

void RealInput::release() {
    XTestFakeButtonEvent(connection->display, 1, False, CurrentTime);
    XSync(connection->display, False);
}

void RealInput::wheel(bool up) {
    const unsigned button = up ? Button4 : Button5;
    XTestFakeButtonEvent(connection->display, button, True, CurrentTime);
    XTestFakeButtonEvent(connection->display, button, False, CurrentTime);
    XSync(connection->display, False);
}

void RealInput::key(const std::string& name, bool control, bool shift) {
    const KeySym symbol = XStringToKeysym(name.c_str());
    if (control) connection->sendKey(XK_Control_L, true);
    if (shift) connection->sendKey(XK_Shift_L, true);
    connection->sendKey(symbol, true);
    connection->sendKey(symbol, false);
    if (shift) connection->sendKey(XK_Shift_L, false);
    if (control) connection->sendKey(XK_Control_L, false);
    XSync(connection->display, False);
}

void RealInput::type(const std::string& text) {
    for (const char letter : text) {
        if (letter == '_')
            key("underscore", false, true);
        else
            key(std::string(1, letter));
    }
}

} // namespace vintra
