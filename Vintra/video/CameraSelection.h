#pragma once

#include "Vintra/platform/Published.h"
#include "Vintra/platform/UUID.h"
#include "Vintra/video/CameraResolution.h"
#include "Vintra/video/ExtraCameraConfig.h"
#include "Vintra/video/WebcamPreviewSize.h"

#include <memory>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

namespace vintra {

class AVCaptureSession;
class AVCaptureVideoDevice;

/// Which cameras are there, and which are chosen and shown. Part of the controller's state. Main thread.
struct CameraSelection {
    Published<std::vector<std::shared_ptr<AVCaptureVideoDevice>>> availableCameraDevices;
    Published<std::optional<std::string>> selectedCameraDeviceID;
    Published<std::shared_ptr<AVCaptureSession>> webcamPreviewSession; ///< of the first camera, while it runs
    Published<bool> webcamPreviewVisible{false};
    Published<WebcamPreviewSize> webcamPreviewSize{WebcamPreviewSize::small};
    Published<std::vector<ExtraCameraConfig>> extraCameras;
    Published<std::set<UUID>> hiddenExtraCameraPreviews;
    Published<std::unordered_map<std::string, CameraResolution>>
        cameraResolutions; ///< by unique id; absent: uhd
    Published<std::optional<int>>
        multiCameraScreenRateNote; ///< frames a second that several cameras replaced

    /// The rows that have a device, the first camera among them.
    int armedCameraCount() const;
    /// The listed camera of that unique id; null if there is none.
    std::shared_ptr<AVCaptureVideoDevice> availableCamera(const std::optional<std::string>& uniqueID) const;
};

} // namespace vintra
