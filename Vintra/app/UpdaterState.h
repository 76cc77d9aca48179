#pragma once

#include "Vintra/app/Refresher.h"
#include "Vintra/platform/SPUStandardUpdaterController.h"

namespace vintra {

/// Whether "Check for Updates…" can be chosen. Owned by the program. Main thread.
class UpdaterState {
public:
    /// The controller outlives this.
    explicit UpdaterState(SPUStandardUpdaterController& controller)
        : observation(controller.updater().canCheckForUpdates.observe(
              [this](bool isPossible) { publish(canCheck, isPossible); })) {
        canCheck.set(*controller.updater().canCheckForUpdates);
    }

    Published<bool> canCheck{false};

private:
    const Observation observation;
};

} // namespace vintra
