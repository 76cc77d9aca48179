#pragma once

#include "Vintra/platform/Mutex.h"

#include <atomic>
#include <cstdint>

namespace vintra {

/// The lock between a relay's two real-time threads and the main thread. It is held for a few loads and
/// stores, so a thread that finds it taken tries again for some microseconds before it asks the operating
/// system to wait: waiting costs more than the lock is held. Any thread.
class VINTRA_THREAD_ANNOTATION(capability("mutex")) RelayLock {
public:
    RelayLock() = default;
    RelayLock(const RelayLock&) = delete;
    RelayLock& operator=(const RelayLock&) = delete;

    void lock() ACQUIRE() NO_THREAD_SAFETY_ANALYSIS {
        constexpr int attempts = 2000;
        for (int attempt = 0; attempt < attempts; ++attempt) {
            if (state.load(std::memory_order_relaxed) == free && tryLock()) return;
        }
        while (state.exchange(awaited, std::memory_order_acquire) != free)
            state.wait(awaited, std::memory_order_relaxed);
    }
    void unlock() RELEASE() NO_THREAD_SAFETY_ANALYSIS {
        if (state.exchange(free, std::memory_order_release) == awaited) state.notify_one();
    }

private:
    enum State : uint32_t { free, held, awaited };
    bool tryLock() {
        State expected = free;
        return state.compare_exchange_weak(expected, held, std::memory_order_acquire,
                                           std::memory_order_relaxed);
    }
    alignas(64) std::atomic<State> state{free};
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
