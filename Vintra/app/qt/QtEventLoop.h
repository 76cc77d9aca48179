#pragma once

#include "Vintra/platform/EventLoop.h"
#include "Vintra/platform/Mutex.h"

#include <QEventLoop>
#include <QObject>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <thread>

namespace vintra {

/// Qt's event loop as that of the main thread. Posted work also runs while Qt runs a loop of its own, as for a panel of
/// the desktop. Made after the application object, and outlived by it.
class QtEventLoop final : public QObject, public EventLoop {
public:
    QtEventLoop();
    /// Work that was posted and not run is dropped.
    ~QtEventLoop() override;

    void post(std::function<void()> work) override;
    bool isCurrent() const override;
    void run() override;
    void stop() override;
    [[nodiscard]] std::shared_ptr<void> watch(int descriptor, Readiness readiness,
                                              std::function<void()> onReady) override;

protected:
    bool event(QEvent* event) override;

private:
    struct Watch;

    void wake();
    void runPosted();
    bool endRunIfAsked() EXCLUDES(mutex);
    bool takeStop() EXCLUDES(mutex);
    std::optional<std::function<void()>> takeWork() EXCLUDES(mutex);

    const std::thread::id thread = std::this_thread::get_id();
    QEventLoop* running = nullptr; ///< main thread
    bool isEnding = false;         ///< main thread: the run has been told to end

    Mutex mutex;
    std::deque<std::function<void()>> posted GUARDED_BY(mutex);
    bool stopping GUARDED_BY(mutex) = false;
};

} // namespace vintra
