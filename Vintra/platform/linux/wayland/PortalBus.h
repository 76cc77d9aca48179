#pragma once

#include "Vintra/platform/SystemError.h"
#include "Vintra/platform/linux/runtime/WakeUp.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <systemd/sd-bus.h>
#include <utility>
#include <variant>
#include <vector>

namespace vintra {

struct PortalBusDeleter {
    void operator()(sd_bus* bus) const { sd_bus_close_unref(bus); }
    void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
    void operator()(sd_bus_slot* slot) const { sd_bus_slot_unref(slot); }
};
using PortalMessage = std::unique_ptr<sd_bus_message, PortalBusDeleter>;
using PortalSlot = std::unique_ptr<sd_bus_slot, PortalBusDeleter>;

/// What a portal call's or answer's table of options holds.
using PortalValue = std::variant<std::string, uint32_t, bool>;
using PortalOptions = std::vector<std::pair<std::string, PortalValue>>;

/// A connection to the session's message bus of its own. What a portal set up for it ends with it. One
/// thread, which sleeps in it and is woken by the messages or to give up.
class PortalBus {
public:
    /// How another thread tells this one to give up.
    struct GivingUp {
        std::shared_ptr<WakeUp> wakeUp; ///< set after `isAsked` has become true
        std::function<bool()> isAsked;
    };

    /// An empty address stands for the session's own bus. Throws `SystemError`.
    PortalBus(const std::string& address, GivingUp givingUp);

    /// For the thread that it is handed to.
    void setGivingUp(GivingUp newGivingUp) { givingUp = std::move(newGivingUp); }

    sd_bus* get() const { return bus.get(); }
    /// A call to the desktop portal's ScreenCast interface, or another one of it.
    PortalMessage makeCall(const char* path, const char* interface, const char* member) const;
    /// The reply. Throws `SystemError` if there is none within 15 s, or an error: its sentence is about the
    /// portal.
    PortalMessage call(PortalMessage request);
    /// Handles messages until the condition holds, or until the deadline if there is one, in nanoseconds of the
    /// monotonic clock. Throws `SystemError` if asked to give up, or if the bus has gone.
    bool waitUntil(const std::function<bool()>& condition, std::optional<int64_t> deadline);

    /// For a thread that sleeps on more than this: readable when `dispatch` has something to do. -1 once the
    /// bus has gone.
    int fileDescriptor() const;
    /// Handles what has come.
    void dispatch();

    static void appendOptions(sd_bus_message* message, const PortalOptions& options);

private:
    std::unique_ptr<sd_bus, PortalBusDeleter> bus;
    GivingUp givingUp;
    bool hasGone = false;
};

/// For calls of sd-bus that fail only when memory does. Throws `SystemError`.
void requireBus(int result);

} // namespace vintra
