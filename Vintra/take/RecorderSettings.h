#pragma once

#include "Vintra/audio/AudioSelection.h"
#include "Vintra/capturearea/ScreenSelection.h"
#include "Vintra/platform/UserDefaults.h"
#include "Vintra/video/CameraSelection.h"

#include <functional>
#include <memory>
#include <vector>

namespace vintra {

/// The settings that are kept between runs: a table of keys, the properties that they are kept for, and how
/// the one is converted to the other. Device selections aren't kept: a run begins with nothing armed but the
/// screen. A value of the wrong type or out of range is ignored. Owned by the controller. Main thread.
class RecorderSettings {
public:
    /// Restores what is restored silently, and keeps every change of a property in the table from then on. To
    /// be made before anything else handles changes. The state outlives this.
    RecorderSettings(std::shared_ptr<UserDefaults> userDefaults, AudioSelection& audio,
                     CameraSelection& cameras, ScreenSelection& screen);

    /// Restores what of the screen was chosen, with the change handling running.
    void restoreScreen();

    /// What the table does with one key and its property.
    struct Row {
        std::function<void(const UserDefaults&)> restore;
        std::function<void(const std::shared_ptr<UserDefaults>&)> keep;
    };

private:
    void leaveMultiCameraRate();

    const std::shared_ptr<UserDefaults> userDefaults;
    const std::vector<Row> screenRows;
};

} // namespace vintra
