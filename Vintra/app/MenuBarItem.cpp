#include "Vintra/app/MenuBarItem.h"

#include "Vintra/app/UpdateNotice.h"
#include "Vintra/take/ScreenRecorderManager.h"

#include <utility>

namespace vintra {

MenuBarItem::MenuBarItem(const AppSurroundings& surroundings, TakeControl& take, ProgramWindows& windows,
                         std::function<void()> quit)
    : status(surroundings, StatusIndicator::Idle::notRecording)
    , surroundings(surroundings)
    , take(take)
    , windows(windows)
    , quitProgram(std::move(quit))
    , refresher(*surroundings.platform.mainThread, [this] { refresh(); }) {
    refresher.follow(surroundings.recorder.isRecording, surroundings.recorder.markerJustAdded,
                     surroundings.updateNotice.waiting);
    refresh();
}

void MenuBarItem::refresh() {
    publish(icon, currentIcon());
    publish(update, currentUpdate());
}

MenuBarItem::Icon MenuBarItem::currentIcon() const {
    const ScreenRecorderManager& recorder = surroundings.recorder;
    if (*recorder.isRecording && *recorder.markerJustAdded) return {"flag.fill", true};
    if (*recorder.isRecording) return {"record.circle.fill", true};
    return {"record.circle", false};
}

MenuBarItem::Update MenuBarItem::currentUpdate() const {
    const auto& version = *surroundings.updateNotice.waiting;
    if (!version) return {};
    return {"Update ready to install", "Vintra " + *version + " · See what's new"};
}

void MenuBarItem::showUpdate() {
    surroundings.updateNotice.showUpdate();
}

void MenuBarItem::openMainWindow() {
    if (!windows.bringMainWindowToFront()) windows.openMainWindow();
    windows.dismissPanel();
}

} // namespace vintra
