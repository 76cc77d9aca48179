#include "Vintra/app/qt/QtProgramWindows.h"

#include "Vintra/app/qt/MainWindowModel.h"
#include "Vintra/app/qt/QmlWindow.h"

#include <QCloseEvent>
#include <QGuiApplication>
#include <QScreen>
#include <QTimer>
#include <utility>

namespace vintra {
namespace {

bool isSeen(const QWindow& window) {
    const QWindow::Visibility visibility = window.visibility();
    return visibility != QWindow::Hidden && visibility != QWindow::Minimized;
}

} // namespace

QtProgramWindows::QtProgramWindows(QQmlEngine& engine, std::function<bool()> hasTray,
                                   std::function<void()> terminateProgram)
    : engine(engine)
    , hasTray(std::move(hasTray))
    , terminateProgram(std::move(terminateProgram)) {}

QtProgramWindows::~QtProgramWindows() {
    closeMainWindow();
}

void QtProgramWindows::closeMainWindow() {
    if (window) window->disconnect(this);
    window = nullptr;
}

bool QtProgramWindows::bringMainWindowToFront() {
    if (!window) return false;
    if (window->visibility() == QWindow::Minimized || !window->isVisible()) window->showNormal();
    window->raise();
    window->requestActivate();
    return true;
}

void QtProgramWindows::openMainWindow() {
    if (!model) return;
    window = makeQmlWindow(engine, "MainWindow.qml", {{"model", QVariant::fromValue(model)}});
    if (!window) return;
    window->installEventFilter(this);
    connect(window.get(), &QWindow::visibilityChanged, this, [this] { followWindow(); });
    connect(window.get(), &QWindow::screenChanged, this, [this] { followScreen(); });
    followScreen();
    if (onFirstAppearance) std::exchange(onFirstAppearance, nullptr)();
    window->show();
    window->requestActivate();
}

void QtProgramWindows::followWindow() {
    model->setShown(isSeen(*window));
    // The desktop's frame around the window is known a moment after it is shown.
    QTimer::singleShot(0, this, [this] { limitHeight(); });
}

void QtProgramWindows::followScreen() {
    disconnect(screenConnection);
    if (QScreen* const screen = window->screen())
        screenConnection =
            connect(screen, &QScreen::availableGeometryChanged, this, [this] { limitHeight(); });
    limitHeight();
}

/// What panels and the desktop's frame leave of the screen.
void QtProgramWindows::limitHeight() {
    if (!window || !window->screen()) return;
    const QMargins frame = window->frameMargins();
    model->setHeightLimit(window->screen()->availableGeometry().height() - frame.top() - frame.bottom());
}

bool QtProgramWindows::eventFilter(QObject* watched, QEvent* event) {
    if (watched != window.get()) return false;
    const bool isPlace = event->type() == QEvent::Move || event->type() == QEvent::Resize;
    if (event->type() == QEvent::Expose || isPlace) limitHeight();
    if (event->type() == QEvent::Expose || isPlace) tellPlace();
    if (event->type() != QEvent::Close) return false;
    event->ignore();
    putMainWindowAway();
    return true;
}

bool QtProgramWindows::putMainWindowAway() {
    if (!window || !isSeen(*window)) return false;
    if (hasTray()) {
        window->hide();
    } else {
        window->showMinimized();
    }
    return true;
}

void QtProgramWindows::keepWithinReach() {
    if (window && window->visibility() == QWindow::Hidden) window->showMinimized();
}

/// A Wayland desktop keeps the places of windows to itself.
void QtProgramWindows::tellPlace() {
    if (!window || !onMoved) return;
    if (QGuiApplication::platformName() != "xcb") return onMoved(std::nullopt);
    const QRect frame = window->frameGeometry();
    onMoved(CGRect{{static_cast<double>(frame.x()), static_cast<double>(frame.y())},
                   {static_cast<double>(frame.width()), static_cast<double>(frame.height())}});
}

void QtProgramWindows::dismissPanel() {
    if (onDismissPanel) onDismissPanel();
}

void QtProgramWindows::terminate() {
    terminateProgram();
}

} // namespace vintra
