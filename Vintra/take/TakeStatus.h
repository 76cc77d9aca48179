#pragma once

#include "Vintra/platform/CMTime.h"
#include "Vintra/platform/Published.h"
#include "Vintra/platform/WallClock.h"

#include <optional>
#include <string>
#include <vector>

namespace vintra {

/// How the recorder stands, and what its last take left to tell. Part of the controller's state. Main thread.
struct TakeStatus {
    Published<bool> isRecording{false};
    Published<bool> isBusy{false}; ///< a start or a stop is in progress; both refuse to run while it is set
    Published<std::optional<Date>> recordingStartDate;
    Published<std::string> statusMessage{"Ready"};
    Published<std::optional<std::string>> lastError;
    Published<bool> activeMicTrack{false};
    Published<bool> activeDawTrack{false};
    Published<bool> activeWebcamTrack{false};
    /// What became of takes that a crash had cut off, sentences; nothing if there were none.
    Published<std::optional<std::string>> recoveryNote;
    Published<bool> isRecoveryOver{false};
    Published<int> markerCount{0};
    Published<bool> markerJustAdded{false};                   ///< for the marker's flash
    Published<std::optional<std::string>> pendingCrashReport; ///< of the run before
    Published<bool> crashReportCopied{false};

    /// Host time that is zero of the running or last take; nothing before the first.
    std::optional<CMTime> recordingCommonStartTime;

    // For the diagnostics: the screen's beat, its losses, each camera, how its movies are encoded.

    std::string lastScreenBeatSummary;
    std::optional<std::string> lastScreenDropSummary;
    std::vector<std::string> lastCameraTakeSummary;
    std::string lastEncoderSummary;
    std::vector<std::string> lastTakeSync; ///< how each file lies in time, a line each
};

} // namespace vintra
