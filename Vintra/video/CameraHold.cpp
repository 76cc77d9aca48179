#include "Vintra/video/CameraHold.h"

#include "Vintra/video/CameraFormatChoice.h"

#include <cmath>

namespace vintra {
namespace {

constexpr double kRateSlack = 0.01; // of the time between two frames

} // namespace

std::optional<CMTime>
CameraHold::frameDuration(const std::optional<AVCaptureDeviceFormat>& activeFormat) const {
    if (!cap || !activeFormat) return std::nullopt;
    return cappedFrameDuration(*cap, *activeFormat);
}

bool CameraHold::hasLeftFormat(const std::optional<AVCaptureDeviceFormat>& activeFormat) const {
    return format && !(activeFormat && sameShape(*format, *activeFormat));
}

bool CameraHold::hasLeftRate(const std::optional<AVCaptureDeviceFormat>& activeFormat,
                             CMTime activeVideoMinFrameDuration) const {
    const auto duration = frameDuration(activeFormat);
    if (!duration) return false;
    const double now = CMTimeGetSeconds(activeVideoMinFrameDuration);
    const double want = CMTimeGetSeconds(*duration);
    return now > 0 && std::fabs(now - want) / want > kRateSlack;
}

void CameraHold::apply(AVCaptureVideoDevice& to) const {
    if (hasLeftFormat(to.activeFormat())) to.setActiveFormat(*format);
    applyRate(to);
}

bool CameraHold::applyRate(AVCaptureVideoDevice& to) const {
    const auto duration = frameDuration(to.activeFormat());
    if (!duration) return false;
    to.setActiveVideoMinFrameDuration(*duration);
    to.setActiveVideoMaxFrameDuration(*duration);
    return true;
}

} // namespace vintra
