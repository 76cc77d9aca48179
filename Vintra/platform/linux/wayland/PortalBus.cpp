#include "Vintra/platform/linux/wayland/PortalBus.h"

#include "Vintra/platform/linux/runtime/LinuxHostClock.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <poll.h>
#include <string_view>

namespace vintra {
namespace {

constexpr const char* kPortal = "org.freedesktop.portal.Desktop";
/// A portal that the bus has yet to start takes its time.
constexpr int64_t kAnswerPatience = 15'000'000'000; // nanoseconds
/// A bus that lives greets in milliseconds.
constexpr int64_t kGreetingPatience = 5'000'000'000; // nanoseconds

SystemError noBus() {
    return SystemError("portal", 1,
                       "The screen can't be recorded: there is no session bus. "
                       "Start Vintra inside of the desktop's session.");
}

SystemError hungBus() {
    return SystemError("portal", 11,
                       "The screen can't be recorded: the session bus doesn't answer. Log out and in again.");
}

SystemError noPortal() {
    return SystemError("portal", 2,
                       "The screen can't be recorded: the desktop portal doesn't answer. Install "
                       "xdg-desktop-portal and the one of your desktop (xdg-desktop-portal-gnome, -kde or "
                       "-wlr), and log in again.");
}

SystemError noScreenCast() {
    return SystemError("portal", 3,
                       "The screen can't be recorded: the desktop portal can't share the screen. Install the "
                       "one of your desktop (xdg-desktop-portal-gnome, -kde or -wlr), and log in again.");
}

SystemError errorOf(const sd_bus_error& error) {
    const std::string_view name = error.name ? error.name : "";
    const auto isOne = [name](std::initializer_list<std::string_view> names) {
        return std::find(names.begin(), names.end(), name) != names.end();
    };
    if (isOne({SD_BUS_ERROR_SERVICE_UNKNOWN, SD_BUS_ERROR_NAME_HAS_NO_OWNER, SD_BUS_ERROR_NO_REPLY,
               SD_BUS_ERROR_TIMEOUT, "org.freedesktop.DBus.Error.Spawn.ChildExited",
               "org.freedesktop.DBus.Error.Spawn.ExecFailed", "org.freedesktop.DBus.Error.Spawn.Failed"})) {
        return noPortal();
    }
    if (isOne({SD_BUS_ERROR_UNKNOWN_METHOD, SD_BUS_ERROR_UNKNOWN_INTERFACE, SD_BUS_ERROR_UNKNOWN_OBJECT,
               SD_BUS_ERROR_UNKNOWN_PROPERTY})) {
        return noScreenCast();
    }
    return SystemError("portal", 4,
                       "The screen can't be recorded: the desktop portal refused (" +
                           std::string(error.message ? error.message : "without a reason") + ").");
}

} // namespace

void requireBus(int result) {
    if (result < 0) throw SystemError("sd-bus", -result, "The desktop portal's answer can't be understood.");
}

PortalBus::PortalBus(const std::string& address, GivingUp givingUp)
    : givingUp(std::move(givingUp)) {
    sd_bus* opened = nullptr;
    int result = 0;
    if (address.empty()) {
        result = sd_bus_open_user(&opened);
        bus.reset(opened);
    } else {
        result = sd_bus_new(&opened);
        bus.reset(opened);
        if (result >= 0) result = sd_bus_set_address(opened, address.c_str());
        if (result >= 0) result = sd_bus_set_bus_client(opened, true);
        if (result >= 0) result = sd_bus_start(opened);
    }
    if (result < 0) throw noBus();
    const auto isReady = [opened] { return sd_bus_is_ready(opened) > 0; };
    if (!waitUntil(isReady, monotonicNanoseconds() + kGreetingPatience)) throw hungBus();
}

PortalMessage PortalBus::makeCall(const char* path, const char* interface, const char* member) const {
    sd_bus_message* message = nullptr;
    requireBus(sd_bus_message_new_method_call(bus.get(), &message, kPortal, path, interface, member));
    return PortalMessage(message);
}

PortalMessage PortalBus::call(PortalMessage request) {
    PortalMessage reply;
    const auto take = [](sd_bus_message* message, void* data, sd_bus_error*) {
        static_cast<PortalMessage*>(data)->reset(sd_bus_message_ref(message));
        return 0;
    };
    sd_bus_slot* pending = nullptr;
    requireBus(sd_bus_call_async(bus.get(), &pending, request.get(), take, &reply,
                                 std::numeric_limits<uint64_t>::max()));
    const PortalSlot slot(pending);
    if (!waitUntil([&reply] { return reply != nullptr; }, monotonicNanoseconds() + kAnswerPatience)) {
        throw noPortal();
    }
    if (const sd_bus_error* const error = sd_bus_message_get_error(reply.get())) throw errorOf(*error);
    return reply;
}

bool PortalBus::waitUntil(const std::function<bool()>& condition, std::optional<int64_t> deadline) {
    constexpr int64_t kSecond = 1'000'000'000;
    while (true) {
        dispatch();
        if (condition()) return true;
        if (hasGone) throw noBus();
        if (givingUp.isAsked()) {
            throw SystemError("portal", 5,
                              "The recording was ended before the desktop had granted the screen.");
        }
        timespec rest{};
        if (deadline) {
            const int64_t left = *deadline - monotonicNanoseconds();
            if (left <= 0) return false;
            rest = {left / kSecond, left % kSecond};
        }
        pollfd descriptors[] = {{fileDescriptor(), POLLIN, 0},
                                {givingUp.wakeUp->fileDescriptor(), POLLIN, 0}};
        ::ppoll(descriptors, 2, deadline ? &rest : nullptr, nullptr);
        if (descriptors[1].revents != 0) givingUp.wakeUp->clear();
    }
}

int PortalBus::fileDescriptor() const {
    return hasGone ? -1 : sd_bus_get_fd(bus.get());
}

void PortalBus::dispatch() {
    while (!hasGone) {
        const int result = sd_bus_process(bus.get(), nullptr);
        if (result == 0) break;
        hasGone = result < 0;
    }
    // Before the bus has greeted this would wait for it.
    if (!hasGone && sd_bus_is_ready(bus.get()) > 0 && sd_bus_flush(bus.get()) < 0) hasGone = true;
}

void PortalBus::appendOptions(sd_bus_message* message, const PortalOptions& options) {
    struct Appender {
        sd_bus_message* message;
        int operator()(const std::string& text) const {
            return sd_bus_message_append(message, "v", "s", text.c_str());
        }
        int operator()(uint32_t number) const { return sd_bus_message_append(message, "v", "u", number); }
        int operator()(bool flag) const { return sd_bus_message_append(message, "v", "b", int{flag}); }
    };
    requireBus(sd_bus_message_open_container(message, 'a', "{sv}"));
    for (const auto& [key, value] : options) {
        requireBus(sd_bus_message_open_container(message, 'e', "sv"));
        requireBus(sd_bus_message_append(message, "s", key.c_str()));
        requireBus(std::visit(Appender{message}, value));
        requireBus(sd_bus_message_close_container(message));
    }
    requireBus(sd_bus_message_close_container(message));
}

} // namespace vintra
