#include "Vintra/platform/linux/x11/X11Display.h"

#include "Vintra/platform/Mutex.h"
#include "Vintra/platform/linux/runtime/AllSignalsBlocked.h"

#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <system_error>
#include <thread>

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

/// A connection that is being made, shared with the thread that makes it: Xlib waits without end for a server
/// that takes connections and then says nothing.
struct Opening {
    Mutex mutex;
    std::condition_variable_any changed;
    ::Display* opened GUARDED_BY(mutex) = nullptr;
    bool isDone GUARDED_BY(mutex) = false;
    bool isAbandoned GUARDED_BY(mutex) = false;
};

::Display* openInTime(const std::string& name) {
    const auto opening = std::make_shared<Opening>();
    const AllSignalsBlocked inheritedByTheThread;
    try {
        std::thread([opening, name] {
            ::Display* const opened = XOpenDisplay(name.empty() ? nullptr : name.c_str());
            MutexLock lock(opening->mutex);
            if (opening->isAbandoned && opened) XCloseDisplay(opened);
            opening->opened = opened;
            opening->isDone = true;
            opening->changed.notify_all();
        }).detach();
    } catch (const std::system_error& error) {
        throw SystemError("posix", error.code().value(),
                          "The X display can't be opened: the system has no thread to spare.");
    }
    const auto limit = std::chrono::steady_clock::now() + std::chrono::nanoseconds(X11Display::kPatience);
    MutexLock lock(opening->mutex);
    while (!opening->isDone) {
        if (opening->changed.wait_until(lock, limit) == std::cv_status::timeout && !opening->isDone) {
            opening->isAbandoned = true;
            throw X11Display::noAnswer();
        }
    }
    return opening->opened;
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
    ::Display* const opened = openInTime(name);
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

SystemError X11Display::noAnswer() {
    return {"x11", 18,
            "The X server doesn't answer: the desktop hangs. Try again once it reacts, or log in again."};
}

SystemError X11Display::serverGone() {
    return {"x11", 2, "The X server has gone: the desktop session ended or its connection was cut."};
}

} // namespace vintra
