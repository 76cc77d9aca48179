#pragma once

#include "Vintra/platform/WallClock.h"
#include "Vintra/platform/simulated/VirtualTime.h"

#include <memory>

namespace vintra {

/// The clock on the wall of a simulated machine: 2025-03-04 10:20:30 UTC at the start, moving with virtual
/// time.
class SimulatedWallClock : public WallClock {
public:
    explicit SimulatedWallClock(std::shared_ptr<VirtualTime> time);

    Date now() const override;
    LocalTime localTime(Date date) const override;

    double offsetSeconds = 0;         ///< how far the user has set the clock since the start
    int64_t secondsFromGreenwich = 0; ///< the user's time zone, east positive

private:
    std::shared_ptr<VirtualTime> time;
    double startSeconds;
};

} // namespace vintra
