#include "Vintra/platform/simulated/SimulatedVideoDevice.h"

#include <algorithm>
#include <utility>

namespace vintra {
namespace {

constexpr double kRateTolerance = 0.01; // frames a second

std::string described(const AVCaptureDeviceFormat& format) {
    const VideoDescription& description = format.formatDescription;
    std::string subtype;
    for (int shift = 24; shift >= 0; shift -= 8)
        subtype += static_cast<char>(description.mediaSubType >> shift & 0xff);
    return std::to_string(description.dimensions.width) + "×" +
           std::to_string(description.dimensions.height) + " " + subtype;
}

} // namespace

SimulatedVideoDevice::SimulatedVideoDevice(std::shared_ptr<SimulatedCameras> cameras,
                                           std::shared_ptr<SimulatedCamera> camera,
                                           std::shared_ptr<SimulatedViolations> violations)
    : cameras(std::move(cameras))
    , camera(std::move(camera))
    , violations(std::move(violations)) {}

bool SimulatedVideoDevice::lockForConfiguration() {
    if (camera->refusesLock) {
        camera->calls.emplace_back("refused lock");
        return false;
    }
    camera->calls.emplace_back("lock");
    ++locks;
    return true;
}

void SimulatedVideoDevice::unlockForConfiguration() {
    camera->calls.emplace_back("unlock");
    if (locks == 0) {
        violations->add("camera: unlocked without a lock");
        return;
    }
    --locks;
}

void SimulatedVideoDevice::setActiveFormat(const AVCaptureDeviceFormat& format) {
    if (!mayConfigure("format " + described(format))) return;
    if (std::ranges::find(camera->formats, format) == camera->formats.end()) {
        violations->add("camera: set to a format that it doesn't have");
        return;
    }
    camera->use(format);
}

void SimulatedVideoDevice::setActiveVideoMinFrameDuration(CMTime duration) {
    if (!mayConfigure("min " + describe(duration))) return;
    if (supports(duration)) camera->minFrameDuration = duration;
}

void SimulatedVideoDevice::setActiveVideoMaxFrameDuration(CMTime duration) {
    if (!mayConfigure("max " + describe(duration))) return;
    if (supports(duration)) camera->maxFrameDuration = duration;
}

bool SimulatedVideoDevice::mayConfigure(const std::string& what) {
    camera->calls.push_back(what);
    if (locks > 0) return true;
    violations->add("camera: configured without its lock: " + what);
    return false;
}

bool SimulatedVideoDevice::supports(CMTime duration) const {
    const double rate = 1 / CMTimeGetSeconds(duration);
    const bool isWithin =
        camera->activeFormat && std::ranges::any_of(camera->activeFormat->videoSupportedFrameRateRanges,
                                                    [rate](const AVFrameRateRange& range) {
                                                        return rate >= range.minFrameRate - kRateTolerance &&
                                                               rate <= range.maxFrameRate + kRateTolerance;
                                                    });
    if (!isWithin) violations->add("camera: set to a rate that its format doesn't have");
    return isWithin;
}

} // namespace vintra
