#pragma once

#include "Vintra/platform/WallClock.h"

namespace vintra {

/// CLOCK_REALTIME and the C library's time zone. Any thread.
class LinuxWallClock : public WallClock {
public:
    Date now() const override;
    LocalTime localTime(Date date) const override;
};

} // namespace vintra
