#pragma once

#include "Vintra/audio/SoundAccount.h"
#include "Vintra/platform/CMTime.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vintra {

/// What was seen of a take at its stop, once every file is closed. A value.
struct TakeObservations {
    struct Sound {
        std::string name;                       ///< as the user is to read it
        std::optional<CMTime> firstSamplePTS{}; ///< nothing if no buffer came
        std::optional<CMTime> lastSamplePTS{};
        bool sawSignal = false;
        SoundAccount account{};
    };

    /// The mic's track, the second one, then those of extra inputs.
    std::vector<Sound> sounds;
    std::optional<CMTime> lastScreenFrameTime;

    bool screenWithoutVideo = false;
    bool webcamWithoutVideo = false; ///< the first camera
    std::vector<std::string> extraCamerasWithoutVideo;
    /// A sentence for each camera whose picture stood still or stopped.
    std::vector<std::string> pictureStalls;
    /// What has become of the computer's sound on its way to the take and to the user, a sentence each.
    std::vector<std::string> routingLosses;
    std::optional<std::string> windowNote;   ///< the window, or the display, changed its size
    std::optional<std::string> captureNote;  ///< what went wrong when the capture was to end
    std::optional<std::string> timelineNote; ///< why there is no timeline file

    std::optional<std::string> movedNote; ///< where files lie that were moved meanwhile
    bool isSoundWithoutRealTime = false;  ///< the system refused the sound threads real-time rights
    int64_t droppedAudioBuffers = 0;
    int64_t droppedScreenFrames = 0;
    int64_t droppedWebcamFrames = 0; ///< of all cameras
    std::string frameLossRemedy;
    std::optional<bool> volumeIsInternal; ///< of the output folder; nothing if it can't be read
};

/// The warnings of a take in the order in which the user reads them; none for a take without flaw.
std::vector<std::string> takeWarnings(const TakeObservations& seen);

} // namespace vintra
