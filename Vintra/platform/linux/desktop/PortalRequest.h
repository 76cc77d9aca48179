#pragma once

#include "Vintra/platform/linux/desktop/MainThreadBus.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace vintra {

/// Asks the desktop portal for something that it answers by a signal, as all does for which it may ask the user. It is
/// given up when this goes. Owned by whoever asks. Main thread.
class PortalRequest {
public:
    using Value = std::variant<std::string, bool>;
    using Options = std::vector<std::pair<std::string, Value>>;
    struct Answer {
        enum class Code { done, cancelled, failed };
        Code code = Code::failed;
        std::string error; ///< why it failed, in the portal's words; may be empty
        sd_bus_message* results =
            nullptr; ///< lent, in front of the table of results; null if it failed at once
    };
    using OnAnswer = std::function<void(const Answer&)>;

    /// The portal of all desktops.
    static MainThreadBus::Target target(const char* interface);

    /// `fill` appends what stands before the call's table of options, and `finish` more entries of that. The bus
    /// outlives this. The answer comes later, once; it may end this.
    struct Call {
        const char* interface;
        const char* member;
        std::function<void(sd_bus_message*)> fill;
        Options options;
        std::function<void(sd_bus_message*)> finish;
    };
    PortalRequest(MainThreadBus& bus, Call call, OnAnswer onAnswer);
    ~PortalRequest();
    PortalRequest(const PortalRequest&) = delete;
    PortalRequest& operator=(const PortalRequest&) = delete;

    static void appendOption(sd_bus_message* message, const std::string& key, const Value& value);
    /// A word for a handle that no other request of this process has.
    static std::string freshToken();

private:
    void tookReply(sd_bus_message* reply);
    void tookResponse(sd_bus_message* signal);
    std::string standardPath() const;
    void finish(const Answer& answer);

    MainThreadBus& bus;
    OnAnswer onAnswer; ///< empty once it has been called
    const std::string token;
    std::string path; ///< where the answer comes from; empty before the reply
    BusSlot response;
    BusSlot pending;
    const std::shared_ptr<int> life = std::make_shared<int>();
};

/// Calls `found` for the value of the key in the table of options or results in front of which the message stands.
void forEachEntry(sd_bus_message* message,
                  const std::function<void(const std::string& key, sd_bus_message* value)>& found);

} // namespace vintra
