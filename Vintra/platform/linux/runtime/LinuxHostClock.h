#pragma once

#include "Vintra/platform/HostClock.h"

namespace vintra {

/// CLOCK_MONOTONIC as the host clock: the clock that X11, PipeWire and the kernel's cameras stamp with. Any
/// thread.
class LinuxHostClock : public HostClock {
public:
    CMTime now() const override;
    void sleep(int64_t microseconds) override;
};

/// A reading of CLOCK_MONOTONIC in nanoseconds.
int64_t monotonicNanoseconds();

} // namespace vintra
