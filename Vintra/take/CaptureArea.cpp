#include "Vintra/take/CaptureArea.h"

#include "Vintra/capturearea/RegionGeometry.h"
#include "Vintra/platform/ProcessInfo.h"
#include "Vintra/platform/UserDefaults.h"
#include "Vintra/platform/WindowList.h"
#include "Vintra/take/RecordingError.h"
#include "Vintra/take/Words.h"
#include "Vintra/video/CappedCaptureSize.h"

#include <algorithm>
#include <utility>

namespace vintra {
namespace {

constexpr const char* kWindowOfDesktop = "chosen on the desktop"; // as no program is told its title
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
    , isRecording(surroundings.isRecording)
    , lastError(surroundings.lastError)
    , tasks(*platform.mainThread) {
    const auto noteOffer = [this] { selection.windowOffer.set(platform.windowQuestion->offer()); };
    noteOffer();
    windowOfferChanges = platform.windowQuestion->observeOffer(noteOffer);
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

std::string CaptureArea::captureLimits() const {
    std::vector<std::string> missing;
    if (*selection.windowOffer == WindowQuestion::Offer::refused)
        missing.emplace_back("recording a single window");
    if (!overlays.canShowGuide()) missing.emplace_back("a frame around the area");
    if (!overlays.canShowClicks()) missing.emplace_back("showing clicks");
    return missing.empty() ? "" : "Not possible on this desktop: " + naturalList(missing, "and") + ".";
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
            .isRecording = *isRecording,
            .windowsAvailable = *selection.windowOffer != WindowQuestion::Offer::refused};
}

void CaptureArea::chooseCaptureMode(CaptureModeChoice mode) {
    const auto offered = selection.offeredModes();
    if (std::ranges::find(offered, mode) == offered.end()) return;
    const bool wasRegion = *selection.screenCaptureMode == CaptureModeChoice::region;
    selection.screenCaptureMode.set(mode);
    switch (mode) {
    case CaptureModeChoice::window:
        selection.regionGuideVisible.set(true);
        overlays.syncRegionGuide();
        beginWindowSelection();
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

void CaptureArea::beginWindowSelection() {
    if (*selection.windowOffer == WindowQuestion::Offer::needless) {
        overlays.beginWindowSelection();
    } else {
        tasks.start(askForWindow());
    }
}

Task<> CaptureArea::askForWindow() {
    if (*isRecording || *selection.isAskingForWindow) co_return;
    const WindowQuestion::Answer answer = co_await answerOfDesktop(WindowQuestion::Wish::another);
    if (answer.error) lastError.set(answer.error->localizedDescription());
}

Task<WindowQuestion::Answer> CaptureArea::answerOfDesktop(WindowQuestion::Wish wish) {
    selection.isAskingForWindow.set(true);
    const int number = ++questions; // a later one ends this one
    const auto ask = [question = platform.windowQuestion, wish](auto done) { question->ask(wish, done); };
    WindowQuestion::Answer answer =
        co_await awaitCompletion<WindowQuestion::Answer>(*platform.mainThread, ask);
    if (number == questions) selection.isAskingForWindow.set(false);
    if (answer.window) {
        selection.selectedWindowTitle.set(kWindowOfDesktop);
        selection.selectedWindowID.set(answer.window->windowID);
    }
    co_return answer;
}

Task<SCWindow> CaptureArea::sharedWindow() {
    const WindowQuestion::Answer answer = co_await answerOfDesktop(WindowQuestion::Wish::same);
    if (answer.error) throw *answer.error;
    if (!answer.window) throw RecordingError::windowUnavailable();
    co_return *answer.window;
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
