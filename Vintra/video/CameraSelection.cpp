#include "Vintra/video/CameraSelection.h"

#include "Vintra/platform/AVCaptureVideoDevice.h"

#include <algorithm>

namespace vintra {

int CameraSelection::armedCameraCount() const {
    const auto armed = std::ranges::count_if(
        *extraCameras, [](const ExtraCameraConfig& row) { return row.deviceID.has_value(); });
    return static_cast<int>(armed) + (*selectedCameraDeviceID ? 1 : 0);
}

std::shared_ptr<AVCaptureVideoDevice>
CameraSelection::availableCamera(const std::optional<std::string>& uniqueID) const {
    const auto found = std::ranges::find_if(*availableCameraDevices, [&](const auto& device) {
        return uniqueID && device->uniqueID() == *uniqueID;
    });
    return found == availableCameraDevices->end() ? nullptr : *found;
}

} // namespace vintra
