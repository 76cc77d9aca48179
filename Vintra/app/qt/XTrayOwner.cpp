#include "Vintra/app/qt/XTrayOwner.h"

#include <QGuiApplication>
#include <string>

// Last: its macros are words of Qt's.
#include <X11/Xlib.h>

namespace vintra {
namespace {

Display* display() {
    const auto* const application = qApp->nativeInterface<QNativeInterface::QX11Application>();
    return application ? application->display() : nullptr;
}

} // namespace

bool canHaveXTray() {
    return display() != nullptr;
}

bool isXTrayThere() {
    Display* const server = display();
    if (!server) return false;
    const std::string name = "_NET_SYSTEM_TRAY_S" + std::to_string(DefaultScreen(server));
    const Atom selection = XInternAtom(server, name.c_str(), 0);
    return XGetSelectionOwner(server, selection) != 0;
}

} // namespace vintra
