#include "Vintra/platform/linux/x11/X11Display.h"

#include "Vintra/platform/Mutex.h"

#include <map>
#include <mutex>

namespace vintra {
namespace {

/// Xlib's handlers belong to the process, and others in it may have connections of their own: this says which
/// are ours, and whom to ask about the rest.
struct Handlers {
    Mutex mutex;
    std::map<::Display*, X11Display*> connections GUARDED_BY(mutex);
    XErrorHandler otherErrors = nullptr;        // set before the first connection is made
    XIOErrorHandler otherLostServers = nullptr; // likewise
};

Handlers& handlers() {
    static Handlers* const instance = new Handlers; // a connection may be closed while the process ends
    return *instance;
}

X11Display* connectionOf(::Display* display) {
    MutexLock lock(handlers().mutex);
    const auto found = handlers().connections.find(display);
    return found == handlers().connections.end() ? nullptr : found->second;
}

SystemError noDisplay(const std::string& name) {
    const std::string shown = XDisplayName(name.empty() ? nullptr : name.c_str());
    if (shown.empty()) {
        return {
            "x11", 1,
            "No X display can be recorded: DISPLAY isn't set. Start from within a desktop session, or set "
            "DISPLAY to the display to record, such as :0."};
    }
    return {"x11", 1,
            "No X display can be recorded: the server of display \"" + shown +
                "\" can't be reached. Check that DISPLAY names a running X server that lets you in."};
}

} // namespace

int X11Display::handleError(::Display* display, XErrorEvent* event) {
    if (X11Display* const connection = connectionOf(display)) {
        connection->errorCode = event->error_code;
        return 0;
    }
    return handlers().otherErrors ? handlers().otherErrors(display, event) : 0;
}

int X11Display::handleLostServer(::Display* display) {
    if (connectionOf(display)) return 0;
    return handlers().otherLostServers ? handlers().otherLostServers(display) : 0;
}

X11Display::X11Display(::Display* opened)
    : display(opened) {
    {
        MutexLock lock(handlers().mutex);
        handlers().connections[display] = this;
    }
    // Without this the process would end with the server.
    XSetIOErrorExitHandler(
        display, [](::Display*, void* connection) { static_cast<X11Display*>(connection)->dead = true; },
        this);
}

std::unique_ptr<X11Display> X11Display::open(const std::string& name) {
    static std::once_flag once;
    std::call_once(once, [] {
        XInitThreads();
        handlers().otherErrors = XSetErrorHandler(&X11Display::handleError);
        handlers().otherLostServers = XSetIOErrorHandler(&X11Display::handleLostServer);
    });
    ::Display* const opened = XOpenDisplay(name.empty() ? nullptr : name.c_str());
    if (!opened) throw noDisplay(name);
    return std::unique_ptr<X11Display>(new X11Display(opened));
}

X11Display::~X11Display() {
    XCloseDisplay(display);
    MutexLock lock(handlers().mutex);
    // The address may already be another connection's.
    const auto found = handlers().connections.find(display);
    if (found != handlers().connections.end() && found->second == this) handlers().connections.erase(found);
}

bool X11Display::failed() {
    if (!dead) XSync(display, False);
    return hasError();
}

SystemError X11Display::serverGone() {
    return {"x11", 2, "The X server has gone: the desktop session ended or its connection was cut."};
}

} // namespace vintra
