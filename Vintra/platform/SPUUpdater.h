#pragma once

#include "Vintra/platform/Published.h"

namespace vintra {

/// Looks for new versions of the program. Main thread.
class SPUUpdater {
public:
    virtual ~SPUUpdater() = default;
    /// False while a check or an installation is under way.
    Published<bool> canCheckForUpdates{false};
    /// The user wants to know: shows the update that waits, or looks for one and says what came of it.
    virtual void checkForUpdates() = 0;
};

} // namespace vintra
