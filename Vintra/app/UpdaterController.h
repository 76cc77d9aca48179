#pragma once

#include "Vintra/app/UpdateSession.h"
#include "Vintra/platform/MainThreadTasks.h"
#include "Vintra/platform/MainThreadTimer.h"
#include "Vintra/platform/Platform.h"
#include "Vintra/platform/SPUStandardUpdaterController.h"
#include "Vintra/platform/Task.h"
#include "Vintra/platform/UpdateInstallation.h"
#include "Vintra/platform/WebRequests.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vintra {

class ScreenRecorderManager;
class SPUStandardUserDriverDelegate;
class SPUUpdaterDelegate;

/// Finds new versions once a day, in silence, and when the user asks; fetches and installs one only when the user says
/// so, and never while a take runs. Whatever goes wrong, this version stays as it is. Owned by the program. Main thread.
class UpdaterController final : public SPUStandardUpdaterController, private SPUUpdater {
public:
    struct Machine {
        Platform platform;
        WebRequests& web;
        UpdateInstallation& installation;
        std::function<void()> quit; ///< ends the program in order
    };

    /// The delegates and what the machine refers to outlive this. Looks for updates by itself if `startingUpdater`.
    UpdaterController(Machine machine, bool startingUpdater, SPUUpdaterDelegate& updaterDelegate,
                      SPUStandardUserDriverDelegate& userDriverDelegate);
    ~UpdaterController() override;

    /// From its making on; without one no take runs.
    std::weak_ptr<ScreenRecorderManager> recorder;

    Published<UpdateSession> session;

    SPUUpdater& updater() override { return *this; }
    void checkForUpdates() override;

    // What the update window's controls do.

    /// Fetches and installs the update that was found, or tries again what failed.
    void installUpdate();
    /// Closes the window. A download ends and can be gone on with; an installation goes on.
    void dismiss();

private:
    void lookIfDue();
    bool isTakeRunning() const;
    void begin(bool userInitiated);
    void setStage(UpdateSession::Stage stage);
    void finish(UpdateSession::Stage stage, const std::string& sentence = {});
    void show(const SUAppcastItem& item);

    Task<> check();
    void judge(const std::vector<SUAppcastItem>& items);
    bool isNewer(const SUAppcastItem& item) const;
    Task<> fetchAndInstall();
    Task<UpdateInstallation::Outcome> fetch(URL file);
    Task<UpdateInstallation::Outcome> download(URL file, bool resumes);
    Task<> installAndRelaunch(URL file);
    Task<> awaitNoTake();
    URL fileOfItem();
    void removeQuietly(const URL& file);

    const Machine machine;
    SPUUpdaterDelegate& updaterDelegate;
    SPUStandardUserDriverDelegate& userDriver;
    bool isUserInitiated = false;
    std::shared_ptr<WebTransfer> transfer;
    std::vector<std::function<void()>> awaitingNoTake;
    Observation recordingObservation;
    Observation busyObservation;
    std::unique_ptr<MainThreadTimer> timer;
    TaskScope work;        ///< the check or the installation that is under way
    MainThreadTasks tasks; ///< of the timer
};

} // namespace vintra
