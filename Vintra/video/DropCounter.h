#pragma once

#include "Vintra/platform/Mutex.h"

#include <cstdint>

namespace vintra {

/// A count that a sample callback raises and the main thread reads. Any thread.
class DropCounter {
public:
    void add(int64_t n) {
        MutexLock guard(lock);
        count += n;
    }
    int64_t read() const {
        MutexLock guard(lock);
        return count;
    }
    void reset() {
        MutexLock guard(lock);
        count = 0;
    }

private:
    mutable Mutex lock;
    int64_t count GUARDED_BY(lock) = 0;
};

} // namespace vintra
