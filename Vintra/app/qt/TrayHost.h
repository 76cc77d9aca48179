#pragma once

#include <QDBusServiceWatcher>
#include <QObject>
#include <functional>

namespace vintra {

/// Whether the desktop has a tray that shows items now: one that speaks StatusNotifierItem, or a tray of X windows. One
/// may come and go while the program runs; Qt decides at the start for good which of the two it speaks. Owned by
/// `TrayItem`. Main thread.
class TrayHost : public QObject {
public:
    /// `changed` is called when a tray may have come or gone.
    explicit TrayHost(std::function<void()> changed);

    bool isThere() const;

private:
    void look();

    const std::function<void()> changed;
    QDBusServiceWatcher watcher;
    bool hasNotifierHost = false;
    const bool speaksNotifierItem;
};

} // namespace vintra
