#include "Vintra/video/CameraFormatChoice.h"

#include "Vintra/platform/UserDefaults.h"

#include <algorithm>
#include <cmath>

namespace vintra {
namespace {

constexpr double kDefaultCap = 30.0;
constexpr double kMostAim = 30.0; // frames a second, however high the cap is
constexpr int32_t kMostWidth = 3840;
constexpr double kWideAspect = 16.0 / 9;
constexpr double kAspectTolerance = 0.02;
constexpr double kLeastTopRate = 23.99;
constexpr double kRateTolerance = 0.01; // frames a second
constexpr double kMissesAim = 1000;     // more than any rate is above the aim
constexpr uint32_t kPlainSubType = fourCharCode("420v");
constexpr double kThousandths = 1000;
constexpr double kMostTimescale = 2147483647;

double topRate(const AVCaptureDeviceFormat& format) {
    double top = 0;
    for (const AVFrameRateRange& range : format.videoSupportedFrameRateRanges)
        top = std::max(top, range.maxFrameRate);
    return top;
}

bool isUsable(const AVCaptureDeviceFormat& format, int32_t maxHeight) {
    const auto [width, height] = format.formatDescription.dimensions;
    if (width < 1 || height < 1 || width > kMostWidth) return false;
    if (height > std::min(maxHeight, kMostLines)) return false;
    if (!(std::fabs(static_cast<double>(width) / height - kWideAspect) < kAspectTolerance)) return false;
    return topRate(format) >= kLeastTopRate;
}

int64_t area(const AVCaptureDeviceFormat& format) {
    const auto [width, height] = format.formatDescription.dimensions;
    return static_cast<int64_t>(width) * height;
}

bool isPlain(const AVCaptureDeviceFormat& format) {
    return format.formatDescription.mediaSubType == kPlainSubType;
}

double rateCost(const AVCaptureDeviceFormat& format, double aim) {
    const double top = topRate(format);
    return top >= aim - kRateTolerance ? top - aim : aim - top + kMissesAim;
}

bool isBetter(const AVCaptureDeviceFormat& later, const AVCaptureDeviceFormat& best, double aim) {
    if (area(later) != area(best)) return area(later) > area(best);
    if (isPlain(later) != isPlain(best)) return isPlain(later);
    return rateCost(later, aim) < rateCost(best, aim);
}

} // namespace

std::optional<double> webcamMaxFrameRate(const UserDefaults& defaults) {
    const auto stored = doubleForKey(defaults, "webcamMaxFrameRate");
    if (!stored || std::isnan(*stored)) return kDefaultCap;
    return *stored > 0 ? stored : std::nullopt;
}

std::optional<AVCaptureDeviceFormat> bestCameraFormat(const std::vector<AVCaptureDeviceFormat>& formats,
                                                      std::optional<double> cap, int32_t maxHeight) {
    const double aim = std::min(cap.value_or(kMostAim), kMostAim);
    const AVCaptureDeviceFormat* best = nullptr;
    for (const AVCaptureDeviceFormat& format : formats) {
        if (!isUsable(format, maxHeight)) continue;
        if (!best || isBetter(format, *best, aim)) best = &format;
    }
    return best ? std::optional(*best) : std::nullopt;
}

std::optional<CMTime> cappedFrameDuration(double cap, const AVCaptureDeviceFormat& format) {
    if (topRate(format) <= cap + kRateTolerance) return std::nullopt;
    const AVFrameRateRange* under = nullptr;
    for (const AVFrameRateRange& range : format.videoSupportedFrameRateRanges) {
        if (range.maxFrameRate > cap + kRateTolerance) continue;
        if (!under || range.maxFrameRate > under->maxFrameRate) under = &range;
    }
    if (under) return under->minFrameDuration;
    const bool isWithin =
        std::ranges::any_of(format.videoSupportedFrameRateRanges, [cap](const AVFrameRateRange& range) {
            return range.minFrameRate <= cap && cap <= range.maxFrameRate;
        });
    const double timescale = std::round(cap * kThousandths);
    if (!isWithin || timescale < 1 || timescale > kMostTimescale) return std::nullopt;
    return CMTimeMake(static_cast<int64_t>(kThousandths), static_cast<int32_t>(timescale));
}

bool sameShape(const AVCaptureDeviceFormat& a, const AVCaptureDeviceFormat& b) {
    return a.formatDescription == b.formatDescription && std::fabs(topRate(a) - topRate(b)) <= kRateTolerance;
}

} // namespace vintra
