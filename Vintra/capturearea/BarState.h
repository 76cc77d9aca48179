#pragma once

#include "Vintra/capturearea/AspectPreset.h"
#include "Vintra/capturearea/CaptureModeChoice.h"
#include "Vintra/platform/Drawing.h"

#include <vector>

namespace vintra {

/// All a control bar needs in order to draw.
struct BarState {
    CaptureModeChoice mode = CaptureModeChoice::fullScreen;
    AspectPreset aspect = AspectPreset::freeform;
    int frameRate = 30;
    std::vector<int> frameRateOptions;
    bool clicksOn = false;
    bool clicksAvailable = false;
    NSColor clickColour;
    bool isRecording = false;
    bool windowsAvailable = true; ///< whether a single window can be captured
    bool operator==(const BarState&) const = default;
};

} // namespace vintra
