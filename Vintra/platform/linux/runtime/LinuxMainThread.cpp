#include "Vintra/platform/linux/runtime/LinuxMainThread.h"

#include "Vintra/platform/SystemError.h"
#include "Vintra/platform/linux/runtime/LinuxHostClock.h"

#include <algorithm>
#include <cerrno>
#include <poll.h>
#include <sys/eventfd.h>
#include <vector>

namespace vintra {

LinuxMainThread::LinuxMainThread()
    : wakeUp(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (!wakeUp.isOpen()) {
        throw SystemError("posix", errno,
                          "The event loop can't be made: the system has too "
                          "many files open. Close other programs and try again.");
    }
}

LinuxMainThread::~LinuxMainThread() {
    // What the work captured goes without the lock held: its end may post.
    while (takeWork()) {
    }
}

void LinuxMainThread::post(std::function<void()> work) {
    bool first;
    {
        MutexLock lock(mutex);
        first = posted.empty();
        posted.push_back(std::move(work));
    }
    if (first) wake();
}

bool LinuxMainThread::isCurrent() const {
    return std::this_thread::get_id() == thread;
}

void LinuxMainThread::run() {
    runUntil([] { return false; });
}

bool LinuxMainThread::runUntil(const std::function<bool()>& condition,
                               std::optional<int64_t> timeoutNanoseconds) {
    std::optional<int64_t> deadline;
    if (timeoutNanoseconds) deadline = monotonicNanoseconds() + *timeoutNanoseconds;
    while (true) {
        if (condition()) return true;
        if (takeStop()) return false;
        if (deadline && monotonicNanoseconds() >= *deadline) return false;
        waitForEvents(deadline);
        if (runPosted(condition)) return true;
    }
}

void LinuxMainThread::stop() {
    {
        MutexLock lock(mutex);
        stopping = true;
    }
    wake();
}

std::shared_ptr<void> LinuxMainThread::watch(int descriptor, std::function<void()> onReadable) {
    auto kept = std::make_shared<Watch>(Watch{descriptor, std::move(onReadable)});
    watches.emplace(nextWatch++, kept);
    return kept;
}

void LinuxMainThread::wake() {
    const uint64_t one = 1;
    // It fails only when the counter is full, and then the loop is awake already.
    while (write(wakeUp.get(), &one, sizeof one) < 0 && errno == EINTR) {
    }
}

bool LinuxMainThread::takeStop() {
    MutexLock lock(mutex);
    return std::exchange(stopping, false);
}

std::optional<std::function<void()>> LinuxMainThread::takeWork() {
    MutexLock lock(mutex);
    if (posted.empty()) return std::nullopt;
    auto work = std::move(posted.front());
    posted.pop_front();
    return work;
}

/// Runs what was posted before it began, so that work which posts work leaves room for the descriptors.
/// Says whether the condition holds after a piece of work; also ends at a stop.
bool LinuxMainThread::runPosted(const std::function<bool()>& condition) {
    size_t count;
    {
        MutexLock lock(mutex);
        count = posted.size();
    }
    for (; count > 0; --count) {
        {
            MutexLock lock(mutex);
            if (stopping) return false;
        }
        auto work = takeWork();
        if (!work) return false;
        (*work)();
        work.reset();
        if (condition()) return true;
    }
    return false;
}

void LinuxMainThread::waitForEvents(std::optional<int64_t> deadlineNanoseconds) {
    std::erase_if(watches, [](const auto& entry) { return entry.second.expired(); });
    std::vector<pollfd> descriptors{{wakeUp.get(), POLLIN, 0}};
    std::vector<std::shared_ptr<Watch>> watched;
    for (const auto& [number, weak] : watches) {
        if (auto kept = weak.lock()) {
            descriptors.push_back({kept->descriptor, POLLIN, 0});
            watched.push_back(std::move(kept));
        }
    }

    bool workWaits;
    {
        MutexLock lock(mutex);
        workWaits = !posted.empty() || stopping;
    }
    timespec timeout{};
    if (!workWaits && deadlineNanoseconds) {
        const int64_t left = std::max<int64_t>(0, *deadlineNanoseconds - monotonicNanoseconds());
        timeout = {static_cast<time_t>(left / 1'000'000'000), static_cast<long>(left % 1'000'000'000)};
    }
    const bool bounded = workWaits || deadlineNanoseconds.has_value();
    if (ppoll(descriptors.data(), descriptors.size(), bounded ? &timeout : nullptr, nullptr) <= 0) return;

    uint64_t count = 0;
    if (descriptors[0].revents && read(wakeUp.get(), &count, sizeof count) < 0 && errno != EAGAIN) return;
    for (size_t i = 1; i < descriptors.size(); ++i) {
        const auto& kept = watched[i - 1];
        // A block that ran before may have let go of this one: then only this list still holds it.
        if (descriptors[i].revents && kept.use_count() > 1) kept->onReadable();
    }
}

} // namespace vintra
