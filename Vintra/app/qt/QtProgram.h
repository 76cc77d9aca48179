#pragma once

#include "Vintra/app/AppCommands.h"
#include "Vintra/app/AppDelegate.h"
#include "Vintra/app/ContentView.h"
#include "Vintra/app/MarkerShortcut.h"
#include "Vintra/app/MenuBarItem.h"
#include "Vintra/app/ProgramCommands.h"
#include "Vintra/app/Uninstall.h"
#include "Vintra/app/UpdateNotice.h"
#include "Vintra/app/UpdateWindow.h"
#include "Vintra/app/UpdaterController.h"
#include "Vintra/app/UpdaterState.h"
#include "Vintra/app/WindowInPicture.h"
#include "Vintra/app/qt/AppCommandsModel.h"
#include "Vintra/app/qt/MainWindowModel.h"
#include "Vintra/app/qt/QtAlerts.h"
#include "Vintra/app/qt/QtInformationWindows.h"
#include "Vintra/app/qt/QtProgramWindows.h"
#include "Vintra/app/qt/QtUpdateWindow.h"
#include "Vintra/app/qt/TrayItem.h"
#include "Vintra/platform/Platform.h"
#include "Vintra/take/FeedbackAsk.h"

#include <QQmlEngine>
#include <functional>
#include <memory>

namespace vintra {

class Desktop;
class GlobalHotKeys;
class ScreenRecorderManager;

/// The program with its windows, over whatever machine it is given: the recorder, what the windows show of it, and how
/// all of it ends. Made by `main` after the application object. Main thread.
class QtProgram {
public:
    struct Services {
        Platform platform;
        std::shared_ptr<Desktop> desktop;
        std::shared_ptr<GlobalHotKeys> hotKeys;
        FeedbackAsk::Send sendFeedback;
        std::function<void()> endEventLoop;
        std::shared_ptr<WebRequests> web;
        std::shared_ptr<UpdateInstallation> updates;
        std::shared_ptr<ProgramRemoval> removal;
        URL acknowledgements; ///< the file with the licences of what the program includes
    };
    explicit QtProgram(Services services);
    ~QtProgram();
    QtProgram(const QtProgram&) = delete;
    QtProgram& operator=(const QtProgram&) = delete;

    ScreenRecorderManager& recorder() { return *manager; }
    UpdateNotice& updateNotice() { return waitingUpdate; }
    ContentView& contentView() { return view; }
    QtProgramWindows& windows() { return programWindows; }
    MenuBarItem& menuBarItem() { return item; }
    TrayItem& trayItem() { return *tray; }
    MainWindowModel& mainWindow() { return *mainWindowModel; }
    QtUpdateWindow& updateWindow() { return qtUpdateWindow; }
    QtAlerts& alerts() { return qtAlerts; }
    QtInformationWindows& informationWindows() { return information; }

    /// What a key of the desktop or another process tells the program to do.
    ProgramCommands& commands() { return programCommands; }

    /// The main window in front; also the first time.
    void raise() { item.openMainWindow(); }
    /// A running take ends first; asked again, at once.
    void quit() { delegate.quit(); }

    /// The last thing, after the event loop has ended: previews end, and the user's own output is put back. Runs
    /// `runUntil` with a condition that comes true.
    void end(const std::function<void(const std::function<bool()>&)>& runUntil);

private:
    AppSurroundings surroundings();
    AppCommandsModel::Actions commandActions();

    Platform platformWithWindows(Platform platform);

    const Services services;
    QQmlEngine engine; ///< outlives every window, those of the recorder's cameras too
    const Platform platform;
    const std::shared_ptr<FeedbackAsk> feedbackAsk;
    const std::shared_ptr<ScreenRecorderManager> manager;
    UpdateNotice waitingUpdate{platform};
    const std::shared_ptr<UpdaterController> updater;
    UpdaterState updaterState{*updater};
    AppCommands appCommands;
    UpdateWindow updateView;
    ContentView view;
    QtProgramWindows programWindows;
    WindowInPicture inPicture;
    AppDelegate delegate;
    QtUpdateWindow qtUpdateWindow{engine, updateView};
    QtAlerts qtAlerts{engine};
    Uninstall uninstall;
    QtInformationWindows information;
    AppCommandsModel commandsModel;
    MenuBarItem item;
    ProgramCommands programCommands;
    MarkerShortcut marker;
    std::unique_ptr<MainWindowModel> mainWindowModel;
    std::unique_ptr<TrayItem> tray;
};

} // namespace vintra
