#include "Vintra/app/AppCommands.h"

#include "Vintra/app/UpdaterState.h"
#include "Vintra/take/ScreenRecorderManager.h"

namespace vintra {

AppCommands::AppCommands(MainThread& mainThread, ScreenRecorderManager& recorder, UpdaterState& updaterState)
    : recorder(recorder)
    , updaterState(updaterState)
    , refresher(mainThread, [this] { refresh(); }) {
    refresher.follow(recorder.isRecording, updaterState.canCheck);
    refresh();
}

void AppCommands::refresh() {
    publish(canCheckForUpdates, *updaterState.canCheck);
    publish(canRemove, !*recorder.isRecording);
}

} // namespace vintra
