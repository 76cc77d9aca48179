#include "Vintra/platform/linux/runtime/LinuxEventLoop.h"

#include "Vintra/platform/SystemError.h"
#include "Vintra/platform/linux/runtime/LinuxHostClock.h"

#include <algorithm>
#include <cerrno>
#include <poll.h>
#include <sys/eventfd.h>
#include <utility>

namespace vintra {

LinuxEventLoop::LinuxEventLoop()
    : wakeUp(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (!wakeUp.isOpen()) {
        throw SystemError("posix", errno,
                          "The event loop can't be made: the system has too "
                          "many files open. Close other programs and try again.");
    }
}

LinuxEventLoop::~LinuxEventLoop() {
    // What the work captured goes without the lock held: its end may post.
    while (takeWork()) {
    }
}

void LinuxEventLoop::post(std::function<void()> work) {
    bool first;
    {
        MutexLock lock(mutex);
        first = posted.empty();
        posted.push_back(std::move(work));
    }
    if (first) wake();
}

bool LinuxEventLoop::isCurrent() const {
    return std::this_thread::get_id() == thread;
}

void LinuxEventLoop::run() {
    runUntil([] { return false; });
}

bool LinuxEventLoop::runUntil(const std::function<bool()>& condition,
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

void LinuxEventLoop::stop() {
    {
        MutexLock lock(mutex);
        stopping = true;
    }
    wake();
}

std::shared_ptr<void> LinuxEventLoop::watch(int descriptor, Readiness readiness,
                                            std::function<void()> onReady) {
    auto kept = std::make_shared<Watch>(Watch{descriptor, readiness, std::move(onReady)});
    watches.emplace(nextWatch++, kept);
    return kept;
}

void LinuxEventLoop::wake() {
    const uint64_t one = 1;
    // It fails only when the counter is full, and then the loop is awake already.
    while (write(wakeUp.get(), &one, sizeof one) < 0 && errno == EINTR) {
    }
}

bool LinuxEventLoop::takeStop() {
    MutexLock lock(mutex);
    return std::exchange(stopping, false);
}

std::optional<std::function<void()>> LinuxEventLoop::takeWork() {
    MutexLock lock(mutex);
    if (posted.empty()) return std::nullopt;
    auto work = std::move(posted.front());
    posted.pop_front();
    return work;
}

/// Runs what was posted before it began, so that work which posts work leaves room for the descriptors.
/// Says whether the condition holds after a piece of work; also ends at a stop.
bool LinuxEventLoop::runPosted(const std::function<bool()>& condition) {
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

void LinuxEventLoop::waitForEvents(std::optional<int64_t> deadlineNanoseconds) {
    const WatchedDescriptors watched = watchedDescriptors();
    std::vector<pollfd> descriptors{{wakeUp.get(), POLLIN, 0}};
    for (const auto& [number, watch] : watched) {
        const auto events = static_cast<short>(watch->readiness == Readiness::readable ? POLLIN : POLLOUT);
        descriptors.push_back({watch->descriptor, events, 0});
    }
    if (!sleep(descriptors, deadlineNanoseconds)) return;

    uint64_t count = 0;
    if (descriptors[0].revents && read(wakeUp.get(), &count, sizeof count) < 0 && errno != EAGAIN) return;
    for (size_t i = 0; i < watched.size(); ++i) {
        const auto& [number, watch] = watched[i];
        const short happened = descriptors[i + 1].revents;
        if (happened & POLLNVAL) {
            watches.erase(number); // it has been closed, and would end every sleep at once
            continue;
        }
        // A block that ran before may have let go of this watch: then only this list still holds it.
        if (happened && watch.use_count() > 1) watch->onReady();
    }
}

/// What is watched now. Forgets the watches that were let go of.
LinuxEventLoop::WatchedDescriptors LinuxEventLoop::watchedDescriptors() {
    WatchedDescriptors watched;
    std::erase_if(watches, [&](const auto& entry) {
        auto watch = entry.second.lock();
        if (!watch) return true;
        watched.emplace_back(entry.first, std::move(watch));
        return false;
    });
    return watched;
}

/// Sleeps until a descriptor is ready, the loop is woken or the deadline comes, and not at all if work waits.
/// Says whether a descriptor is ready.
bool LinuxEventLoop::sleep(std::vector<pollfd>& descriptors, std::optional<int64_t> deadlineNanoseconds) {
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
    const bool isBounded = workWaits || deadlineNanoseconds;
    return ppoll(descriptors.data(), descriptors.size(), isBounded ? &timeout : nullptr, nullptr) > 0;
}

} // namespace vintra
