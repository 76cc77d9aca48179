#pragma once

#include "Vintra/video/CameraWriteQueue.h"
#include "Vintra/video/DeliveredFrameSize.h"
#include "Vintra/video/DropCounter.h"
#include "Vintra/video/PictureWatch.h"

#include <string>

namespace vintra {

/// A camera of the running take as the monitors and the report see it. The companions belong to the
/// controller or to the camera's tap, which outlive this view of them. Main thread.
struct RecordingCamera {
    std::string label; ///< "webcam (device name)", "webcam 2 (device name)"
    std::string name;
    std::string deviceID;
    DeliveredFrameSize& frameSize;
    PictureWatch& picture;
    DropCounter& frames;
    DropCounter& drops;
    CameraWriteQueue& writeQueue;
};

} // namespace vintra
