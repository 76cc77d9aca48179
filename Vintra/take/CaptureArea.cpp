#include "Vintra/take/CaptureArea.h"

#include "Vintra/capturearea/RegionGeometry.h"
#include "Vintra/platform/ProcessInfo.h"
#include "Vintra/platform/UserDefaults.h"
#include "Vintra/platform/WindowList.h"
#include "Vintra/video/CappedCaptureSize.h"

#include <algorithm>

namespace vintra {
namespace {

constexpr double kScaleWithoutScreen = 2.0; // pixels a point of a display that no screen matches

/// Of 0xRRGGBB.
NSColor colourOf(uint32_t hex) {
    const auto part = [hex](int shift) { return static_cast<double>(hex >> shift & 0xff) / 255; };
    return {part(16), part(8), part(0), 1};
}

std::string sizeText(CMVideoDimensions size) {
    return std::to_string(size.width) + "×" + std::to_string(size.height);
}

} // namespace

CaptureArea::CaptureArea(const Surroundings& surroundings)
    : platform(surroundings.platform)
    , selection(surroundings.selection)
    , overlays(surroundings.overlays)
    , isRecording(surroundings.isRecording) {
    selection.aspectPreset.onChange([this](AspectPreset) {
        reshapeRegionToAspect();
        overlays.syncRegionGuide();
    });
}

std::optional<NSScreen> CaptureArea::screenWithNumber(uint32_t number) const {
    const auto screens = platform.screens->screens();
    const auto found = std::ranges::find(screens, number, &NSScreen::screenNumber);
    return found == screens.end() ? std::nullopt : std::optional(*found);
}

double CaptureArea::backingScale(uint32_t displayID) const {
    const auto screen = screenWithNumber(displayID);
    return screen ? screen->backingScaleFactor : kScaleWithoutScreen;
}

CMVideoDimensions CaptureArea::cappedSize(int width, int height) const {
    const bool native = boolForKey(*platform.userDefaults, "screenCaptureNativeResolution").value_or(false);
    return cappedCaptureSize(width, height, native);
}

std::string CaptureArea::captureAreaLabel() const {
    if (*selection.screenCaptureMode == CaptureModeChoice::window) {
        return *selection.selectedWindowID ? "Window · " + selection.selectedWindowTitle->value_or("")
                                           : "Window · none chosen";
    }
    if (selection.effectiveCaptureMode() == CaptureModeChoice::region) {
        const CaptureRegion& region = **selection.captureRegion;
        const auto pixels = region.pixelSize(backingScale(region.displayID), *selection.aspectPreset);
        const std::string label = "Area · " + sizeText(cappedSize(pixels.width, pixels.height));
        return *selection.aspectPreset == AspectPreset::freeform
                   ? label
                   : label + " · " + barLabel(*selection.aspectPreset);
    }
    const auto display = selection.effectiveDisplay();
    if (!display) return "No display";
    const std::string size = sizeText(cappedSize(display->width, display->height));
    return selection.availableDisplays->size() < 2 ? display->name + " · " + size : size;
}

BarState CaptureArea::currentBarState() const {
    return {.mode = *selection.screenCaptureMode,
            .aspect = *selection.aspectPreset,
            .frameRate = *selection.screenFrameRate,
            .frameRateOptions = {24, 30, 60},
            .clicksOn = *selection.showMouseClicks,
            .clicksAvailable =
                *selection.screenCaptureMode != CaptureModeChoice::window && overlays.canShowClicks(),
            .clickColour = colourOf(*selection.clickRippleColor),
            .isRecording = *isRecording};
}

void CaptureArea::chooseCaptureMode(CaptureModeChoice mode) {
    const bool wasRegion = *selection.screenCaptureMode == CaptureModeChoice::region;
    selection.screenCaptureMode.set(mode);
    switch (mode) {
    case CaptureModeChoice::window:
        selection.regionGuideVisible.set(true);
        overlays.syncRegionGuide();
        overlays.beginWindowSelection();
        return;
    case CaptureModeChoice::region:
        if (!*selection.captureRegion || wasRegion) {
            overlays.beginRegionSelection();
            return;
        }
        break;
    case CaptureModeChoice::fullScreen:
        break;
    }
    selection.regionGuideVisible.set(true);
    overlays.syncRegionGuide();
}

void CaptureArea::reshapeRegionToAspect() {
    if (!*selection.captureRegion) return;
    CaptureRegion region = **selection.captureRegion;
    const auto screen = screenWithNumber(region.displayID);
    if (!screen) return;
    region.rect = reshaped(region.rect, *selection.aspectPreset, screen->frame.size);
    selection.captureRegion.set(region);
}

std::vector<PickableWindow> CaptureArea::pickableWindows() const {
    return vintra::pickableWindows(platform.windowList->onScreenWindowsExcludingDesktopElements(),
                                   platform.processInfo->processIdentifier());
}

std::optional<CaptureRegion> CaptureArea::selectedWindowRegion() const {
    if (!*selection.selectedWindowID) return std::nullopt;
    const auto window = platform.windowList->window(**selection.selectedWindowID);
    if (!window || !window->bounds) return std::nullopt;
    return regionOnScreens(*window->bounds, platform.screens->screens());
}

} // namespace vintra
