#include "Vintra/platform/linux/desktop/WindowProblem.h"

#include <X11/Xlib.h>
#include <cstdlib>
#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace vintra {
namespace {

std::string setting(const char* name) {
    const char* const value = std::getenv(name);
    return value ? value : "";
}

bool hasWaylandDesktop() {
    const std::string name = setting("WAYLAND_DISPLAY");
    if (name.empty()) return false;
    const std::string path = name.front() == '/' ? name : setting("XDG_RUNTIME_DIR") + "/" + name;
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) return false;
    std::memcpy(address.sun_path, path.c_str(), path.size());
    const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (socket < 0) return false;
    const bool answers = ::connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    ::close(socket);
    return answers;
}

bool hasXServer() {
    if (setting("DISPLAY").empty()) return false;
    Display* const display = XOpenDisplay(nullptr);
    if (!display) return false;
    XCloseDisplay(display);
    return true;
}

/// Whoever names another way to draw windows than these two knows what he does.
bool isAnotherWayChosen() {
    const std::string chosen = setting("QT_QPA_PLATFORM");
    return !chosen.empty() && !chosen.starts_with("xcb") && !chosen.starts_with("wayland");
}

} // namespace

std::string windowProblem() {
    if (isAnotherWayChosen() || hasWaylandDesktop() || hasXServer()) return "";
    return "There is no desktop here that a window could open on. To record without one, see vintra-take --help.";
}

} // namespace vintra
