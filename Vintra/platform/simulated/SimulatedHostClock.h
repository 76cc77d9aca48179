#pragma once

#include "Vintra/platform/HostClock.h"
#include "Vintra/platform/simulated/SimulatedMainThread.h"

#include <memory>

namespace vintra {

/// The host clock of a simulated machine. It starts at 1,000 s and moves only as virtual time does.
class SimulatedHostClock : public HostClock {
public:
    SimulatedHostClock(std::shared_ptr<VirtualTime> time, std::shared_ptr<SimulatedMainThread> mainThread);

    CMTime now() const override;
    /// Runs what falls due meanwhile on all other lanes; the caller's own stays occupied. If one of those
    /// sleeps longer, this sleep ends only after that one: there is one real thread.
    void sleep(int64_t microseconds) override;

    /// How much time passes after the main thread has read the clock, while the other lanes keep working. 0:
    /// all that the main thread does between two suspensions happens at one instant.
    double secondsAfterReading = 0;

private:
    std::shared_ptr<VirtualTime> time;
    std::shared_ptr<SimulatedMainThread> mainThread;
};

} // namespace vintra
