#include "tools/vintra/overlays/ProgramOverlays.h"

#include "Vintra/capturearea/ScreenOverlays.h"
#include "Vintra/platform/ProcessInfo.h"
#include "Vintra/platform/linux/LinuxPlatform.h"
#include "Vintra/take/ScreenRecorderManager.h"

#include <utility>

namespace vintra {

ProgramOverlays::ProgramOverlays(LinuxPlatform& machine, EventLoop& eventLoop)
    : services(machine.makeOverlays(eventLoop, painter)) {
    if (!services.windows) return;
    Platform& platform = machine.services;
    overlays = std::make_shared<ScreenOverlays>(
        ScreenOverlays::Services{.windows = *services.windows,
                                 .monitors = *services.monitors,
                                 .ownWindows = *services.ownWindows,
                                 .windowList = *platform.windowList,
                                 .screens = *platform.screens,
                                 .dispatchQueues = *platform.dispatchQueues,
                                 .mainThread = *platform.mainThread,
                                 .hostClock = *platform.hostClock,
                                 .ownProcess = platform.processInfo->processIdentifier(),
                                 .words = platform.words,
                                 .showColorPanel = [this](NSColor color, std::function<void(NSColor)> told) {
                                     colourPanel.show(color, std::move(told));
                                 }});
    platform.captureOverlayWindows = overlays;
}

ProgramOverlays::~ProgramOverlays() = default;

void ProgramOverlays::attach(ScreenRecorderManager& recorder) {
    if (!overlays) return;
    overlays->attach(
        {.selection = recorder,
         .isRecording = recorder.isRecording,
         .currentBarState = [&recorder] { return recorder.currentBarState(); },
         .selectedWindowRegion = [&recorder] { return recorder.selectedWindowRegion(); },
         .chooseCaptureMode = [&recorder](CaptureModeChoice mode) { recorder.chooseCaptureMode(mode); },
         .onError = [&recorder](const std::string& sentence) { recorder.lastError.set(sentence); }});
}

void ProgramOverlays::detach() {
    colourPanel.close();
    if (overlays) overlays->detach();
}

} // namespace vintra
