#include "Vintra/video/CameraSelection.h"

#include <algorithm>

namespace vintra {

int CameraSelection::armedCameraCount() const {
    const auto armed = std::ranges::count_if(
        *extraCameras, [](const ExtraCameraConfig& row) { return row.deviceID.has_value(); });
    return static_cast<int>(armed) + (*selectedCameraDeviceID ? 1 : 0);
}

} // namespace vintra
