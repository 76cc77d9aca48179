#pragma once

#include "Vintra/platform/CMTime.h"
#include "Vintra/platform/Mutex.h"

#include <vector>

namespace vintra {

/// Which screen frames of a take were lost, and when. It holds the first 512. Begun and taken on the main
/// thread, recorded on the screen's sample queue; has a lock of its own.
class DropTimeline {
public:
    void begin(CMTime at);
    /// Ignored outside a take.
    void record(CMTime time);
    /// The losses in seconds since the start, in order of arrival; ends the recording.
    std::vector<double> take();

private:
    mutable Mutex lock;
    CMTime start GUARDED_BY(lock); ///< invalid when idle
    std::vector<double> times GUARDED_BY(lock);
};

} // namespace vintra
