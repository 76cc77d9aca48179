#pragma once

#include "Vintra/platform/SPUUpdater.h"

namespace vintra {

/// Owns the updater and its window. Owned by the program. Main thread.
class SPUStandardUpdaterController {
public:
    virtual ~SPUStandardUpdaterController() = default;
    virtual SPUUpdater& updater() = 0;
    void checkForUpdates() { updater().checkForUpdates(); }
};

} // namespace vintra
