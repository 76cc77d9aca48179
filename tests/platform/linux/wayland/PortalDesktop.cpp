#include "tests/platform/linux/wayland/PortalDesktop.h"

#include "tests/platform/linux/wayland/WaylandSession.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/ProgramRun.h"

#include <cstdlib>
#include <cstring>
#include <regex>
#include <systemd/sd-bus.h>

namespace vintra::PortalDesktop {
namespace {

bool isCurrentDesktop(const char* name) {
    const char* const current = std::getenv("XDG_CURRENT_DESKTOP");
    return current && std::getenv("WAYLAND_DISPLAY") && std::getenv("VINTRA_HEADLESS") &&
           std::strcmp(current, name) == 0;
}

/// A tool of the session.
bool runTool(const std::string& name, const std::vector<std::string>& words) {
    std::vector<std::string> command{std::getenv("VINTRA_HEADLESS") + ("/" + name)};
    command.insert(command.end(), words.begin(), words.end());
    return runProgram(command).exitCode == 0;
}

} // namespace

bool isGnome() {
    return isCurrentDesktop("GNOME");
}

bool isKde() {
    return isCurrentDesktop("KDE");
}

bool isThere() {
    return isGnome() || isKde();
}

std::string display(int number) {
    return (isGnome() ? "Meta-" : "Virtual-") + std::to_string(number);
}

bool grant(const std::string& tokensFile, const std::string& display, const std::string& granted) {
    return runTool("grant-screencast",
                   {"--tokens", tokensFile, "--as", display, granted.empty() ? display : granted});
}

bool grantWindow(const std::string& tokensFile, const std::string& title) {
    const ProgramRun found = runProgram({"gdbus", "call", "--session", "-d", "org.kde.KWin", "-o",
                                         "/WindowsRunner", "-m", "org.kde.krunner1.Match", title});
    std::smatch id;
    return std::regex_search(found.output, id, std::regex("\\{[0-9a-f-]{36}\\}")) &&
           runTool("grant-screencast", {"--tokens", tokensFile, "--window", id[0]});
}

bool turn(const std::string& display, int degrees, int scale) {
    return runTool("turn-display", {display, std::to_string(degrees), std::to_string(scale)});
}

/// GNOME's compositor lends its input devices for as long as a session of its interface is open; on KDE a program of ours
/// has one.
struct Pointer::Bus {
    sd_bus* bus = nullptr;
    std::string session;
    std::unique_ptr<ChildProcess> kwinsMover; ///< the latest

    Bus() {
        if (sd_bus_open_user(&bus) < 0 || !isGnome()) return;
        sd_bus_message* reply = nullptr;
        const char* path = nullptr;
        if (sd_bus_call_method(bus, kGnome, "/org/gnome/Mutter/RemoteDesktop", kGnome, "CreateSession",
                               nullptr, &reply, nullptr) >= 0 &&
            sd_bus_message_read(reply, "o", &path) >= 0)
            session = path;
        sd_bus_message_unref(reply);
        if (!call("Start", "")) session.clear();
    }
    ~Bus() {
        call("Stop", "");
        sd_bus_flush_close_unref(bus);
    }
    Bus(const Bus&) = delete;
    Bus& operator=(const Bus&) = delete;

    template <typename... Arguments>
    bool call(const char* member, const char* types, Arguments... arguments) const {
        return !session.empty() &&
               sd_bus_call_method(bus, kGnome, session.c_str(), "org.gnome.Mutter.RemoteDesktop.Session",
                                  member, nullptr, nullptr, types, arguments...) >= 0;
    }

    static constexpr const char* kGnome = "org.gnome.Mutter.RemoteDesktop";
};

Pointer::Pointer()
    : bus(std::make_unique<Bus>()) {}

Pointer::~Pointer() = default;

bool Pointer::isThere() const {
    return isKde() || !bus->session.empty();
}

bool Pointer::moveBy(double x, double y) {
    if (isGnome()) return bus->call("NotifyPointerMotionRelative", "dd", x, y);
    auto mover = std::make_unique<ChildProcess>(
        std::vector{WaylandSession::program("kwin-pointer"), std::to_string(x), std::to_string(y)});
    if (mover->readLine() != "moved") return false;
    bus->kwinsMover = std::move(mover);
    return true;
}

/// By way of the corner, which stops every movement.
bool Pointer::moveTo(int x, int y) {
    constexpr double kFar = 10'000;
    return moveBy(-kFar, -kFar) && moveBy(x, y);
}

} // namespace vintra::PortalDesktop
