#include "Vintra/video/DropTimeline.h"

#include <cstddef>
#include <utility>

namespace vintra {
namespace {

constexpr size_t kMostTimes = 512;

} // namespace

void DropTimeline::begin(CMTime at) {
    MutexLock guard(lock);
    start = at;
    times.clear();
    times.reserve(kMostTimes);
}

void DropTimeline::record(CMTime time) {
    MutexLock guard(lock);
    if (!start.isValid() || !time.isNumeric() || times.size() >= kMostTimes) return;
    times.push_back(CMTimeGetSeconds(time - start));
}

std::vector<double> DropTimeline::take() {
    MutexLock guard(lock);
    start = kCMTimeInvalid;
    return std::exchange(times, {});
}

} // namespace vintra
