#include "Vintra/app/ScreenRows.h"

#include "Vintra/take/ScreenRecorderManager.h"

#include <algorithm>

namespace vintra {

std::string segmentTitle(CaptureModeChoice mode) {
    switch (mode) {
    case CaptureModeChoice::fullScreen:
        return "Full screen";
    case CaptureModeChoice::region:
        return "Selected area";
    case CaptureModeChoice::window:
        return "Window";
    }
    return "";
}

ScreenRows::ScreenRows(const AppSurroundings& surroundings)
    : surroundings(surroundings) {}

std::vector<TrackRow> ScreenRows::rows() const {
    const ScreenRecorderManager& recorder = surroundings.recorder;
    const bool isLocked = *recorder.isRecording;
    std::vector<TrackRow> rows{{"screen", ScreenRow{.isArmed = *recorder.screenEnabled,
                                                    .summary = recorder.captureAreaLabel(),
                                                    .disabled = isLocked}}};
    if (!*recorder.screenEnabled) return rows;
    CaptureAreaRow area{.mode = *recorder.screenCaptureMode,
                        .modes = recorder.offeredModes(),
                        .limits = recorder.captureLimits(),
                        .disabled = isLocked};
    for (const CaptureDisplay& display : *recorder.availableDisplays)
        area.displays.options.push_back({std::to_string(display.id), display.name});
    if (const auto display = recorder.effectiveDisplay()) {
        area.displays.selectedID = std::to_string(display->id);
    } else {
        area.displays = {.options = {{"", "No display"}}, .isEnabled = false};
    }
    rows.push_back({"captureArea", std::move(area)});
    return rows;
}

void ScreenRows::setArmed(bool armed) {
    if (!*surroundings.recorder.isRecording) surroundings.recorder.screenEnabled.set(armed);
}

void ScreenRows::chooseDisplay(const std::string& optionID) {
    if (*surroundings.recorder.isRecording) return;
    const auto& displays = *surroundings.recorder.availableDisplays;
    const auto chosen = std::ranges::find_if(
        displays, [&](const CaptureDisplay& display) { return std::to_string(display.id) == optionID; });
    if (chosen != displays.end()) surroundings.recorder.selectedDisplayID.set(chosen->id);
}

void ScreenRows::chooseMode(CaptureModeChoice mode) {
    if (!*surroundings.recorder.isRecording) surroundings.recorder.chooseCaptureMode(mode);
}

} // namespace vintra
