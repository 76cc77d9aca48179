#include "Vintra/app/MarkerShortcut.h"

#include "Vintra/take/ScreenRecorderManager.h"

namespace vintra {

MarkerShortcut::MarkerShortcut(const AppSurroundings& surroundings, GlobalHotKeys& hotKeys)
    : surroundings(surroundings)
    , hotKeys(hotKeys)
    , observation(surroundings.recorder.isRecording.observe([this](bool) { followTake(); })) {
    followTake();
}

void MarkerShortcut::followTake() {
    if (!*surroundings.recorder.isRecording) {
        markerShortcut = nullptr;
    } else if (!markerShortcut) {
        markerShortcut = hotKeys.makeHotKey(kKeys, "Set a marker in the recording",
                                            [&recorder = surroundings.recorder] { recorder.addMarker(); });
    }
}

std::string MarkerShortcut::help() {
    return "Press " + kKeys.title() + " while you record to set a marker in the timeline.";
}

} // namespace vintra
