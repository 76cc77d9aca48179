#pragma once

#include "Vintra/platform/CMTime.h"
#include "Vintra/platform/Mutex.h"

#include <optional>

namespace vintra {

/// The end time of the sample that was written last; none before the first. Any thread.
class LastFrameTime {
public:
    void set(CMTime time) {
        MutexLock guard(lock);
        pts = time;
    }
    void clear() {
        MutexLock guard(lock);
        pts.reset();
    }
    std::optional<CMTime> read() const {
        MutexLock guard(lock);
        return pts;
    }

private:
    mutable Mutex lock;
    std::optional<CMTime> pts GUARDED_BY(lock);
};

} // namespace vintra
