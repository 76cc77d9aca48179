#pragma once

#include "Vintra/platform/Mutex.h"
#include "tests/support/ServedBus.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <systemd/sd-bus.h>
#include <utility>
#include <variant>
#include <vector>

namespace vintra {

/// A desktop portal that follows a script, on a bus of the test's own, from the construction to the end of this object.
class FakePortal {
public:
    static constexpr uint32_t kNode = 42;

    struct Script {
        uint32_t version = 4;
        uint32_t sourceTypes = 1;
        uint32_t cursorModes = 3;
        std::map<std::string, uint32_t> codes; ///< by member; 0 for those that aren't there
        std::string silentAt;                  ///< a member that is never answered
        bool hasScreenCast = true;
        bool answersElsewhere = false; ///< request paths as portals of old had them
        bool givesStreams = true;
        bool givesSession = true;
        std::optional<std::pair<int, int>> position;
        std::optional<std::pair<int, int>> size;
        std::string restoreToken;
        uint32_t node = kNode;
        std::string pipeWireSocket; ///< path, where the node is; without one the remote is of no use
    };
    using Value = std::variant<std::string, uint32_t, bool>;
    struct Call {
        std::string member;
        std::map<std::string, Value> options;
    };
    FakePortal(const std::string& busAddress, Script script);
    FakePortal(const FakePortal&) = delete;
    FakePortal& operator=(const FakePortal&) = delete;

    std::vector<Call> calls() const;
    /// Until a call of that member has come; false after 10 s.
    bool awaitCall(const std::string& member) const;
    /// The options of the latest call of that member.
    std::map<std::string, Value> options(const std::string& member) const;
    /// Ends the session.
    void close();
    /// Leaves the bus, as in a crash.
    void leave();

private:
    static int called(sd_bus_message* message, void* data, sd_bus_error* error);
    static int property(sd_bus* bus, const char* path, const char* interface, const char* name,
                        sd_bus_message* reply, void* data, sd_bus_error* error);
    int answer(sd_bus_message* message);
    int openRemote(sd_bus_message* message);
    void respond(const std::string& path, const std::string& sender, const std::string& member);
    void appendResults(sd_bus_message* signal, const std::string& member, uint32_t code) const;

    const Script script;
    std::string session; ///< the bus's thread's
    mutable Mutex mutex;
    std::vector<Call> calls_ GUARDED_BY(mutex);
    ServedBus bus;
};

} // namespace vintra
