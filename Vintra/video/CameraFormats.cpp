#include "Vintra/video/CameraFormats.h"

#include "Vintra/platform/UserDefaults.h"
#include "Vintra/video/CameraFormatChoice.h"

#include <algorithm>
#include <utility>

namespace vintra {

std::optional<double> CameraFormats::cap() const {
    return webcamMaxFrameRate(*platform.userDefaults);
}

CameraResolution CameraFormats::cameraResolution(const std::string& forCamera) const {
    const auto found = selection.cameraResolutions->find(forCamera);
    return found == selection.cameraResolutions->end() ? CameraResolution::uhd : found->second;
}

bool CameraFormats::cameraOffers4K(const std::string& camera) const {
    const auto device = selection.availableCamera(camera);
    if (!device) return false;
    const auto best = bestCameraFormat(device->formats(), cap(), kMostLines);
    return best && best->formatDescription.dimensions.height > kMostLinesOf1080p;
}

CameraHold CameraFormats::holdOf(const AVCaptureVideoDevice& device) const {
    const bool isHD = cameraResolution(device.uniqueID()) == CameraResolution::hd;
    CameraHold hold;
    hold.cap = cap();
    hold.format = bestCameraFormat(device.formats(), hold.cap, isHD ? kMostLinesOf1080p : kMostLines);
    return hold;
}

std::shared_ptr<FrameRateCapWatcher>
CameraFormats::holdAndStart(std::shared_ptr<AVCaptureSession> session,
                            const std::shared_ptr<AVCaptureVideoDevice>& device,
                            std::function<void()> started) const {
    const CameraHold hold = holdOf(*device);
    if (hold.isEmpty()) {
        sessionControl.start(std::move(session), std::move(started));
        return nullptr;
    }
    sessionControl.async([device, hold, session = std::move(session), started = std::move(started),
                          main = platform.mainThread] {
        const bool isLocked = device->lockForConfiguration();
        if (isLocked) hold.apply(*device);
        session->startRunning();
        if (isLocked) {
            hold.apply(*device); // the start may have changed the format
            device->unlockForConfiguration();
        }
        main->post(started);
    });
    return watch(device, hold);
}

std::shared_ptr<FrameRateCapWatcher>
CameraFormats::hold(const std::shared_ptr<AVCaptureVideoDevice>& device) const {
    const CameraHold hold = holdOf(*device);
    if (hold.isEmpty()) return nullptr;
    sessionControl.async([device, hold] {
        if (!device->lockForConfiguration()) return;
        hold.apply(*device);
        device->unlockForConfiguration();
    });
    return watch(device, hold);
}

std::shared_ptr<FrameRateCapWatcher> CameraFormats::watch(const std::shared_ptr<AVCaptureVideoDevice>& device,
                                                          const CameraHold& hold) const {
    return std::make_shared<FrameRateCapWatcher>(device, hold, *sessionControl.queue(), platform.log);
}

} // namespace vintra
