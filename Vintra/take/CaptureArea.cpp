// What of the screen is chosen, as rule and as words.

#include "Vintra/take/ScreenRecorderManager.h"

#include <algorithm>

namespace vintra {
namespace {

constexpr double kScaleWithoutScreen = 2.0; // pixels a point of a display that no screen matches

std::string sizeText(CMVideoDimensions size) {
    return std::to_string(size.width) + "×" + std::to_string(size.height);
}

} // namespace

/// The chosen mode, but for a region on a display that is gone and a window mode without a window.
CaptureModeChoice ScreenRecorderManager::effectiveCaptureMode() const {
    switch (*screenCaptureMode) {
    case CaptureModeChoice::fullScreen:
        break;
    case CaptureModeChoice::region: {
        const auto& region = *captureRegion;
        const bool present = region && std::any_of(availableDisplays->begin(), availableDisplays->end(),
                                                   [&](const CaptureDisplay& display) {
                                                       return display.id == region->displayID;
                                                   });
        if (present) return CaptureModeChoice::region;
        break;
    }
    case CaptureModeChoice::window:
        if (*selectedWindowID) return CaptureModeChoice::window;
        break;
    }
    return CaptureModeChoice::fullScreen;
}

std::string ScreenRecorderManager::captureAreaLabel() const {
    if (*screenCaptureMode == CaptureModeChoice::window) {
        return *selectedWindowID ? "Window · " + selectedWindowTitle->value_or("") : "Window · none chosen";
    }
    if (effectiveCaptureMode() == CaptureModeChoice::region) {
        const CaptureRegion& region = **captureRegion;
        const auto screen = screenWithNumber(region.displayID);
        const auto pixels =
            region.pixelSize(screen ? screen->backingScaleFactor : kScaleWithoutScreen, *aspectPreset);
        const std::string label = "Area · " + sizeText(cappedSize(pixels.width, pixels.height));
        return *aspectPreset == AspectPreset::freeform ? label : label + " · " + barLabel(*aspectPreset);
    }
    const auto display = effectiveDisplay();
    if (!display) return "No display";
    const std::string size = sizeText(cappedSize(display->width, display->height));
    return availableDisplays->size() < 2 ? display->name + " · " + size : size;
}

} // namespace vintra
