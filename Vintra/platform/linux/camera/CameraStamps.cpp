#include "Vintra/platform/linux/camera/CameraStamps.h"

#include <algorithm>

namespace vintra {
namespace {

constexpr int64_t kMostDelay = 1'000'000'000;
constexpr int64_t kMostAhead = 20'000'000; // of a cycle that is stamped with its end
constexpr int64_t kTick = 1000;            // more than the tick of a host time

} // namespace

bool CameraStamps::isBelievable(int64_t time, int64_t arrival) const {
    return time > last && time > arrival - kMostDelay && time <= arrival + kMostAhead;
}

int64_t CameraStamps::stamp(const Known& known) {
    int64_t time = known.arrival;
    if (isBelievable(known.header, known.arrival)) {
        time = std::min(known.header, known.arrival);
    } else if (isBelievable(known.cycle, known.arrival)) {
        time = std::min(known.cycle, known.arrival);
    }
    last = std::max(time, last + kTick);
    return last;
}

} // namespace vintra
