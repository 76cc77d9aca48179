#pragma once

#include "Vintra/platform/Mutex.h"

#include <mutex>

namespace vintra {

/// The lock between a relay's two real-time threads and the main thread. It is held for a few loads and
/// stores, so who finds it taken tries again for some microseconds before the operating system is asked to
/// wait: a wait costs more than the hold. Any thread.
class VINTRA_THREAD_ANNOTATION(capability("mutex")) RelayLock {
public:
    RelayLock() = default;
    RelayLock(const RelayLock&) = delete;
    RelayLock& operator=(const RelayLock&) = delete;

    void lock() ACQUIRE() NO_THREAD_SAFETY_ANALYSIS {
        constexpr int attempts = 1000;
        for (int attempt = 0; attempt < attempts; ++attempt) {
            if (mutex.try_lock()) return;
        }
        mutex.lock();
    }
    void unlock() RELEASE() NO_THREAD_SAFETY_ANALYSIS { mutex.unlock(); }

private:
    std::mutex mutex;
};

/// Holds a `RelayLock` for a scope.
class VINTRA_THREAD_ANNOTATION(scoped_lockable) RelayLockHold {
public:
    explicit RelayLockHold(RelayLock& lock) ACQUIRE(lock)
        : held(lock) {
        held.lock();
    }
    ~RelayLockHold() RELEASE() { held.unlock(); }
    RelayLockHold(const RelayLockHold&) = delete;
    RelayLockHold& operator=(const RelayLockHold&) = delete;

private:
    RelayLock& held;
};

} // namespace vintra
