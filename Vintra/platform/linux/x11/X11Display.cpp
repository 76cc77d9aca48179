#include "Vintra/platform/linux/x11/X11Display.h"

#include "Vintra/platform/Mutex.h"
#include "Vintra/platform/linux/runtime/FileDescriptor.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <fcntl.h>
#include <map>
#include <mutex>
#include <optional>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

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

bool isOutOfDescriptors() {
    const FileDescriptor probe(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    return !probe.isOpen() && (errno == EMFILE || errno == ENFILE);
}

SystemError noDisplay(const std::string& name) {
    if (isOutOfDescriptors())
        return {
            "x11", 18,
            "The screen can't be recorded: too many files are open. Close other programs, then record again."};
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

/// The number of a display on this machine; nothing if the name is another kind of it.
std::optional<std::string> localDisplayNumber(const std::string& name) {
    const std::string full = XDisplayName(name.empty() ? nullptr : name.c_str());
    const size_t colon = full.rfind(':');
    if (colon == std::string::npos || (colon != 0 && full.substr(0, colon) != "unix")) return std::nullopt;
    std::string number = full.substr(colon + 1);
    number.resize(std::min(number.find('.'), number.size()));
    const bool isNumber = !number.empty() && number.find_first_not_of("0123456789") == std::string::npos;
    return isNumber ? std::optional(number) : std::nullopt;
}

FileDescriptor connectTo(const std::string& number, bool isAbstract) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string path = "/tmp/.X11-unix/X" + number;
    const size_t offset = isAbstract ? 1 : 0;
    if (offset + path.size() >= sizeof address.sun_path) return {};
    path.copy(address.sun_path + offset, path.size());
    const auto size =
        static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + offset + path.size() + (isAbstract ? 0 : 1));
    // A server that takes no more connections doesn't hold this up either.
    FileDescriptor descriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!descriptor.isOpen() || ::connect(descriptor.get(), reinterpret_cast<sockaddr*>(&address), size) != 0)
        return {};
    return descriptor;
}

/// Whether a server that takes connections also says something. Xlib would wait for it without end, and gives
/// nothing to break that off by; so it is asked before, with a greeting that it may refuse. True where that
/// can't be found out.
bool answersInTime(const std::string& name) {
    const auto number = localDisplayNumber(name);
    if (!number) return true;
    FileDescriptor connection = connectTo(*number, true);
    if (!connection.isOpen()) connection = connectTo(*number, false);
    if (!connection.isOpen()) return true;
    constexpr uint8_t kGreeting[12] = {'l', 0, 11}; // in little-endian order, version 11, without a key
    if (::send(connection.get(), kGreeting, sizeof kGreeting, MSG_NOSIGNAL) != sizeof kGreeting) return true;
    pollfd answer{connection.get(), POLLIN, 0};
    return ::poll(&answer, 1, static_cast<int>(X11Display::kPatience / 1'000'000)) != 0;
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
    if (!answersInTime(name)) throw noAnswer();
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

SystemError X11Display::noAnswer() {
    return {"x11", 18,
            "The X server doesn't answer: the desktop hangs. Try again once it reacts, or log in again."};
}

SystemError X11Display::serverGone() {
    return {"x11", 2, "The X server has gone: the desktop session ended or its connection was cut."};
}

} // namespace vintra
