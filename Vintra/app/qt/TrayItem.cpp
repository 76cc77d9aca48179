#include "Vintra/app/qt/TrayItem.h"

#include "Vintra/app/qt/QmlWindow.h"
#include "Vintra/app/qt/QtStrings.h"
#include "Vintra/app/qt/TrayIcon.h"

#include <QAction>
#include <QCursor>
#include <QEvent>
#include <QGuiApplication>
#include <QPainterPath>
#include <QRegion>
#include <QScreen>
#include <algorithm>

namespace vintra {
namespace {

constexpr int kDistance = 8; // points between the bar and the panel
constexpr double kPanelRadius = 12;

/// An X desktop may have nothing that blends a window with what lies below: its corners are cut off there.
bool needsMask() {
    return QGuiApplication::platformName() == "xcb";
}

} // namespace

TrayItem::TrayItem(QQmlEngine& engine, MenuBarItem& item, TakeControl& take, AppCommandsModel& commands)
    : engine(engine)
    , item(item)
    , commands(commands)
    , model(item, take)
    , host([this] {
        refresh();
        if (!host.isThere() && onHostGone) onHostGone();
    }) {
    menu.addAction(MenuBarItem::kOpen, this, [this] { this->item.openMainWindow(); });
    recordAction = menu.addAction({}, this, [this] { this->item.toggleRecording(); });
    addCommands();
    menu.addAction(MenuBarItem::kQuit, this, [this] { this->item.quit(); });
    iconObservation = item.icon.observe([this](const MenuBarItem::Icon&) { refresh(); });
    buttonObservation = take.footerButton.observe([this](const TakeControl::Button&) { refreshMenu(); });
    refresh();
    refreshMenu();
}

TrayItem::~TrayItem() {
    if (panelWindow) panelWindow->disconnect(this);
}

void TrayItem::refresh() {
    if (host.isThere() && !icon) makeIcon();
    if (!icon) return;
    icon->setIcon(trayIcon(*item.icon));
    icon->setToolTip(item.icon->isRed ? "VINTRA Recorder: recording" : "VINTRA Recorder");
    icon->setVisible(host.isThere());
}

void TrayItem::makeIcon() {
    icon = std::make_unique<QSystemTrayIcon>();
    icon->setContextMenu(&menu);
    connect(icon.get(), &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        if (reason == QSystemTrayIcon::Trigger || reason == QSystemTrayIcon::DoubleClick) togglePanel();
    });
}

void TrayItem::addCommands() {
    menu.addSeparator();
    menu.addAction(commands.aboutTitle(), &commands, &AppCommandsModel::showAbout);
    menu.addAction(commands.acknowledgementsTitle(), &commands, &AppCommandsModel::showAcknowledgements);
    checkAction = menu.addAction(commands.checkTitle(), &commands, &AppCommandsModel::checkForUpdates);
    removeAction = menu.addAction(commands.removeTitle(), &commands, &AppCommandsModel::remove);
    menu.addSeparator();
    connect(&commands, &AppCommandsModel::changed, this, [this] { refreshMenu(); });
}

void TrayItem::refreshMenu() {
    checkAction->setEnabled(commands.canCheckForUpdates());
    removeAction->setEnabled(commands.canRemove());
    recordAction->setText(qString(item.recordButton()->title));
    recordAction->setEnabled(item.recordButton()->isEnabled);
}

void TrayItem::togglePanel() {
    if (panelWindow && panelWindow->isVisible()) {
        dismissPanel();
        return;
    }
    if (!panelWindow) {
        panelWindow = makeQmlWindow(engine, "TrayPanel.qml", {{"model", QVariant::fromValue(&model)}});
        if (!panelWindow) return;
        panelWindow->installEventFilter(this);
        connect(panelWindow.get(), &QWindow::activeChanged, this, [this] {
            if (!panelWindow->isActive()) dismissPanel();
        });
    }
    placePanel();
    panelWindow->show();
    panelWindow->raise();
    panelWindow->requestActivate();
}

void TrayItem::dismissPanel() {
    if (panelWindow) panelWindow->hide();
}

/// Under the item or over it, where the desktop tells where that is; else by the pointer.
void TrayItem::placePanel() {
    const QRect known = icon ? icon->geometry() : QRect();
    const QRect at = known.isValid() ? known : QRect(QCursor::pos(), QSize(1, 1));
    const QScreen* screen = QGuiApplication::screenAt(at.center());
    if (!screen) screen = QGuiApplication::primaryScreen();
    if (!screen) return;
    const QRect space = screen->availableGeometry();
    const QSize size = panelWindow->size();
    const bool isLow = at.center().y() > space.center().y();
    const int x = std::clamp(at.center().x() - size.width() / 2, space.left(),
                             std::max(space.left(), space.right() - size.width()));
    const int y = isLow ? at.top() - kDistance - size.height() : at.bottom() + kDistance;
    panelWindow->setPosition(
        x, std::clamp(y, space.top(), std::max(space.top(), space.bottom() - size.height())));
}

bool TrayItem::eventFilter(QObject* watched, QEvent* event) {
    if (watched == panelWindow.get() && event->type() == QEvent::Resize && needsMask()) {
        QPainterPath path;
        path.addRoundedRect(QRectF({}, QSizeF(panelWindow->size())), kPanelRadius, kPanelRadius);
        panelWindow->setMask(QRegion(path.toFillPolygon().toPolygon()));
    }
    return false;
}

} // namespace vintra
