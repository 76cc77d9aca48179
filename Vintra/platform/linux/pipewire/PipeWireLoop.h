#pragma once

#include "Vintra/platform/Mutex.h"

#include <atomic>
#include <cstdint>
#include <thread>

struct pw_loop;
struct pw_thread_loop;

namespace vintra {

/// PipeWire's thread and the lock that every call into PipeWire is made with. Callbacks come on that thread
/// with the lock held, except the real-time ones. Any thread; the last reference must not go on PipeWire's
/// own.
class VINTRA_THREAD_ANNOTATION(capability("pipewire loop")) PipeWireLoop {
public:
    explicit PipeWireLoop(const char* name);
    /// Everything that was made on the loop must have gone.
    ~PipeWireLoop();
    PipeWireLoop(const PipeWireLoop&) = delete;
    PipeWireLoop& operator=(const PipeWireLoop&) = delete;

    /// False if the thread could not be started.
    bool isUsable() const { return running; }
    pw_loop* loop() const;
    pw_thread_loop* threadLoop() const { return thread; }

    /// May be taken again by the thread that holds it.
    void lock() ACQUIRE();
    void unlock() RELEASE();
    /// Whether the calling thread has the lock, as PipeWire's own has it in every callback.
    bool isHeld() const;
    /// For what the compiler's analysis can't see: callbacks, and objects that are given the loop.
    void assertHeld() const VINTRA_THREAD_ANNOTATION(assert_capability(this));

    /// Wakes every `waitUntil`.
    void signal() REQUIRES(this);
    /// Gives the lock up, which must be held once, and waits for a `signal`; false if the deadline of
    /// `deadlineIn` came first.
    bool waitUntil(int64_t deadline) REQUIRES(this);
    /// That far from now, for `waitUntil`.
    static int64_t deadlineIn(double seconds);

private:
    pw_thread_loop* thread = nullptr;
    bool running = false;
    std::atomic<std::thread::id> owner; ///< that has called `lock`
    int locks = 0;                      ///< how often the owner has called it; the owner's
};

/// Holds a loop's lock for a scope.
class VINTRA_THREAD_ANNOTATION(scoped_lockable) PipeWireLock {
public:
    explicit PipeWireLock(PipeWireLoop& loop) ACQUIRE(loop)
        : held(loop) {
        held.lock();
    }
    ~PipeWireLock() RELEASE() { held.unlock(); }
    PipeWireLock(const PipeWireLock&) = delete;
    PipeWireLock& operator=(const PipeWireLock&) = delete;

private:
    PipeWireLoop& held;
};

} // namespace vintra
