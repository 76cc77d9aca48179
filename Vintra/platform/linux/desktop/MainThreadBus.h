#pragma once

#include "Vintra/platform/EventLoop.h"
#include "Vintra/platform/linux/runtime/FileDescriptor.h"
#include "Vintra/platform/linux/runtime/MessageBus.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <systemd/sd-bus.h>

namespace vintra {

struct BusDeleter {
    void operator()(sd_bus* bus) const { sd_bus_close_unref(bus); }
    void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
    void operator()(sd_bus_slot* slot) const { sd_bus_slot_unref(slot); }
};
using BusMessage = std::unique_ptr<sd_bus_message, BusDeleter>;
/// What is kept for as long as an answer or a signal is wanted.
using BusSlot = std::unique_ptr<sd_bus_slot, BusDeleter>;

/// A connection to a message bus that the event loop serves: nothing but `waitUntil` ever waits for the bus or for what
/// is on it. A bus that isn't there, that hangs or that goes shows as calls without an answer. Owned by whoever talks
/// on it, and outlives the slots. Main thread; a handler must not end it.
class MainThreadBus {
public:
    /// Whom a call is for.
    struct Target {
        const char* destination;
        const char* path;
        const char* interface;
    };
    /// An answer, an error, or null where nothing could be asked. The message is lent.
    using OnReply = std::function<void(sd_bus_message* reply)>;
    using OnMessage = std::function<void(sd_bus_message* message)>;

    /// An empty address stands for the user's own bus of that kind. The loop outlives this.
    MainThreadBus(EventLoop& loop, MessageBus kind, const std::string& address = {});
    ~MainThreadBus();
    MainThreadBus(const MainThreadBus&) = delete;
    MainThreadBus& operator=(const MainThreadBus&) = delete;

    /// Null where there is no bus.
    sd_bus* get() const { return hasGone ? nullptr : bus.get(); }
    /// The bus has greeted and is still there.
    bool isReady() const { return !hasGone && sd_bus_is_ready(bus.get()) > 0; }
    /// There is no bus, or none any more.
    bool isGone() const { return hasGone; }

    /// Null where there is no bus.
    BusMessage makeCall(const Target& target, const char* member) const;
    /// Sends it. The handler is called later, once, unless the slot was let go of before; after `patience` in
    /// nanoseconds, which counts from the bus's greeting, with an error. Null where there is no bus: then the
    /// handler has been posted.
    [[nodiscard]] BusSlot call(BusMessage request, int64_t patience, OnReply onReply);
    /// Sends it without interest in an answer.
    void send(BusMessage message);
    /// Calls the handler for each signal of this rule, as the bus writes rules, for as long as the slot is kept.
    [[nodiscard]] BusSlot match(const std::string& rule, OnMessage onMessage);

    /// Serves the bus here and now until the condition holds. False if it doesn't after `patience` in nanoseconds,
    /// or if the bus has gone.
    bool waitUntil(const std::function<bool()>& condition, int64_t patience);
    /// To be called after something was asked of `get` itself.
    void update();

private:
    void serve();
    void process();
    void armTimer();
    void leave();

    EventLoop& loop;
    std::unique_ptr<sd_bus, BusDeleter> bus;
    bool hasGone = false;
    int64_t greetingDeadline = 0; ///< nanoseconds of the monotonic clock
    const FileDescriptor timer;
    int watched = -1; ///< the bus's descriptor
    std::shared_ptr<void> reading;
    std::shared_ptr<void> writing;
    std::shared_ptr<void> timing;
};

/// An answer that isn't an error.
bool isAnswer(sd_bus_message* reply);
/// The error's own words; "no answer" where there was none.
std::string errorTextOf(sd_bus_message* reply);
/// The error's name, such as "org.freedesktop.DBus.Error.ServiceUnknown"; empty where there was no answer at all.
std::string errorNameOf(sd_bus_message* reply);

} // namespace vintra
