#include "Vintra/capturearea/ScreenOverlays.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace vintra {
namespace {

constexpr int64_t kWindowFrameNanoseconds = 500'000'000;
/// A window that is dragged moves many times a second.
constexpr int64_t kOwnWindowsNanoseconds = 250'000'000;

bool overlapsPicture(const CGRect& a, const CGRect& b) {
    return a.minX() < b.maxX() && b.minX() < a.maxX() && a.minY() < b.maxY() && b.minY() < a.maxY();
}

/// 0xRRGGBB.
uint32_t hexOf(const NSColor& color) {
    const auto part = [](double value) {
        return static_cast<uint32_t>(std::lround(std::clamp(value, 0.0, 1.0) * 255));
    };
    return part(color.red) << 16 | part(color.green) << 8 | part(color.blue);
}

} // namespace

ScreenOverlays::ScreenOverlays(const Services& services)
    : services(services)
    , regionSelect(services.windows)
    , regionGuide({.windows = services.windows,
                   .monitors = services.monitors,
                   .ownWindows = services.ownWindows,
                   .computer = services.words.computer})
    , windowPicker({.windows = services.windows,
                    .monitors = services.monitors,
                    .ownWindows = services.ownWindows,
                    .windowList = services.windowList,
                    .ownProcess = services.ownProcess})
    , clickHighlight(
          {.windows = services.windows,
           .monitors = services.monitors,
           .dispatchQueues = services.dispatchQueues,
           .mainThread = services.mainThread,
           .hostClock = services.hostClock,
           .color = [this] { return recorder ? recorder->currentBarState().clickColour : NSColor(); },
           .onNotTrusted =
               [this] {
                   if (recorder) recorder->onError(this->services.words.clicksNotTold);
               }}) {
    connectCallbacks();
}

void ScreenOverlays::attach(Recorder newRecorder) {
    recorder.emplace(std::move(newRecorder));
    screenChanges = services.screens.observeChanges([this] { syncRegionGuide(); });
    screenTrackChanges = recorder->selection.screenEnabled.observe([this](bool) { noteOwnWindows(); });
    ownWindowChanges = services.ownWindows.observeChanges([this] { noteOwnWindowsSoon(); });
    syncRegionGuide();
}

void ScreenOverlays::detach() {
    recorder.reset();
    isTakeStarting = false;
    callAfterShown();
    screenChanges.reset();
    ownWindowChanges.reset();
    screenTrackChanges.reset();
    ownWindowsSettle.reset();
    windowFrameTimer.reset();
    regionSelect.finish(std::nullopt);
    windowPicker.dismiss();
    regionGuide.hide();
    clickHighlight.teardown();
    highlightScreen.reset();
}

/// They are called only while an overlay is open, and none is without a recorder.
BarCallbacks ScreenOverlays::barCallbacks() {
    return {.onModeChange = [this](CaptureModeChoice mode) { recorder->chooseCaptureMode(mode); },
            .onAspectPicked = [this](AspectPreset aspect) { recorder->selection.aspectPreset.set(aspect); },
            .onFrameRatePicked = [this](int rate) { recorder->selection.screenFrameRate.set(rate); },
            .onClicksToggled =
                [this] { recorder->selection.showMouseClicks.set(!*recorder->selection.showMouseClicks); },
            .onClickColourRequested = [this] { presentClickColourPanel(); },
            .onDone =
                [this] {
                    recorder->selection.regionGuideVisible.set(false);
                    syncRegionGuide();
                }};
}

void ScreenOverlays::connectCallbacks() {
    regionSelect.onBar = windowPicker.onBar = regionGuide.onBar = barCallbacks();
    regionSelect.onAspectChange = [this](AspectPreset aspect) {
        recorder->selection.aspectPreset.set(aspect);
    };
    regionGuide.onRegionChanged = [this](CGRect rect) {
        const auto& region = *recorder->selection.captureRegion;
        if (region) recorder->selection.captureRegion.set(CaptureRegion{region->displayID, rect});
    };
}

void ScreenOverlays::syncRegionGuide() {
    if (!recorder) return;
    if (*recorder->isRecording) isTakeStarting = false;
    showWhatIsToBe();
    noteOwnWindows();
}

void ScreenOverlays::showWhatIsToBe() {
    const BarState state = barState();
    windowPicker.refresh(state);
    regionSelect.refresh(state);
    closePickersOutOfPlace();
    if (clickScreen() != highlightScreen) syncClickHighlight();
    if (!*recorder->selection.regionGuideVisible) {
        regionGuide.hide();
        windowFrameTimer.reset();
        windowPicker.dismiss();
        return;
    }
    if (regionSelect.isOpen() || windowPicker.isOpen()) return; // the guide would lie below
    if (*recorder->selection.isAskingForWindow && !isInTake()) {
        regionGuide.hide(); // it would lie over the desktop's question
        windowFrameTimer.reset();
        return;
    }
    showGuide(state);
}

