#pragma once

#include "Vintra/platform/Mutex.h"
#include "Vintra/platform/linux/runtime/FileDescriptor.h"

#include <condition_variable>
#include <cstdint>
#include <memory>
#include <thread>

namespace vintra {

class X11Display;

/// The time that an X server has for its answers. When it is over the connection is cut: whatever waits for the
/// server on it, on any thread, comes back as if the server had gone. A server that hangs would otherwise be
/// waited for without end. Owned by whoever asks the server; one thread.
class X11Patience {
public:
    /// Begins to wait. Where the system has no thread to spare there is no bound.
    X11Patience(int connection, int64_t nanoseconds);
    X11Patience(const X11Display& display, int64_t nanoseconds);
    /// The time is no longer limited. Doesn't wait.
    ~X11Patience();
    X11Patience(const X11Patience&) = delete;
    X11Patience& operator=(const X11Patience&) = delete;

    /// The connection was cut.
    bool isOver() const;

private:
    const FileDescriptor connection; ///< of its own, so that no other file can take its number
    mutable Mutex mutex;
    std::condition_variable_any changed;
    bool ended GUARDED_BY(mutex) = false;
    bool over GUARDED_BY(mutex) = false;
    std::thread thread;
};

} // namespace vintra
