#pragma once

#include "Vintra/platform/AVCaptureVideoDevice.h"
#include "Vintra/platform/DispatchQueue.h"
#include "Vintra/platform/Log.h"
#include "Vintra/video/CameraHold.h"
#include "Vintra/video/DropCounter.h"

#include <memory>

namespace vintra {

/// Looks at a camera once a second and puts it back to what it is held to. It does so for as long as it lives.
/// Made and dropped on the main thread; looks on the queue that it is given.
class FrameRateCapWatcher {
public:
    FrameRateCapWatcher(std::shared_ptr<AVCaptureVideoDevice> device, CameraHold hold, DispatchQueue& queue,
                        std::shared_ptr<Log> log);

    /// How often the camera was put back.
    const std::shared_ptr<DropCounter> reasserts;

private:
    const std::unique_ptr<DispatchTimer> timer;
};

} // namespace vintra
