#include "Vintra/platform/simulated/SimulatedCamera.h"

#include <algorithm>
#include <cmath>

namespace vintra {

CMTime SimulatedCamera::durationAt(double rate) {
    if (rate == std::round(rate)) return CMTimeMake(1, static_cast<int32_t>(rate));
    // 23.976, 29.97, 59.94: thousandths of 24, 30, 60 over 1001.
    const double whole = std::round(rate * 1.001);
    if (std::fabs(rate * 1.001 - whole) < 0.01) return CMTimeMake(1001, static_cast<int32_t>(whole) * 1000);
    return CMTimeMake(100, static_cast<int32_t>(std::lround(rate * 100)));
}

AVCaptureDeviceFormat SimulatedCamera::format(int32_t width, int32_t height, const char (&subtype)[5],
                                              double minFrameRate, double maxFrameRate) {
    return {.formatDescription = {.mediaSubType = fourCharCode(subtype), .dimensions = {width, height}},
            .videoSupportedFrameRateRanges = {{.minFrameRate = minFrameRate,
                                               .maxFrameRate = maxFrameRate,
                                               .minFrameDuration = durationAt(maxFrameRate),
                                               .maxFrameDuration = durationAt(minFrameRate)}}};
}

void SimulatedCamera::use(const AVCaptureDeviceFormat& format) {
    activeFormat = format;
    const auto& ranges = format.videoSupportedFrameRateRanges;
    const auto fastest = std::ranges::max_element(ranges, {}, &AVFrameRateRange::maxFrameRate);
    minFrameDuration = fastest == ranges.end() ? kCMTimeInvalid : fastest->minFrameDuration;
    maxFrameDuration = fastest == ranges.end() ? kCMTimeInvalid : fastest->maxFrameDuration;
}

CMTime SimulatedCamera::interval() const {
    if (sendsEvery) return *sendsEvery;
    return minFrameDuration.isNumeric() && minFrameDuration.value > 0 ? minFrameDuration : CMTimeMake(1, 30);
}

CMVideoDimensions SimulatedCamera::pictureSize() const {
    if (sends) return *sends;
    return activeFormat ? activeFormat->formatDescription.dimensions : CMVideoDimensions{16, 16};
}

} // namespace vintra
