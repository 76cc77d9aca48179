#include "Vintra/app/MarkerShortcut.h"

#include "Vintra/app/Refresher.h"
#include "Vintra/take/ScreenRecorderManager.h"

namespace vintra {
namespace {

constexpr const char* kInstead =
    "To set a marker while you record, give the command “vintra --marker” a key in the "
    "desktop's keyboard settings.";

} // namespace

MarkerShortcut::MarkerShortcut(const AppSurroundings& surroundings, GlobalHotKeys& hotKeys)
    : surroundings(surroundings)
    , hotKeys(hotKeys)
    , observation(surroundings.recorder.isRecording.observe([this](bool) { followTake(); }))
    , problems(hotKeys.problem.observe([this](const std::string&) { describe(); }))
    , choices(hotKeys.chosenKeys.observe([this](const std::string&) { describe(); })) {
    followTake();
    describe();
}

void MarkerShortcut::followTake() {
    if (!*surroundings.recorder.isRecording) {
        markerShortcut = nullptr;
    } else if (!markerShortcut) {
        markerShortcut = hotKeys.makeHotKey(kKeys, "Set a marker in the recording",
                                            [&recorder = surroundings.recorder] { recorder.addMarker(); });
    }
}

void MarkerShortcut::describe() {
    const std::string& problem = *hotKeys.problem;
    publish(note, problem.empty() ? help() : problem + " " + kInstead);
}

/// A desktop may have given other keys than those that were asked for.
std::string MarkerShortcut::help() const {
    const std::string& chosen = *hotKeys.chosenKeys;
    if (chosen.empty() || chosen == kKeys.title()) return usualHelp();
    return "To set a marker in the timeline while you record: " + chosen + ".";
}

std::string MarkerShortcut::usualHelp() {
    return "Press " + kKeys.title() + " while you record to set a marker in the timeline.";
}

} // namespace vintra
