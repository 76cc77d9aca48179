#pragma once

#include "Vintra/platform/linux/runtime/FileDescriptor.h"
#include "Vintra/platform/linux/wayland/PortalBus.h"

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace vintra {

/// A session of org.freedesktop.portal.ScreenCast: what the user let the desktop share. It ends with this
/// object. One thread.
class PortalScreenCast {
public:
    enum class Source : uint32_t { monitor = 1, window = 2 };

    struct Request {
        Source source = Source::monitor;
        bool showsCursor = true;
        /// What an earlier session was given, so that the user isn't asked again. Good for one use.
        std::string restoreToken;
        /// Whether the session is to be given one.
        bool isRemembered = true;
        /// How long the user may take, nanoseconds.
        int64_t patience = 120'000'000'000;
    };
    /// What was granted.
    struct Stream {
        uint32_t node = 0; ///< in the PipeWire server of `remote`
        struct Pair {
            int first = 0;
            int second = 0;
        };
        std::optional<Pair> position; ///< of the display on the desktop, points
        std::optional<Pair> size;     ///< points; some portals tell pixels
        std::string restoreToken;     ///< empty if there is none
        FileDescriptor remote;        ///< connected to PipeWire
    };

    /// Each throws `SystemError` with a sentence for the user.
    explicit PortalScreenCast(PortalBus& bus);
    /// Whether the desktop lets such things be shared.
    bool shares(Source source) const { return (sourceTypes & static_cast<uint32_t>(source)) != 0; }
    /// Once. The desktop asks the user, unless the token saves the question.
    Stream start(const Request& request);

    /// The desktop has ended the session.
    bool isClosed() const { return closed; }
    /// The portal is the one for wlroots' compositors.
    bool isOfWlroots() const;

private:
    struct Answer {
        uint32_t code = 0;
        PortalMessage message; ///< read up to its table of results
    };

    uint32_t property(const char* name);
    /// A call that is answered by a signal. `session` is empty for the call that makes one.
    Answer ask(const char* member, const std::string& session, const char* parentWindow,
               PortalOptions options);
    std::string createSession();
    FileDescriptor openRemote();
    void took(sd_bus_message* signal);

    PortalBus& bus;
    uint32_t version = 0;
    uint32_t sourceTypes = 0;
    uint32_t cursorModes = 0;
    int64_t patience = 0;
    std::string session; ///< object path
    bool closed = false;
    bool portalHasGone = false;
    int requests = 0;
    std::map<std::string, PortalMessage> answers; ///< by the request's path
    PortalSlot responses;
    PortalSlot closings;
    PortalSlot ownerChanges;
};

} // namespace vintra
