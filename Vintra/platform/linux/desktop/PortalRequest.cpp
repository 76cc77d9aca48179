#include "Vintra/platform/linux/desktop/PortalRequest.h"

#include <algorithm>
#include <unistd.h>

namespace vintra {
namespace {

constexpr const char* kDesktopPortal = "org.freedesktop.portal.Desktop";
constexpr const char* kDesktopPortalPath = "/org/freedesktop/portal/desktop";
/// For the call alone: a portal that the bus has yet to start takes its time. The user's answer isn't limited.
constexpr int64_t kCallPatience = 15'000'000'000; // nanoseconds

} // namespace

MainThreadBus::Target PortalRequest::target(const char* interface) {
    return {kDesktopPortal, kDesktopPortalPath, interface};
}

PortalRequest::PortalRequest(MainThreadBus& bus, Call call, OnAnswer onAnswer)
    : bus(bus)
    , onAnswer(std::move(onAnswer))
    , token(freshToken()) {
    BusMessage message = bus.makeCall(target(call.interface), call.member);
    if (message) {
        call.fill(message.get());
        sd_bus_message_open_container(message.get(), 'a', "{sv}");
        appendOption(message.get(), "handle_token", token);
        for (const auto& [key, value] : call.options)
            appendOption(message.get(), key, value);
        if (call.finish) call.finish(message.get());
        sd_bus_message_close_container(message.get());
    }
    // Listened to beforehand, since the answer may come together with the reply.
    response = bus.match("type='signal',interface='org.freedesktop.portal.Request',member='Response'",
                         [this](sd_bus_message* signal) { tookResponse(signal); });
    pending = bus.call(std::move(message), kCallPatience,
                       [this, alive = std::weak_ptr<int>(life)](sd_bus_message* reply) {
                           if (alive.lock()) tookReply(reply);
                       });
}

PortalRequest::~PortalRequest() {
    response = nullptr;
    pending = nullptr;
    if (!onAnswer || !bus.isReady()) return;
    if (path.empty()) path = standardPath();
    // The user's panel is closed, if there is one.
    bus.send(bus.makeCall({kDesktopPortal, path.c_str(), "org.freedesktop.portal.Request"}, "Close"));
}

/// Which path portals choose for this request.
std::string PortalRequest::standardPath() const {
    const char* name = nullptr;
    if (sd_bus_get_unique_name(bus.get(), &name) < 0) return "/";
    std::string sender = name + 1;
    std::replace(sender.begin(), sender.end(), '.', '_');
    return std::string(kDesktopPortalPath) + "/request/" + sender + "/" + token;
}

void PortalRequest::tookReply(sd_bus_message* reply) {
    if (!isAnswer(reply)) return finish({.error = errorTextOf(reply)});
    const char* told = nullptr;
    if (sd_bus_message_read(reply, "o", &told) < 0) return finish({.error = "an answer of another kind"});
    path = told; // portals of old choose it themselves
}

void PortalRequest::tookResponse(sd_bus_message* signal) {
    const std::string sent = sd_bus_message_get_path(signal);
    if (sent != path && !sent.ends_with("/" + token)) return;
    uint32_t code = 2;
    if (sd_bus_message_read(signal, "u", &code) < 0) return finish({.error = "an answer of another kind"});
    using enum Answer::Code;
    finish({.code = code == 0 ? done : code == 1 ? cancelled : failed, .error = "", .results = signal});
}

void PortalRequest::finish(const Answer& answer) {
    const OnAnswer tell = std::exchange(onAnswer, nullptr);
    if (tell) tell(answer);
}

void PortalRequest::appendOption(sd_bus_message* message, const std::string& key, const Value& value) {
    if (const auto* text = std::get_if<std::string>(&value)) {
        sd_bus_message_append(message, "{sv}", key.c_str(), "s", text->c_str());
    } else {
        sd_bus_message_append(message, "{sv}", key.c_str(), "b", int{std::get<bool>(value)});
    }
}

std::string PortalRequest::freshToken() {
    static int count = 0;
    return "vintra" + std::to_string(::getpid()) + "_" + std::to_string(++count);
}

void forEachEntry(sd_bus_message* message,
                  const std::function<void(const std::string& key, sd_bus_message* value)>& found) {
    if (message == nullptr || sd_bus_message_enter_container(message, 'a', "{sv}") <= 0) return;
    while (sd_bus_message_enter_container(message, 'e', "sv") > 0) {
        const char* key = nullptr;
        const char* type = nullptr;
        if (sd_bus_message_read(message, "s", &key) <= 0 ||
            sd_bus_message_peek_type(message, nullptr, &type) <= 0 ||
            sd_bus_message_enter_container(message, 'v', type) <= 0)
            return;
        found(key, message);
        // Whatever of it wasn't read is passed over.
        while (sd_bus_message_at_end(message, 0) == 0 && sd_bus_message_skip(message, nullptr) > 0) {
        }
        sd_bus_message_exit_container(message);
        sd_bus_message_exit_container(message);
    }
    sd_bus_message_exit_container(message);
}

} // namespace vintra
