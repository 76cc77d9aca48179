#pragma once

#include "Vintra/audio/AudioPreviews.h"
#include "Vintra/platform/AudioHardware.h"
#include "Vintra/platform/MainThreadTasks.h"
#include "Vintra/platform/MainThreadTimer.h"
#include "Vintra/platform/Platform.h"
#include "Vintra/platform/Published.h"
#include "Vintra/platform/Task.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace vintra {

class RunningTake;

/// The machine's sound service may end and begin anew, as for an update of the system. Nothing that the user has
/// chosen is forgotten for that: its devices come back one after another, and sessions and routing with them.
///
///     running --ends--> away --begins--> settling --10 s--> running
///
/// While it settles, what has come back is taken up again each second. Afterwards what hasn't has gone for good. In
/// a take one sentence says which tracks have stopped; the take's own sessions go on when they can, and what they
/// missed is silent.
///
/// Owned by the device inventory. Main thread.
class SoundServiceWatch {
public:
    /// All outlive this.
    struct Surroundings {
        const Platform& platform;
        AudioPreviews& previews;
        const Published<bool>& isRecording;
        const std::unique_ptr<RunningTake>& take; ///< null between takes
        Published<std::optional<std::string>>& lastError;
    };

    explicit SoundServiceWatch(const Surroundings& surroundings);

    /// Follows the service from now on. The block is called each time when it has settled.
    void observe(std::function<void()> settled);
    bool isAway();
    /// Whether a device that is missing may still come back by itself.
    bool isUnsettled();

private:
    void look();
    void tellOfEnd();
    void settle();
    Task<> restore(bool isLastTry);

    const Surroundings surroundings;
    bool runs = true; ///< when it was looked at last
    int secondsToSettle = 0;
    bool isRestoring = false;
    std::function<void()> hasSettled;
    std::unique_ptr<AudioPropertyListener> listener;
    std::unique_ptr<MainThreadTimer> timer;
    MainThreadTasks tasks;
};

} // namespace vintra
