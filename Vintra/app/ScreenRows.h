#pragma once

#include "Vintra/app/AppSurroundings.h"
#include "Vintra/app/TrackRow.h"

#include <string>
#include <vector>

namespace vintra {

/// The title of a segment of the capture options.
std::string segmentTitle(CaptureModeChoice mode);

/// The rows of the screen and of what is captured of it, and what their controls do. In a take they do nothing. Owned
/// by `TracksSection`. Main thread.
class ScreenRows {
public:
    explicit ScreenRows(const AppSurroundings& surroundings);

    std::vector<TrackRow> rows() const;

    void setArmed(bool armed);
    void chooseDisplay(const std::string& optionID);
    /// Also of the chosen mode, which lets the user choose its region or window anew.
    void chooseMode(CaptureModeChoice mode);

private:
    const AppSurroundings surroundings;
};

} // namespace vintra
