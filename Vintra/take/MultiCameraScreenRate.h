#pragma once

#include "Vintra/capturearea/ScreenSelection.h"
#include "Vintra/platform/Published.h"
#include "Vintra/platform/UserDefaults.h"
#include "Vintra/video/CameraSelection.h"

#include <memory>
#include <variant>

namespace vintra {

/// Lowers the screen's frame rate to 30 when a second camera is armed, and puts it back when fewer than two are.
/// A rate that the user sets by hand meanwhile is kept.
///
///     idle --two armed, above 30--> switched --fewer than two: the rate comes back--> idle
///      |                               |
///      +---------set by hand-----------+--> overridden --fewer than two--> idle
///
/// Owned by the controller. Main thread.
class MultiCameraScreenRate {
public:
    struct Idle {
        bool operator==(const Idle&) const = default;
    };
    struct Switched {
        int from = 60; ///< frames a second
        bool operator==(const Switched&) const = default;
    };
    struct Overridden {
        bool operator==(const Overridden&) const = default;
    };
    using State = std::variant<Idle, Switched, Overridden>;

    /// Follows the selections from now on; they and `isRecording` outlive this.
    MultiCameraScreenRate(std::shared_ptr<UserDefaults> userDefaults, CameraSelection& cameras,
                          ScreenSelection& screen, const Published<bool>& isRecording);

    /// Brings the rate in line with the cameras that are armed. Does nothing in a take: to be called after it.
    void reconcile();
    const State& state() const { return multiCameraScreenRate; }

private:
    void screenFrameRateChanged();
    void setAutomatically(int rate);
    void lowerRate();
    void putRateBack();

    const std::shared_ptr<UserDefaults> userDefaults;
    CameraSelection& cameras;
    ScreenSelection& screen;
    const Published<bool>& isRecording;
    State multiCameraScreenRate;
    bool settingScreenRateAutomatically = false;
};

} // namespace vintra
