#pragma once

#include "Vintra/app/AppSurroundings.h"
#include "Vintra/app/ComputerAudioRows.h"
#include "Vintra/app/MicTrackRows.h"
#include "Vintra/app/Refresher.h"
#include "Vintra/app/ScreenRows.h"
#include "Vintra/app/TrackRow.h"
#include "Vintra/app/WebcamRows.h"
#include "Vintra/platform/Published.h"

#include <vector>

namespace vintra {

/// The rows of the tracks from top to bottom. Its parts say what the controls of each kind of row do. Owned by
/// `ContentView`. Main thread.
class TracksSection {
public:
    explicit TracksSection(const AppSurroundings& surroundings);

    Published<std::vector<TrackRow>> rows;

    MicTrackRows microphones;
    ScreenRows screen;
    WebcamRows webcams;
    ComputerAudioRows computerAudio;

private:
    std::vector<TrackRow> currentRows() const;

    Refresher refresher;
};

} // namespace vintra
