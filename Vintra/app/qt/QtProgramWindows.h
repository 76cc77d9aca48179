#pragma once

#include "Vintra/platform/Geometry.h"
#include "Vintra/platform/ProgramWindows.h"

#include <QObject>
#include <QQmlEngine>
#include <QQuickWindow>
#include <functional>
#include <memory>
#include <optional>

namespace vintra {

class EventLoop;
class MainWindowModel;

/// The main window in Qt Quick. Closing it asks nothing: where there is a tray to bring it back from, it hides, else it
/// goes to the desktop's list of windows. Owned by `QtProgram`. Main thread.
class QtProgramWindows final : public QObject, public ProgramWindows {
public:
    /// All outlive this; `terminateProgram` ends the program's event loop.
    QtProgramWindows(QQmlEngine& engine, std::function<bool()> hasTray,
                     std::function<void()> terminateProgram);
    ~QtProgramWindows() override;

    /// Before a window is opened. It outlives this.
    void setModel(MainWindowModel& newModel) { model = &newModel; }
    /// Closes a panel that stands.
    std::function<void()> onDismissPanel;
    /// After a window was made and is about to be shown for the first time.
    std::function<void()> onFirstAppearance;

    /// Where the window is now, in points on the desktop; nothing where the desktop doesn't tell.
    std::function<void(const std::optional<CGRect>& frame)> onMoved;

    bool bringMainWindowToFront() override;
    void openMainWindow() override;
    bool putMainWindowAway() override;
    void dismissPanel() override;
    void terminate() override;

    /// A window that was hidden for a tray that has gone goes to the desktop's list of windows.
    void keepWithinReach();
    /// Before what it shows goes.
    void closeMainWindow();
    QQuickWindow* mainWindow() const { return window.get(); }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void followWindow();
    void followScreen();
    void limitHeight();
    void tellPlace();

    QQmlEngine& engine;
    const std::function<bool()> hasTray;
    const std::function<void()> terminateProgram;
    MainWindowModel* model = nullptr;
    std::unique_ptr<QQuickWindow> window;
    QMetaObject::Connection screenConnection;
};

} // namespace vintra
