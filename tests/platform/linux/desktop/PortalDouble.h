#pragma once

#include "Vintra/platform/linux/desktop/PortalRequest.h"
#include "tests/platform/linux/desktop/BusDouble.h"

#include <algorithm>
#include <map>
#include <string>

namespace vintra {

/// A desktop portal on a test's own bus, whose answers the test gives.
class PortalDouble : public BusDouble {
public:
    PortalDouble(EventLoop& loop, const std::string& address)
        : BusDouble(loop, address, {"org.freedesktop.portal.Desktop"}) {
        answers["Register"] = [](sd_bus_message* call) { sd_bus_reply_method_return(call, ""); };
        answers["Close"] = answers["Register"];
    }

    struct Request {
        std::string path;
        std::string sender;
        std::map<std::string, std::string> options; ///< texts; of flags "true" or "false"
    };
    /// The call's table of options, which stands behind arguments of these types.
    static Request read(sd_bus_message* call, const char* before) {
        Request request{.path = "", .sender = sd_bus_message_get_sender(call), .options = {}};
        if (*before) sd_bus_message_skip(call, before);
        forEachEntry(call, [&](const std::string& key, sd_bus_message* value) {
            const char* text = nullptr;
            int flag = 0;
            if (sd_bus_message_read(value, "s", &text) > 0) {
                request.options[key] = text;
            } else if (sd_bus_message_read(value, "b", &flag) > 0) {
                request.options[key] = flag != 0 ? "true" : "false";
            }
        });
        std::string name = request.sender.substr(1);
        std::replace(name.begin(), name.end(), '.', '_');
        request.path =
            "/org/freedesktop/portal/desktop/request/" + name + "/" + request.options["handle_token"];
        return request;
    }
    /// The call's reply, and then the answer with its table of results.
    void answer(sd_bus_message* call, const Request& request, uint32_t code,
                const std::function<void(sd_bus_message*)>& fill) {
        sd_bus_reply_method_return(call, "o", request.path.c_str());
        respond(request, code, fill);
    }
    void respond(const Request& request, uint32_t code, const std::function<void(sd_bus_message*)>& fill) {
        sd_bus_message* signal = nullptr;
        sd_bus_message_new_signal(bus.get(), &signal, request.path.c_str(), "org.freedesktop.portal.Request",
                                  "Response");
        const BusMessage owned(signal);
        sd_bus_message_set_destination(signal, request.sender.c_str());
        sd_bus_message_append(signal, "u", code);
        sd_bus_message_open_container(signal, 'a', "{sv}");
        fill(signal);
        sd_bus_message_close_container(signal);
        sd_bus_send(bus.get(), signal, nullptr);
        bus.update();
    }
};

} // namespace vintra
