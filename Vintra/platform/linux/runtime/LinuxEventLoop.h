#pragma once

#include "Vintra/platform/EventLoop.h"
#include "Vintra/platform/Mutex.h"
#include "Vintra/platform/linux/runtime/FileDescriptor.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

struct pollfd;

namespace vintra {

/// A plain event loop, for programs without windows of their own.
class LinuxEventLoop : public EventLoop {
public:
    LinuxEventLoop();
    /// Work that was posted and not run is dropped.
    ~LinuxEventLoop() override;
    LinuxEventLoop(const LinuxEventLoop&) = delete;
    LinuxEventLoop& operator=(const LinuxEventLoop&) = delete;

    void post(std::function<void()> work) override;
    bool isCurrent() const override;

    void run() override;
    /// A run that also ends when the condition holds, which is looked at before the first and after each piece of
    /// work, or when the time is over. Says whether the condition holds.
    bool runUntil(const std::function<bool()>& condition,
                  std::optional<int64_t> timeoutNanoseconds = std::nullopt);
    void stop() override;
    [[nodiscard]] std::shared_ptr<void> watch(int descriptor, Readiness readiness,
                                              std::function<void()> onReady) override;

private:
    struct Watch {
        int descriptor;
        Readiness readiness;
        std::function<void()> onReady;
    };
    using WatchNumber = uint64_t;
    using WatchedDescriptors = std::vector<std::pair<WatchNumber, std::shared_ptr<Watch>>>;

    void wake();
    bool takeStop() EXCLUDES(mutex);
    std::optional<std::function<void()>> takeWork() EXCLUDES(mutex);
    bool runPosted(const std::function<bool()>& condition);
    void waitForEvents(std::optional<int64_t> deadlineNanoseconds);
    WatchedDescriptors watchedDescriptors();
    bool sleep(std::vector<pollfd>& descriptors, std::optional<int64_t> deadlineNanoseconds);

    const std::thread::id thread = std::this_thread::get_id();
    FileDescriptor wakeUp; ///< an eventfd: readable while posted work or a stop waits
    std::map<WatchNumber, std::weak_ptr<Watch>> watches; ///< main thread
    WatchNumber nextWatch = 0;                           ///< main thread

    Mutex mutex;
    std::deque<std::function<void()>> posted GUARDED_BY(mutex);
    bool stopping GUARDED_BY(mutex) = false;
};

} // namespace vintra