void ScreenOverlays::noteOwnWindowsSoon() {
    if (ownWindowsSettle) return;
    ownWindowsSettle = std::make_unique<MainThreadTimer>(services.dispatchQueues, services.mainThread,
                                                         kOwnWindowsNanoseconds, [this] {
                                                             ownWindowsSettle.reset();
                                                             noteOwnWindows();
                                                         });
}

void ScreenOverlays::noteOwnWindows() {
    if (!recorder) return;
    const auto captured = isInTake() ? std::nullopt : capturedPart();
    bool isInPicture = false;
    if (captured && services.windows.areCaptured()) {
        isInPicture = std::ranges::any_of(services.ownWindows.windows(), [&](const OwnWindows::Window& each) {
            return each.isVisible && !each.isPanel && overlapsPicture(each.frame, *captured);
        });
    }
    if (isInPicture != *recorder->selection.isOwnWindowInPicture)
        recorder->selection.isOwnWindowInPicture.set(isInPicture);
}

std::optional<CGRect> ScreenOverlays::capturedPart() const {
    const ScreenSelection& selection = recorder->selection;
    if (!*selection.screenEnabled || *selection.screenCaptureMode == CaptureModeChoice::window)
        return std::nullopt;
    const bool isRegion = selection.effectiveCaptureMode() == CaptureModeChoice::region;
    const auto screen =
        isRegion ? screenWithNumber((*selection.captureRegion)->displayID) : screenForEffectiveDisplay();
    if (!screen || !isRegion) return screen ? std::optional(screen->frame) : std::nullopt;
    const CGRect& rect = (*selection.captureRegion)->rect;
    return CGRect{{screen->frame.minX() + rect.minX(), screen->frame.minY() + rect.minY()}, rect.size};
}

BarState ScreenOverlays::barState() const {
    BarState state = recorder->currentBarState();
    state.isRecording = isInTake();
    return state;
}

void ScreenOverlays::takeWillStart(std::function<void()> whenShown) {
    if (!recorder) {
        whenShown();
        return;
    }
    const bool isAnyShown = regionGuide.isShown() || regionSelect.isOpen() || windowPicker.isOpen();
    isTakeStarting = true;
    syncRegionGuide();
    afterShown = std::move(whenShown);
    const int64_t delay = isAnyShown ? services.windows.nanosecondsUntilShown() : 0;
    if (delay == 0) {
        callAfterShown();
    } else {
        showing = std::make_unique<MainThreadTimer>(services.dispatchQueues, services.mainThread, delay,
                                                    [this] { callAfterShown(); });
    }
}

void ScreenOverlays::callAfterShown() {
    showing.reset();
    const auto call = std::exchange(afterShown, nullptr);
    if (call) call();
}

void ScreenOverlays::takeDidNotStart() {
    isTakeStarting = false;
    syncRegionGuide();
}

/// A picker ends with the mode that it is for, with its screen, and when a take begins.
void ScreenOverlays::closePickersOutOfPlace() {
    const CaptureModeChoice mode = *recorder->selection.screenCaptureMode;
    const bool mayStay = !isInTake() && pickerScreen && screenWithNumber(*pickerScreen);
    if (!mayStay || mode != CaptureModeChoice::region) regionSelect.finish(std::nullopt);
    if (!mayStay || mode != CaptureModeChoice::window) windowPicker.dismiss();
}

void ScreenOverlays::showGuide(const BarState& state) {
    const CaptureModeChoice mode = recorder->selection.effectiveCaptureMode();
    if (mode != CaptureModeChoice::window) windowFrameTimer.reset();
    switch (mode) {
    case CaptureModeChoice::window:
        showWindow(state);
        break;
    case CaptureModeChoice::region:
        showRegion(state);
        break;
    case CaptureModeChoice::fullScreen:
        // The bar would be in the picture of the whole display.
        if (isInTake() && services.windows.areCaptured()) {
            regionGuide.hide();
        } else {
            showBarOnly(state);
        }
        break;
    }
}

RegionGuideOverlay::Guide ScreenOverlays::guideOf(const BarState& state) const {
    return {.region = std::nullopt,
            .label = "",
            .recording = isInTake(),
            .composing = !isInTake(),
            .editable = false,
            .ratio = std::nullopt,
            .state = state};
}

void ScreenOverlays::showWindow(const BarState& state) {
    // A window that the desktop alone knows has no place.
    if (*recorder->selection.windowOffer == WindowQuestion::Offer::needless) startWindowFrameTracking();
    const auto region = recorder->selectedWindowRegion();
    const auto screen = region ? screenWithNumber(region->displayID) : std::nullopt;
    if (!screen) {
        showBarOnly(state);
        return;
    }
    RegionGuideOverlay::Guide guide = guideOf(state);
    guide.region = region->rect;
    guide.label = pixelSizeText(*region, screen->backingScaleFactor, AspectPreset::freeform) + "  ·  " +
                  recorder->selection.selectedWindowTitle->value_or("");
    regionGuide.update(*screen, guide);
}

