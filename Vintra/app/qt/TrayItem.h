#pragma once

#include "Vintra/app/MenuBarItem.h"
#include "Vintra/app/qt/AppCommandsModel.h"
#include "Vintra/app/qt/PanelModel.h"
#include "Vintra/app/qt/TrayHost.h"

#include <QMenu>
#include <QObject>
#include <QQmlEngine>
#include <QQuickWindow>
#include <QSystemTrayIcon>
#include <functional>
#include <memory>

namespace vintra {

/// The item in the desktop's tray and the panel that a click on it opens; a menu with the same for bars that only show
/// menus. Where there is no tray, it waits for one. Owned by `QtProgram`. Main thread.
class TrayItem : public QObject {
public:
    /// All outlive this.
    TrayItem(QQmlEngine& engine, MenuBarItem& item, TakeControl& take, AppCommandsModel& commands);
    ~TrayItem() override;

    /// A tray has gone: what could be brought back from it alone is to be put where the user finds it.
    std::function<void()> onHostGone;

    bool hasHost() const { return host.isThere(); }
    /// Opens the panel, or takes it away.
    void togglePanel();
    void dismissPanel();
    QQuickWindow* panel() const { return panelWindow.get(); }
    QMenu& contextMenu() { return menu; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void refresh();
    void makeIcon();
    void refreshMenu();
    void addCommands();
    void placePanel();

    QQmlEngine& engine;
    MenuBarItem& item;
    AppCommandsModel& commands;
    PanelModel model;
    QMenu menu;
    QAction* recordAction = nullptr;
    QAction* checkAction = nullptr;
    QAction* removeAction = nullptr;
    TrayHost host;
    std::unique_ptr<QSystemTrayIcon> icon;     ///< from a tray's first appearance on
    std::unique_ptr<QQuickWindow> panelWindow; ///< made when it is first opened
    Observation iconObservation;
    Observation buttonObservation;
};

} // namespace vintra
