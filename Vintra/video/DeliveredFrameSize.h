#pragma once

#include "Vintra/platform/CMFormatDescription.h"
#include "Vintra/platform/Mutex.h"

namespace vintra {

/// The size in pixels of the frames that a camera delivers; zero until one was seen. Any thread.
class DeliveredFrameSize {
public:
    void set(CMVideoDimensions newSize) {
        MutexLock guard(lock);
        size = newSize;
    }
    CMVideoDimensions read() const {
        MutexLock guard(lock);
        return size;
    }

private:
    mutable Mutex lock;
    CMVideoDimensions size GUARDED_BY(lock);
};

} // namespace vintra