void ScreenOverlays::showRegion(const BarState& state) {
    const CaptureRegion& region = **recorder->selection.captureRegion;
    const auto screen = screenWithNumber(region.displayID);
    if (!screen) {
        regionGuide.hide();
        return;
    }
    const AspectPreset aspect = *recorder->selection.aspectPreset;
    RegionGuideOverlay::Guide guide = guideOf(state);
    guide.region = region.rect;
    guide.label = pixelSizeText(region, screen->backingScaleFactor, aspect) + "  ·  " + barLabel(aspect);
    guide.editable = true;
    guide.ratio = aspectRatio(aspect);
    regionGuide.update(*screen, guide);
}

void ScreenOverlays::showBarOnly(const BarState& state) {
    const auto screen = screenForEffectiveDisplay();
    if (screen) {
        regionGuide.showBarOnly(*screen, state);
    } else {
        regionGuide.hide();
    }
}

void ScreenOverlays::startWindowFrameTracking() {
    if (windowFrameTimer) return;
    windowFrameTimer = std::make_unique<MainThreadTimer>(
        services.dispatchQueues, services.mainThread, kWindowFrameNanoseconds, [this] { syncRegionGuide(); });
}

void ScreenOverlays::beginRegionSelection() {
    if (!recorder) return;
    regionGuide.hide();
    windowFrameTimer.reset();
    const auto screen = screenForEffectiveDisplay();
    if (!screen) return;
    std::optional<CGRect> initial;
    const auto& region = *recorder->selection.captureRegion;
    if (region && region->displayID == screen->screenNumber) initial = region->rect;
    pickerScreen = screen->screenNumber;
    regionSelect.begin({.on = *screen,
                        .displayID = screen->screenNumber,
                        .aspect = *recorder->selection.aspectPreset,
                        .initial = initial,
                        .state = barState()},
                       [this](const std::optional<CaptureRegion>& chosen) {
                           if (recorder && chosen) {
                               recorder->selection.captureRegion.set(chosen);
                               recorder->selection.regionGuideVisible.set(true);
                           }
                           syncRegionGuide();
                       });
}

void ScreenOverlays::beginWindowSelection() {
    if (!recorder) return;
    regionGuide.hide();
    windowFrameTimer.reset();
    const auto screen = screenForEffectiveDisplay();
    if (!screen) return;
    pickerScreen = screen->screenNumber;
    windowPicker.begin(*screen, barState(), [this](const std::optional<PickableWindow>& picked) {
        if (recorder && picked) {
            recorder->selection.selectedWindowTitle.set(picked->label());
            recorder->selection.selectedWindowID.set(picked->id);
            startWindowFrameTracking();
        }
        syncRegionGuide();
    });
}

std::optional<NSScreen> ScreenOverlays::clickScreen() const {
    if (!*recorder->selection.showMouseClicks || !canShowClicks()) return std::nullopt;
    if (recorder->selection.effectiveCaptureMode() == CaptureModeChoice::window) return std::nullopt;
    return screenForEffectiveDisplay();
}

void ScreenOverlays::syncClickHighlight() {
    if (!recorder) return;
    const auto screen = clickScreen();
    if (screen) {
        placeClickHighlight(*screen);
    } else {
        const bool isAskedInVain = *recorder->selection.showMouseClicks && !canShowClicks();
        if (isAskedInVain && !std::exchange(hasToldOfClicks, true))
            recorder->onError(services.words.clicksNotTold);
        highlightScreen.reset();
        clickHighlight.teardown();
    }
}

std::optional<uint32_t> ScreenOverlays::placeClickHighlight(const NSScreen& on) {
    if (!canShowClicks()) return std::nullopt;
    highlightScreen = on;
    return clickHighlight.place(on);
}

void ScreenOverlays::presentClickColourPanel() {
    if (!services.showColorPanel) return;
    services.showColorPanel(recorder->currentBarState().clickColour, [this](const NSColor& chosen) {
        if (recorder) recorder->selection.clickRippleColor.set(hexOf(chosen));
    });
}

std::optional<NSScreen> ScreenOverlays::screenWithNumber(uint32_t number) const {
    const auto screens = services.screens.screens();
    const auto found = std::ranges::find(screens, number, &NSScreen::screenNumber);
    return found == screens.end() ? std::nullopt : std::optional(*found);
}

std::optional<NSScreen> ScreenOverlays::screenForEffectiveDisplay() const {
    const auto display = recorder->selection.effectiveDisplay();
    return display ? screenWithNumber(display->id) : std::nullopt;
}

} // namespace vintra
