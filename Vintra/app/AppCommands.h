#pragma once

#include "Vintra/app/Refresher.h"
#include "Vintra/platform/Published.h"

namespace vintra {

class ScreenRecorderManager;
class UpdaterState;

/// The commands about the program itself, in the place where the desktop has them. Owned by the program. Main thread.
class AppCommands {
public:
    static constexpr const char* kAbout = "About Vintra";
    static constexpr const char* kAcknowledgements = "Acknowledgements";
    static constexpr const char* kCheckForUpdates = "Check for Updates…";
    static constexpr const char* kRemove = "Remove Vintra…";

    /// All outlive this.
    AppCommands(MainThread& mainThread, ScreenRecorderManager& recorder, UpdaterState& updaterState);

    Published<bool> canCheckForUpdates{false};
    Published<bool> canRemove{false};

private:
    void refresh();

    ScreenRecorderManager& recorder;
    UpdaterState& updaterState;
    Refresher refresher;
};

} // namespace vintra
