#include "Vintra/platform/linux/updates/LinuxProgramRemoval.h"

#include "Vintra/platform/SystemError.h"
#include "Vintra/platform/linux/files/UserDirectories.h"
#include "Vintra/platform/linux/updates/PackageKitWords.h"

#include <cstdlib>
#include <utility>

namespace vintra {
namespace {

constexpr int64_t kRestartPatience = 10'000'000'000; // nanoseconds
constexpr MainThreadBus::Target kServiceManager{"org.freedesktop.systemd1", "/org/freedesktop/systemd1",
                                                "org.freedesktop.systemd1.Manager"};

} // namespace

URL LinuxProgramRemoval::standardDeviceOfUser() {
    const char* const folder = std::getenv("XDG_CONFIG_HOME");
    const URL configuration = folder && folder[0] == '/'
                                  ? URL::fileURL(folder)
                                  : userHomeDirectory().appendingPathComponent(".config");
    return configuration.appendingPathComponent("pipewire")
        .appendingPathComponent("pipewire.conf.d")
        .appendingPathComponent("vintra-audio.conf");
}

URL LinuxProgramRemoval::standardStateFolder() {
    return userStateDirectory().appendingPathComponent("vintra");
}

LinuxProgramRemoval::LinuxProgramRemoval(Machine machine, MainThreadBus& systemBus, MainThreadBus& sessionBus)
    : machine(std::move(machine))
    , systemBus(systemBus)
    , sessionBus(sessionBus)
    , tasks(*this->machine.mainThread) {}

void LinuxProgramRemoval::run(std::function<void(Outcome)> ended) {
    onEnd = std::move(ended);
    resolve([this](const PackageKitTransaction::Result& result) {
        if (result.failure) return end(Failed{PackageKitWords::sentenceOf(*result.failure)});
        if (result.packages.empty()) {
            return end(
                Failed{"This copy of Vintra wasn't installed from its package; delete its files where you "
                       "put them."});
        }
        // Not from within the transaction that it replaces.
        machine.mainThread->post(tasks.guarded([this, id = result.packages.front()] { removePackage(id); }));
    });
}

void LinuxProgramRemoval::removePackage(const std::string& id) {
    transaction = std::make_unique<PackageKitTransaction>(
        systemBus, "RemovePackages", PackageKitTransaction::packageToRemove(id),
        [this](const PackageKitTransaction::Result& result) {
            using Error = PackageKitTransaction::Error;
            if (!result.failure) {
                machine.mainThread->post(tasks.guarded([this] { checkRemoved(); }));
            } else if (result.failure->is(Error::notAuthorized) || result.failure->is(Error::cancelled)) {
                end(Cancelled{});
            } else {
                end(Failed{PackageKitWords::sentenceOf(*result.failure)});
            }
        });
}

void LinuxProgramRemoval::resolve(PackageKitTransaction::OnEnd onResolved) {
    transaction = std::make_unique<PackageKitTransaction>(
        systemBus, "Resolve", PackageKitTransaction::installedPackage(machine.packageName),
        std::move(onResolved));
}

/// A service that says it has done it may have left it undone.
void LinuxProgramRemoval::checkRemoved() {
    resolve([this](const PackageKitTransaction::Result& result) {
        if (!result.failure && !result.packages.empty())
            return end(Failed{"The package service left the removal undone; try again later."});
        removeTraces();
        restartSoundServer();
    });
}

/// A note of a recording that isn't in order yet stays, for a Vintra that is installed anew.
void LinuxProgramRemoval::removeTraces() {
    removeQuietly(machine.deviceOfUser);
    removeQuietly(machine.stateFolder.appendingPathComponent("crash-reports"));
    removeQuietly(machine.stateFolder.appendingPathComponent("screencast-restore-tokens"));
    removeIfEmpty(machine.stateFolder.appendingPathComponent("unfinished-takes"));
    removeIfEmpty(machine.stateFolder);
}

void LinuxProgramRemoval::removeIfEmpty(const URL& folder) {
    try {
        if (machine.fileManager->contentsOfDirectory(folder).empty()) removeQuietly(folder);
    } catch (const SystemError&) {
        // It isn't there, or can't be read: then it stays.
    }
}

void LinuxProgramRemoval::removeQuietly(const URL& file) {
    try {
        if (machine.fileManager->fileExists(file)) machine.fileManager->removeItem(file);
    } catch (const SystemError&) {
        // The package is gone; what is left plays and does nothing.
    }
}

/// Where no service manager runs PipeWire, the device goes with the next login.
void LinuxProgramRemoval::restartSoundServer() {
    BusMessage request = sessionBus.makeCall(kServiceManager, "RestartUnit");
    if (request) sd_bus_message_append(request.get(), "ss", "pipewire.service", "replace");
    restart =
        sessionBus.call(std::move(request), kRestartPatience, [this](sd_bus_message*) { end(Removed{}); });
}

void LinuxProgramRemoval::end(Outcome outcome) {
    machine.mainThread->post(tasks.guarded([this, outcome = std::move(outcome)] {
        const auto ended = std::exchange(onEnd, nullptr);
        if (ended) ended(outcome);
    }));
}

} // namespace vintra
