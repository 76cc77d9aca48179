#pragma once

#include "Vintra/platform/Mutex.h"

namespace vintra {

/// When a source last delivered a buffer, in seconds of the caller's clock; 0 at first. Written by the
/// source's queue, read by the watchdog. Any thread.
class ActivityStamp {
public:
    double last() const {
        MutexLock lock(mutex);
        return last_;
    }
    void stamp(double now) {
        MutexLock lock(mutex);
        last_ = now;
    }

private:
    mutable Mutex mutex;
    double last_ GUARDED_BY(mutex) = 0;
};

} // namespace vintra
