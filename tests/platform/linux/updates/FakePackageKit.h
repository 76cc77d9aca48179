#pragma once

#include "Vintra/platform/Mutex.h"
#include "tests/support/ServedBus.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <systemd/sd-bus.h>
#include <utility>
#include <vector>

namespace vintra {

/// PackageKit, and the part of the session's service manager that restarts services, as they talk on a bus of the test's
/// own. It installs nothing. It is on the bus from the construction to the end of this object.
class FakePackageKit {
public:
    struct Script {
        /// What Resolve and GetDetailsLocal tell of.
        std::vector<std::string> installed{"vintra;1.2.3-45;amd64;installed:local"};
        /// What is installed after InstallFiles or RemovePackages has ended well; nothing: as before.
        std::optional<std::vector<std::string>> installedAfterwards{};
        bool tellsSeveralAtOnce = false;
        std::vector<std::string> local{"vintra;1.3-1;amd64;local"};
        /// By member: the error that ends the transaction.
        std::map<std::string, std::pair<uint32_t, std::string>> errors;
        std::map<std::string, uint32_t> exits; ///< by member; else success, or failure after an error
        std::string refusedCall;               ///< a member that is answered with an error at once
        std::string endsAt;                    ///< a member at which the service leaves the bus
    };

    FakePackageKit(const std::string& busAddress, Script script);
    FakePackageKit(const FakePackageKit&) = delete;
    FakePackageKit& operator=(const FakePackageKit&) = delete;

    /// "InstallFiles 0 /path" and the like, in their order.
    std::vector<std::string> calls() const;

private:
    static int created(sd_bus_message* message, void* data, sd_bus_error* error);
    static int called(sd_bus_message* message, void* data, sd_bus_error* error);
    int perform(sd_bus_message* message);
    std::string textOf(sd_bus_message* message);
    void signal(const char* path, const char* name, const char* types, ...);
    void tellProgress(const char* path);
    void tellInstalled(const char* path);
    void note(const std::string& call);

    const Script script;
    int transactions = 0;    ///< the bus's thread's
    bool hasChanged = false; ///< the bus's thread's: what is installed
    mutable Mutex mutex;
    std::vector<std::string> calls_ GUARDED_BY(mutex);
    ServedBus bus;
};

} // namespace vintra
