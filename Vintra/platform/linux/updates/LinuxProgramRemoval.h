#pragma once

#include "Vintra/platform/FileManager.h"
#include "Vintra/platform/MainThread.h"
#include "Vintra/platform/MainThreadTasks.h"
#include "Vintra/platform/ProgramRemoval.h"
#include "Vintra/platform/linux/updates/PackageKitTransaction.h"

#include <memory>
#include <string>

namespace vintra {

/// Has PackageKit remove the program's package, which holds the virtual device too, and the session's service manager
/// start PipeWire anew. Main thread.
class LinuxProgramRemoval final : public ProgramRemoval {
public:
    struct Machine {
        std::shared_ptr<MainThread> mainThread;
        std::shared_ptr<FileManager> fileManager;
        URL cachesFolder;
        /// The virtual device of this user alone, if one was installed; it goes too.
        URL deviceOfUser;
        /// The program's own. Reports of crashes go, and the folder itself if nothing is left in it.
        URL stateFolder;
        std::string packageName = "vintra";
    };

    /// "vintra-audio.conf" in PipeWire's folder of $XDG_CONFIG_HOME, or of ".config" at home.
    static URL standardDeviceOfUser();
    /// The program's folder in $XDG_STATE_HOME, or in ".local/state" at home.
    static URL standardStateFolder();

    /// The buses are the system's and the session's, and outlive this.
    LinuxProgramRemoval(Machine machine, MainThreadBus& systemBus, MainThreadBus& sessionBus);

    void run(std::function<void(Outcome)> onEnd) override;
    URL cachesFolder() const override { return machine.cachesFolder; }

private:
    void resolve(PackageKitTransaction::OnEnd onEnd);
    void removePackage(const std::string& id);
    void checkRemoved();
    void removeTraces();
    void removeQuietly(const URL& file);
    void removeIfEmpty(const URL& folder);
    void restartSoundServer();
    void end(Outcome outcome);

    const Machine machine;
    MainThreadBus& systemBus;
    MainThreadBus& sessionBus;
    std::function<void(Outcome)> onEnd;
    std::unique_ptr<PackageKitTransaction> transaction;
    BusSlot restart;
    MainThreadTasks tasks;
};

} // namespace vintra
