#pragma once

#include <cstdint>

namespace vintra {

/// When a camera's pictures were taken, in nanoseconds of CLOCK_MONOTONIC. A value of one thread.
///
/// What the camera stamped counts, then the time of the graph's cycle that brought the picture, then its arrival. A
/// stamp that lies more than a second before the arrival, or any time behind it, is of another clock or of none; nor
/// does a picture come before the one that came before it.
class CameraStamps {
public:
    struct Known {
        int64_t header = 0; ///< of the buffer; 0 if it has none
        int64_t cycle = 0;  ///< of the graph; 0 if it says none
        int64_t arrival = 0;
    };
    int64_t stamp(const Known& known);

private:
    bool isBelievable(int64_t time, int64_t arrival) const;
    int64_t last = 0;
};

} // namespace vintra
