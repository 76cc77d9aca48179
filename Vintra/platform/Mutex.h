#pragma once

#include <mutex>

#if defined(__clang__)
#define VINTRA_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define VINTRA_THREAD_ANNOTATION(x)
#endif

/// A field that may be touched only with the named mutex held.
#define GUARDED_BY(x) VINTRA_THREAD_ANNOTATION(guarded_by(x))
#define PT_GUARDED_BY(x) VINTRA_THREAD_ANNOTATION(pt_guarded_by(x))
/// A function that must be called with the named mutex held.
#define REQUIRES(...) VINTRA_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
/// A function that must be called without it.
#define EXCLUDES(...) VINTRA_THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))
#define ACQUIRE(...) VINTRA_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define RELEASE(...) VINTRA_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
#define NO_THREAD_SAFETY_ANALYSIS VINTRA_THREAD_ANNOTATION(no_thread_safety_analysis)

namespace vintra {

/// A mutex that the compiler's thread-safety analysis knows. It meets BasicLockable, so it also works with
/// `std::condition_variable_any`.
class VINTRA_THREAD_ANNOTATION(capability("mutex")) Mutex {
public:
    Mutex() = default;
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    void lock() ACQUIRE() { mutex.lock(); }
    void unlock() RELEASE() { mutex.unlock(); }

private:
    std::mutex mutex;
};

/// Holds a `Mutex` for a scope. `unlock` and `lock` give it up and take it again within that scope.
class VINTRA_THREAD_ANNOTATION(scoped_lockable) MutexLock {
public:
    explicit MutexLock(Mutex& mutex) ACQUIRE(mutex)
        : held(mutex) {
        held.lock();
    }
    ~MutexLock() RELEASE() {
        if (owns) held.unlock();
    }
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

    void lock() ACQUIRE() {
        held.lock();
        owns = true;
    }
    void unlock() RELEASE() {
        owns = false;
        held.unlock();
    }

private:
    Mutex& held;
    bool owns = true;
};

} // namespace vintra
