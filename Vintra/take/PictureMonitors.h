#pragma once

#include "Vintra/platform/Platform.h"
#include "Vintra/platform/Published.h"
#include "Vintra/take/RunningTake.h"
#include "Vintra/video/Cameras.h"
#include "Vintra/video/ScreenTrack.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace vintra {

/// Tells during a take, in plain words, that a camera's picture stands still or has gone, that what is recorded of the
/// screen has gone for a while, and that frames are being lost again and again. Each camera once a take, the screen and
/// the losses once a take.
///
/// Owned by the controller, which calls `check` every 2 seconds for as long as it lives. Main thread.
class PictureMonitors {
public:
    /// All outlive this.
    struct Surroundings {
        const Platform& platform;
        const Cameras& cameras;
        const ScreenTrack& screenTrack;
        const std::unique_ptr<RunningTake>& take; ///< null between takes
        const Published<bool>& isRecording;
        const Published<int>& screenFrameRate; ///< frames a second
        Published<std::optional<std::string>>& lastError;
    };

    explicit PictureMonitors(const Surroundings& surroundings);

    /// Forgets the take before, at a start.
    void begin();
    /// The pictures of the cameras, then the screen, then the losses.
    void check();

private:
    struct Loss {
        std::string label;
        int64_t lost = 0;
    };

    void checkCameraPictures();
    void checkScreen();
    void checkFrameLoss();
    /// What each source of pictures has lost since the check before.
    std::vector<Loss> newLosses();
    void tellFrameLoss(const std::vector<Loss>& latest, int64_t sum);
    /// Adds a sentence to what the user is being told already.
    void addToLastError(const std::string& message);

    const Surroundings surroundings;
    std::deque<std::vector<Loss>> recentFrameLoss;   ///< of the last checks, oldest first
    std::map<std::string, int64_t> frameLossCounted; ///< by label, totals at the last check
    bool reportedFrameLoss = false;
    bool reportedScreenGone = false;
};

} // namespace vintra
