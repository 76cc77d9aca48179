#include "Vintra/app/qt/QtEventLoop.h"

#include <QCoreApplication>
#include <QPointer>
#include <QSocketNotifier>
#include <utility>

namespace vintra {
namespace {

const auto kWorkWaits = static_cast<QEvent::Type>(QEvent::registerEventType());

} // namespace

/// The notifier goes later: a watch may be let go of by the block that the notifier is calling.
struct QtEventLoop::Watch {
    std::function<void()> onReady;
    QPointer<QSocketNotifier> notifier;

    ~Watch() {
        if (!notifier) return;
        notifier->setEnabled(false);
        notifier->deleteLater();
    }
};

QtEventLoop::QtEventLoop() = default;

QtEventLoop::~QtEventLoop() {
    // What the work captured goes without the lock held: its end may post.
    while (takeWork()) {
    }
}

void QtEventLoop::post(std::function<void()> work) {
    bool first;
    {
        MutexLock lock(mutex);
        first = posted.empty();
        posted.push_back(std::move(work));
    }
    if (first) wake();
}

bool QtEventLoop::isCurrent() const {
    return std::this_thread::get_id() == thread;
}

void QtEventLoop::run() {
    if (takeStop()) return;
    wake();
    QEventLoop loop;
    QEventLoop* const outer = std::exchange(running, &loop);
    isEnding = false;
    loop.exec();
    running = outer;
    isEnding = false;
    MutexLock lock(mutex);
    if (!posted.empty()) wake(); // for whoever runs Qt's events without a run
}

void QtEventLoop::stop() {
    if (isCurrent() && running) {
        isEnding = true;
        running->exit();
        return;
    }
    {
        MutexLock lock(mutex);
        stopping = true;
    }
    wake();
}

std::shared_ptr<void> QtEventLoop::watch(int descriptor, Readiness readiness, std::function<void()> onReady) {
    auto kept = std::make_shared<Watch>();
    kept->onReady = std::move(onReady);
    const auto type = readiness == Readiness::readable ? QSocketNotifier::Read : QSocketNotifier::Write;
    kept->notifier = new QSocketNotifier(descriptor, type, this);
    connect(kept->notifier, &QSocketNotifier::activated, this, [weak = std::weak_ptr(kept)] {
        if (const auto watch = weak.lock()) watch->onReady();
    });
    return kept;
}

bool QtEventLoop::event(QEvent* event) {
    if (event->type() != kWorkWaits) return QObject::event(event);
    runPosted();
    return true;
}

void QtEventLoop::wake() {
    QCoreApplication::postEvent(this, new QEvent(kWorkWaits));
}

/// Runs what was posted before it began, so that work which posts work leaves room for Qt's own events.
void QtEventLoop::runPosted() {
    size_t count;
    {
        MutexLock lock(mutex);
        count = posted.size();
    }
    for (; count > 0; --count) {
        if (endRunIfAsked()) return;
        auto work = takeWork();
        if (!work) break;
        (*work)();
    }
    if (endRunIfAsked()) return;
    MutexLock lock(mutex);
    if (!posted.empty()) wake();
}

/// A stop without a run waits for the next one.
bool QtEventLoop::endRunIfAsked() {
    if (running) {
        if (isEnding) return true; // an event of before
        if (!takeStop()) return false;
        isEnding = true;
        running->exit();
        return true;
    }
    MutexLock lock(mutex);
    return stopping;
}

bool QtEventLoop::takeStop() {
    MutexLock lock(mutex);
    return std::exchange(stopping, false);
}

std::optional<std::function<void()>> QtEventLoop::takeWork() {
    MutexLock lock(mutex);
    if (posted.empty()) return std::nullopt;
    auto work = std::move(posted.front());
    posted.pop_front();
    return work;
}

} // namespace vintra
