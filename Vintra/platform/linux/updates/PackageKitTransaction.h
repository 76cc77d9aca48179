#pragma once

#include "Vintra/platform/linux/desktop/MainThreadBus.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vintra {

/// One request to PackageKit, the service that installs and removes packages and has the desktop ask for the password.
/// Goes on by itself if it is let go of after its call was made; nothing is told then. Main thread.
class PackageKitTransaction {
public:
    /// The numbers that PackageKit gives these errors.
    enum class Error : uint32_t {
        noPackageKit = 0, ///< it isn't there, or ended
        internal = 4,
        notInstalled = 7,
        cancelled = 17,
        anotherInstalls = 26,
        noSpace = 46,
        notAuthorized = 48
    };
    struct Failure {
        uint32_t code = 0; ///< one of `Error`, or another number of PackageKit's
        std::string details;
        bool is(Error error) const { return code == static_cast<uint32_t>(error); }
    };
    struct Result {
        std::optional<Failure> failure;
        /// What it told of: "name;version;architecture;origin" each.
        std::vector<std::string> packages;
    };
    using OnEnd = std::function<void(Result)>;
    using OnProgress = std::function<void(int percent)>;
    /// Puts the arguments of the call in.
    using AppendArguments = std::function<void(sd_bus_message* request)>;

    /// The bus is the system's, and outlives this.
    PackageKitTransaction(
        MainThreadBus& bus, std::string member, AppendArguments append, OnEnd onEnd,
        OnProgress onProgress = [](int) {});
    PackageKitTransaction(const PackageKitTransaction&) = delete;
    PackageKitTransaction& operator=(const PackageKitTransaction&) = delete;

    // The calls that there are.

    static AppendArguments installedPackage(const std::string& name); ///< of Resolve
    static AppendArguments localFile(const std::string& path);        ///< of GetDetailsLocal
    static AppendArguments filesToInstall(const std::string& path);   ///< of InstallFiles
    static AppendArguments packageToRemove(const std::string& id);    ///< of RemovePackages

private:
    void begin(const std::string& path);
    void handleSignal(sd_bus_message* message);
    void handlePackages(sd_bus_message* message);
    void handleDetails(sd_bus_message* message);
    void handleProperties(sd_bus_message* message);
    void fail(Error error, const std::string& details);
    void end();
    MainThreadBus::Target target() const;

    MainThreadBus& bus;
    const std::string member;
    const AppendArguments append;
    OnEnd onEnd;
    const OnProgress onProgress;
    std::string path;
    Result result;
    bool hasEnded = false;
    BusSlot creation;
    BusSlot hints;
    BusSlot call;
    BusSlot signals;
    BusSlot properties;
    BusSlot departure;
};

} // namespace vintra
