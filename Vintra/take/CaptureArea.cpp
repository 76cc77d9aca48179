// What of the screen is chosen: as rule, as words, and as the control bar shows and changes it.

#include "Vintra/capturearea/RegionGeometry.h"
#include "Vintra/platform/ProcessInfo.h"
#include "Vintra/platform/WindowList.h"
#include "Vintra/take/ScreenRecorderManager.h"

#include <algorithm>

namespace vintra {
namespace {

/// Of 0xRRGGBB.
NSColor colourOf(uint32_t hex) {
    const auto part = [hex](int shift) { return static_cast<double>(hex >> shift & 0xff) / 255; };
    return {part(16), part(8), part(0), 1};
}

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
        const auto pixels = region.pixelSize(backingScale(region.displayID), *aspectPreset);
        const std::string label = "Area · " + sizeText(cappedSize(pixels.width, pixels.height));
        return *aspectPreset == AspectPreset::freeform ? label : label + " · " + barLabel(*aspectPreset);
    }
    const auto display = effectiveDisplay();
    if (!display) return "No display";
    const std::string size = sizeText(cappedSize(display->width, display->height));
    return availableDisplays->size() < 2 ? display->name + " · " + size : size;
}

BarState ScreenRecorderManager::currentBarState() const {
    return {.mode = *screenCaptureMode,
            .aspect = *aspectPreset,
            .frameRate = *screenFrameRate,
            .frameRateOptions = {24, 30, 60},
            .clicksOn = *showMouseClicks,
            .clicksAvailable = *screenCaptureMode != CaptureModeChoice::window,
            .clickColour = colourOf(*clickRippleColor),
            .isRecording = *isRecording};
}

/// Choosing the region mode again draws a new region.
void ScreenRecorderManager::chooseCaptureMode(CaptureModeChoice mode) {
    const bool wasRegion = *screenCaptureMode == CaptureModeChoice::region;
    screenCaptureMode.set(mode);
    switch (mode) {
    case CaptureModeChoice::window:
        regionGuideVisible.set(true);
        syncRegionGuide();
        beginWindowSelection();
        return;
    case CaptureModeChoice::region:
        if (!*captureRegion || wasRegion) {
            beginRegionSelection();
            return;
        }
        break;
    case CaptureModeChoice::fullScreen:
        break;
    }
    regionGuideVisible.set(true);
    syncRegionGuide();
}

void ScreenRecorderManager::reshapeRegionToAspect() {
    if (!*captureRegion) return;
    CaptureRegion region = **captureRegion;
    const auto screen = screenWithNumber(region.displayID);
    if (!screen) return;
    region.rect = reshaped(region.rect, *aspectPreset, screen->frame.size);
    captureRegion.set(region);
}

std::vector<PickableWindow> ScreenRecorderManager::pickableWindows() const {
    return vintra::pickableWindows(platform.windowList->onScreenWindowsExcludingDesktopElements(),
                                   platform.processInfo->processIdentifier());
}

std::optional<CaptureRegion> ScreenRecorderManager::selectedWindowRegion() const {
    if (!*selectedWindowID) return std::nullopt;
    const auto window = platform.windowList->window(**selectedWindowID);
    if (!window || !window->bounds) return std::nullopt;
    return regionOnScreens(*window->bounds, platform.screens->screens());
}

} // namespace vintra
