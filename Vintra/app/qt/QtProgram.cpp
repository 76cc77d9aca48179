#include "Vintra/app/qt/QtProgram.h"

#include "Vintra/platform/Desktop.h"
#include "Vintra/take/ScreenRecorderManager.h"

#include <utility>

/// Generated: the types of the QML module. A mention keeps it in the program.
extern void qml_register_types_Vintra();

namespace vintra {
namespace {

[[maybe_unused]] void (*volatile keptRegistration)() = &qml_register_types_Vintra;

} // namespace

QtProgram::QtProgram(Services given)
    : services(std::move(given))
    , feedbackAsk(std::make_shared<FeedbackAsk>(services.platform, services.sendFeedback))
    , manager(ScreenRecorderManager::make(services.platform))
    , view(surroundings())
    , programWindows(
          engine, [] { return false; }, services.endEventLoop)
    , delegate(services.platform, programWindows)
    , item(surroundings(), view.take, programWindows, [this] { quit(); })
    , programCommands(surroundings(), view.take, [this] { quit(); })
    , marker(surroundings(), *services.hotKeys)
    , mainWindowModel(
          std::make_unique<MainWindowModel>(view, surroundings(), delegate.isQuitting, [this] { quit(); })) {
    engine.addImportPath(":/qt/qml");
    mainWindowModel->showMarkerHelp(marker.note);
    programWindows.setModel(*mainWindowModel);
    programWindows.onFirstAppearance = [this] {
        delegate.recorder = manager;
        manager->feedbackAsk = feedbackAsk;
    };
}

QtProgram::~QtProgram() {
    programWindows.closeMainWindow();
}

AppSurroundings QtProgram::surroundings() {
    return {.platform = services.platform,
            .recorder = *manager,
            .desktop = *services.desktop,
            .feedbackAsk = *feedbackAsk,
            .updateNotice = waitingUpdate};
}

void QtProgram::end(const std::function<void(const std::function<bool()>&)>& runUntil) {
    delegate.applicationWillTerminate();
    if (*manager->isRecording || *manager->isBusy) return; // it was asked twice: at once
    TaskScope tasks;
    tasks.start(manager->endPreviews());
    runUntil([&tasks] { return tasks.isIdle(); });
}

} // namespace vintra
