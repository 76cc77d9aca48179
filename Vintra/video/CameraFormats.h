#pragma once

#include "Vintra/platform/CaptureDevices.h"
#include "Vintra/platform/Platform.h"
#include "Vintra/platform/SessionControl.h"
#include "Vintra/video/CameraHold.h"
#include "Vintra/video/CameraSelection.h"
#include "Vintra/video/FrameRateCapWatcher.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace vintra {

/// Which format each camera is held to, and the holding. Owned by `Cameras`. Main thread; cameras are configured
/// on the session control queue.
class CameraFormats {
public:
    /// All outlive this.
    CameraFormats(const Platform& platform, const CameraSelection& selection, SessionControl& sessionControl)
        : platform(platform)
        , selection(selection)
        , sessionControl(sessionControl) {}

    /// The most frames a second; nothing for no cap.
    std::optional<double> cap() const;
    CameraResolution cameraResolution(const std::string& forCamera) const;
    /// Whether the camera has a format worth recording above 1080p; false if there is no such camera.
    bool cameraOffers4K(const std::string& camera) const;

    /// Starts the session, with the camera in the format and at the rate that it is held to; `started` is called
    /// on the main thread once the device runs or has refused. The result keeps it there; null if there is
    /// nothing to hold.
    std::shared_ptr<FrameRateCapWatcher> holdAndStart(std::shared_ptr<AVCaptureSession> session,
                                                      const std::shared_ptr<AVCaptureVideoDevice>& device,
                                                      std::function<void()> started) const;
    /// The same for a camera whose session has been started.
    std::shared_ptr<FrameRateCapWatcher> hold(const std::shared_ptr<AVCaptureVideoDevice>& device) const;

private:
    CameraHold holdOf(const AVCaptureVideoDevice& device) const;
    std::shared_ptr<FrameRateCapWatcher> watch(const std::shared_ptr<AVCaptureVideoDevice>& device,
                                               const CameraHold& hold) const;

    const Platform& platform;
    const CameraSelection& selection;
    SessionControl& sessionControl;
};

} // namespace vintra
