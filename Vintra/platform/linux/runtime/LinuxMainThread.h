#pragma once

#include "Vintra/platform/MainThread.h"
#include "Vintra/platform/Mutex.h"
#include "Vintra/platform/linux/runtime/FileDescriptor.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <thread>

namespace vintra {

/// A plain event loop for programs without a window system. The thread that makes it is the main thread and
/// the only one that may run it or watch a descriptor; `post` and `stop` are for any thread.
class LinuxMainThread : public MainThread {
public:
    LinuxMainThread();
    /// Work that was posted and not run is dropped.
    ~LinuxMainThread() override;
    LinuxMainThread(const LinuxMainThread&) = delete;
    LinuxMainThread& operator=(const LinuxMainThread&) = delete;

    void post(std::function<void()> work) override;
    bool isCurrent() const override;

    /// Runs posted work until `stop`.
    void run();
    /// Runs posted work until the condition holds, which is looked at before the first and after each piece
    /// of work, until `stop`, or until the time is over. Says whether the condition holds.
    bool runUntil(const std::function<bool()>& condition,
                  std::optional<int64_t> timeoutNanoseconds = std::nullopt);
    /// Ends the current run after the current piece of work; without one, the next run at its beginning.
    void stop();

    /// Calls the block whenever the descriptor can be read, for as long as the result is kept. It neither
    /// reads nor closes the descriptor.
    [[nodiscard]] std::shared_ptr<void> watch(int descriptor, std::function<void()> onReadable);

private:
    struct Watch {
        int descriptor;
        std::function<void()> onReadable;
    };

    void wake();
    bool takeStop() EXCLUDES(mutex);
    std::optional<std::function<void()>> takeWork() EXCLUDES(mutex);
    bool runPosted(const std::function<bool()>& condition);
    void waitForEvents(std::optional<int64_t> deadlineNanoseconds);

    const std::thread::id thread = std::this_thread::get_id();
    FileDescriptor wakeUp; ///< an eventfd: readable while posted work or a stop waits
    std::map<uint64_t, std::weak_ptr<Watch>> watches; ///< main thread
    uint64_t nextWatch = 0;                           ///< main thread

    Mutex mutex;
    std::deque<std::function<void()>> posted GUARDED_BY(mutex);
    bool stopping GUARDED_BY(mutex) = false;
};

} // namespace vintra
