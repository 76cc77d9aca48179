#pragma once

#include <QDBusServiceWatcher>
#include <QObject>
#include <QTimer>
#include <functional>

namespace vintra {

/// Whether the desktop has a tray that shows items now: one that speaks StatusNotifierItem, or a tray of X windows. One
/// may come and go while the program runs. Owned by `TrayItem`. Main thread.
///
///     unknown --the bus has answered--> notifier, if there is such a tray
///                                       \--> X windows, if there is such a tray --> none: both are waited for
///
/// Qt speaks one of the two for good, whichever is there when its item is made: so none may be made before `isThere`.
class TrayHost : public QObject {
    Q_OBJECT

public:
    /// `changed` is called when a tray has come or gone.
    explicit TrayHost(std::function<void()> changed);

    /// False until the bus has answered.
    bool isThere() const { return isThereNow; }

private Q_SLOTS:
    void look();

private:
    enum class Kind { undecided, notifier, xWindows };

    void decide(bool hasNotifierHost);
    void publish(bool isNow);

    const std::function<void()> changed;
    QDBusServiceWatcher watcher;
    QTimer xTimer; ///< an X tray tells only those who know it of its end, and nobody of its beginning
    Kind kind = Kind::undecided;
    bool isThereNow = false;
};

} // namespace vintra
