#pragma once

#include "Vintra/audio/AudioSelection.h"
#include "Vintra/platform/CMTime.h"
#include "Vintra/platform/FileManager.h"
#include "Vintra/platform/Geometry.h"
#include "Vintra/platform/Log.h"
#include "Vintra/take/RunningTake.h"
#include "Vintra/take/TakeStatus.h"
#include "Vintra/take/TakeWarnings.h"
#include "Vintra/video/Cameras.h"
#include "Vintra/video/ScreenTrack.h"

#include <optional>
#include <string>
#include <vector>

namespace vintra {

/// Where the report of a take reads, while its tracks still exist.
struct TakeReportSources {
    const RunningTake& take;
    const Cameras& cameras;
    ScreenTrack& screenTrack;
    Log& log;
    bool capturesSystemAudio = false;
    int screenFrameRate = 30;         ///< frames a second
    std::optional<CGSize> windowSize; ///< points, of the recorded window as it is now; nothing if it has gone
    bool isSoundWithoutRealTime = false;
    std::optional<bool> volumeIsInternal{}; ///< of the output folder; nothing if it can't be read
    std::vector<std::string> routingLosses{};
};

/// What each track of the take really received. Ends the records of losses and of pictures, and leaves their
/// summaries in the status. Main thread.
TakeObservations observeTake(const TakeReportSources& sources, CMTime stopTime, TakeStatus& status);

/// What would lighten the machine's load, as a sentence; empty if nothing would.
std::string frameLossRemedy(const std::vector<RecordingCamera>& cameras, const AVAssetWriterInput* videoInput,
                            int screenFrameRate);

/// Told if a window is no longer of the size that its movie was made for. Sizes in points.
std::optional<std::string> windowSizeNote(std::optional<CGSize> before, std::optional<CGSize> after);

/// Told if what is recorded of a display is no longer of the size that its movie was made for.
std::optional<std::string> displaySizeNote(const std::optional<PictureSizeWatch::Change>& change);

} // namespace vintra
