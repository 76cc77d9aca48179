#include "Vintra/app/qt/QtProgram.h"

#include "Vintra/app/qt/QtFloatingPreviewWindows.h"
#include "Vintra/platform/Desktop.h"
#include "Vintra/take/ScreenRecorderManager.h"

#include <utility>

/// Generated: the types of the QML module. A mention keeps it in the program.
extern void qml_register_types_Vintra();

namespace vintra {
namespace {

void (*volatile keptRegistration)() = &qml_register_types_Vintra;

} // namespace

QtProgram::QtProgram(Services given)
    : services(std::move(given))
    , platform(platformWithWindows(services.platform))
    , feedbackAsk(std::make_shared<FeedbackAsk>(platform, services.sendFeedback))
    , manager(ScreenRecorderManager::make(platform))
    , updater(
          std::make_shared<UpdaterController>(UpdaterController::Machine{.platform = platform,
                                                                         .web = *services.web,
                                                                         .installation = *services.updates,
                                                                         .quit = [this] { quit(); }},
                                              true, waitingUpdate, waitingUpdate))
    , appCommands(*platform.mainThread, *manager, updaterState)
    , updateView(*platform.mainThread, platform.facts, *updater)
    , view(surroundings())
    , programWindows(
          engine, [this] { return tray && tray->hasHost(); }, services.endEventLoop)
    , inPicture(surroundings(), programWindows)
    , delegate(platform, programWindows)
    , uninstall({.platform = platform,
                 .alerts = qtAlerts,
                 .removal = *services.removal,
                 .terminate = [this] { quit(); }})
    , information(engine, platform, services.acknowledgements)
    , commandsModel(appCommands, commandActions())
    , item(surroundings(), view.take, programWindows, [this] { quit(); })
    , programCommands(surroundings(), view.take, [this] { quit(); })
    , marker(surroundings(), *services.hotKeys)
    , mainWindowModel(std::make_unique<MainWindowModel>(view, surroundings(), commandsModel, inPicture,
                                                        delegate.isQuitting, [this] { quit(); }))
    , tray(std::make_unique<TrayItem>(engine, item, view.take, commandsModel)) {
    static_cast<void>(keptRegistration); // read, so that no compiler leaves it out
    updater->recorder = manager;
    waitingUpdate.controller = updater;
    mainWindowModel->showMarkerHelp(marker.note);
    programWindows.setModel(*mainWindowModel);
    view.cards.onHideMainWindow = [this] { programWindows.putMainWindowAway(); };
    programWindows.onMoved = [this](const std::optional<CGRect>& frame) { inPicture.setWindowFrame(frame); };
    tray->onHostGone = [this] { programWindows.keepWithinReach(); };
    programWindows.onDismissPanel = [this] { tray->dismissPanel(); };
    programWindows.onFirstAppearance = [this] {
        delegate.recorder = manager;
        manager->feedbackAsk = feedbackAsk;
    };
}

QtProgram::~QtProgram() {
    tray = nullptr;
    programWindows.closeMainWindow();
}

Platform QtProgram::platformWithWindows(Platform given) {
    engine.addImportPath(":/qt/qml");
    given.floatingPreviewWindows = std::make_shared<QtFloatingPreviewWindows>(engine, given);
    return given;
}

AppSurroundings QtProgram::surroundings() {
    return {.platform = platform,
            .recorder = *manager,
            .desktop = *services.desktop,
            .feedbackAsk = *feedbackAsk,
            .updateNotice = waitingUpdate};
}

AppCommandsModel::Actions QtProgram::commandActions() {
    return {.about = [this] { information.showAbout(); },
            .acknowledgements = [this] { information.showAcknowledgements(); },
            .checkForUpdates =
                [this] {
                    updater->checkForUpdates();
                    qtUpdateWindow.raise(); // one that is shown already
                },
            .remove = [this] { uninstall.run(manager); }};
}

void QtProgram::end(const std::function<void(const std::function<bool()>&)>& runUntil) {
    delegate.applicationWillTerminate();
    if (*manager->isRecording || *manager->isBusy) return; // it was asked twice: at once
    TaskScope tasks;
    tasks.start(manager->endPreviews());
    runUntil([&tasks] { return tasks.isIdle(); });
}

} // namespace vintra
