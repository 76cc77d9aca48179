#include "Vintra/app/WindowInPicture.h"

#include "Vintra/platform/ProgramWindows.h"
#include "Vintra/platform/Screens.h"
#include "Vintra/platform/UserDefaults.h"
#include "Vintra/take/ScreenRecorderManager.h"

#include <algorithm>
#include <utility>

namespace vintra {
namespace {

bool overlap(const CGRect& a, const CGRect& b) {
    return a.minX() < b.maxX() && b.minX() < a.maxX() && a.minY() < b.maxY() && b.minY() < a.maxY();
}

} // namespace

WindowInPicture::WindowInPicture(const AppSurroundings& surroundings, ProgramWindows& windows)
    : surroundings(surroundings)
    , windows(windows)
    , refresher(*surroundings.platform.mainThread, [this] { publish(state, currentState()); }) {
    ScreenRecorderManager& recorder = surroundings.recorder;
    refresher.follow(recorder.isRecording, recorder.screenEnabled, recorder.availableDisplays,
                     recorder.selectedDisplayID, recorder.screenCaptureMode, recorder.captureRegion,
                     recorder.selectedWindowID);
    const auto follow = [this](bool) { followTake(); };
    observations = {recorder.isBusy.observe(follow), recorder.isRecording.observe(follow),
                    recorder.availableDisplays.observe([this](const auto&) { screens.reset(); })};
    refresher.note();
}

void WindowInPicture::setWindowFrame(const std::optional<CGRect>& frame) {
    windowFrame = frame;
    refresher.note();
}

void WindowInPicture::setMinimizes(bool minimizes) {
    surroundings.platform.userDefaults->set(kMinimizesKey, minimizes);
    publish(state, currentState());
}

WindowInPicture::State WindowInPicture::currentState() {
    return {.isInPicture = !*surroundings.recorder.isRecording && isInPicture(),
            .minimizes = boolForKey(*surroundings.platform.userDefaults, kMinimizesKey).value_or(false)};
}

bool WindowInPicture::isInPicture() {
    const auto recorded = recordedFrame();
    return recorded && (!windowFrame || overlap(*recorded, *windowFrame));
}

/// In points on the desktop; nothing if the screen isn't recorded, or one window of it by itself.
std::optional<CGRect> WindowInPicture::recordedFrame() {
    const ScreenRecorderManager& recorder = surroundings.recorder;
    const CaptureModeChoice mode = recorder.effectiveCaptureMode();
    if (!*recorder.screenEnabled || mode == CaptureModeChoice::window) return std::nullopt;
    const bool isRegion = mode == CaptureModeChoice::region;
    const auto display = recorder.effectiveDisplay();
    if (!isRegion && !display) return std::nullopt;
    const uint32_t number = isRegion ? (*recorder.captureRegion)->displayID : display->id;
    if (!screens) screens = surroundings.platform.screens->screens();
    const auto screen = std::ranges::find(*screens, number, &NSScreen::screenNumber);
    if (screen == screens->end()) return std::nullopt;
    if (!isRegion) return screen->frame;
    const CGRect& region = (*recorder.captureRegion)->rect;
    return CGRect{{screen->frame.minX() + region.minX(), screen->frame.minY() + region.minY()}, region.size};
}

/// Before the first picture, and until the files are whole or the start has failed.
void WindowInPicture::followTake() {
    const ScreenRecorderManager& recorder = surroundings.recorder;
    const bool isNow = *recorder.isBusy || *recorder.isRecording;
    if (std::exchange(isUnderWay, isNow) == isNow) return;
    if (!isNow) {
        if (std::exchange(isPutAway, false)) windows.bringMainWindowToFront();
    } else if (currentState().minimizes && isInPicture()) {
        isPutAway = windows.putMainWindowAway();
    }
}

} // namespace vintra
