#pragma once

#include "Vintra/video/CameraTap.h"

#include <memory>
#include <string>

namespace vintra {

/// A camera of the running take as the monitors and the report see it. Main thread.
struct RecordingCamera {
    std::string label; ///< "webcam (device name)", "webcam 2 (device name)"
    std::string name;
    std::string deviceID;
    std::shared_ptr<CameraTap> tap;
};

} // namespace vintra
