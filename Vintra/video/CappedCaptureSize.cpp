#include "Vintra/video/CappedCaptureSize.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace vintra {
namespace {

constexpr int64_t kMostPixels = 4096 * 2304;

int evenAtLeastTwo(double side) {
    return std::max(static_cast<int>(std::trunc(side)) & ~1, 2);
}

} // namespace

CMVideoDimensions cappedCaptureSize(int width, int height, bool native) {
    const int64_t pixels = static_cast<int64_t>(width) * height;
    if (width < 1 || height < 1 || native || pixels <= kMostPixels) return {width, height};
    const double f = std::sqrt(static_cast<double>(kMostPixels) / static_cast<double>(pixels));
    return {evenAtLeastTwo(f * width), evenAtLeastTwo(f * height)};
}

} // namespace vintra
