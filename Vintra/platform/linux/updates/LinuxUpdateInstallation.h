#pragma once

#include "Vintra/platform/DispatchQueue.h"
#include "Vintra/platform/FileManager.h"
#include "Vintra/platform/MainThread.h"
#include "Vintra/platform/MainThreadTasks.h"
#include "Vintra/platform/UpdateInstallation.h"
#include "Vintra/platform/linux/updates/PackageKitTransaction.h"
#include "Vintra/platform/linux/updates/UpdateSource.h"

#include <memory>
#include <string>

namespace vintra {

/// Updates of a program that was installed as a package: PackageKit reads and installs the packages. Main thread; files
/// are read on a queue.
class LinuxUpdateInstallation final : public UpdateInstallation {
public:
    struct Machine {
        std::shared_ptr<MainThread> mainThread;
        std::shared_ptr<DispatchQueues> dispatchQueues;
        std::shared_ptr<FileManager> fileManager;
        std::string operatingSystem; ///< its name
        std::string systemVersion;
        std::string runningProgram; ///< path of this process's program
        URL downloadFolder;
    };

    /// $XDG_CACHE_HOME or ".cache" at home, and in it the program's folder.
    static URL cachesFolder();
    /// What runs now; empty if the system doesn't tell.
    static std::string pathOfRunningProgram();

    /// The bus is the system's, and outlives this.
    LinuxUpdateInstallation(Machine machine, MainThreadBus& bus,
                            UpdateSource source = UpdateSource::builtIn());

    std::string feedURL() const override { return source.feedURL; }
    void checkOwnership(std::function<void(Outcome)> onChecked) override;
    std::vector<SUAppcastItem> itemsOfFeed(const std::string& feed) const override;
    bool satisfies(const std::string& minimumSystemVersion) const override;
    URL downloadFolder() override;
    void verify(const URL& file, const SUAppcastItem& item, std::function<void(Outcome)> onVerified) override;
    void install(const URL& file, OnInstall on) override;
    void relaunchAtEnd() override { isToRelaunch = true; }

    /// The program that is to begin in the place of this one when it has ended; empty for none.
    std::string programToBegin() const { return isToRelaunch ? source.programPath : ""; }
    /// The very last thing that a program does. Returns only if that one can't be started.
    static void becomeProgram(const std::string& path);

private:
    void checkPackage(const URL& file, const SUAppcastItem& item, std::function<void(Outcome)> onVerified);
    void checkInstalled(std::function<void(Outcome)> ended);
    /// One transaction at a time.
    void begin(
        const std::string& member, PackageKitTransaction::AppendArguments append,
        PackageKitTransaction::OnEnd onEnd, PackageKitTransaction::OnProgress onProgress = [](int) {});

    const Machine machine;
    MainThreadBus& bus;
    const UpdateSource source;
    std::string verified; ///< how the id of the package begins that was verified last
    bool isToRelaunch = false;
    std::unique_ptr<PackageKitTransaction> transaction;
    MainThreadTasks tasks;
};

} // namespace vintra
