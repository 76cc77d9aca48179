#pragma once

#include "Vintra/platform/Published.h"

#include <functional>
#include <optional>
#include <string>

namespace vintra {

/// A new version that waits to be installed, as the main window and the menu bar item tell of it. Owned by the program.
/// Main thread.
struct UpdateNotice {
    Published<std::optional<std::string>> waiting; ///< its version
    /// Shows the update with what is new in it. Empty where the program doesn't update itself.
    std::function<void()> checkForUpdates;

    void showUpdate() const {
        if (checkForUpdates) checkForUpdates();
    }
};

} // namespace vintra
