#pragma once

#include "Vintra/platform/AVAssetWriter.h"
#include "Vintra/platform/CaptureDevices.h"
#include "Vintra/platform/DispatchQueue.h"
#include "Vintra/platform/FloatingPreviewWindows.h"
#include "Vintra/platform/UUID.h"
#include "Vintra/video/ExtraCameraTap.h"
#include "Vintra/video/FrameRateCapWatcher.h"
#include "Vintra/video/WebcamPreviewSize.h"

#include <memory>
#include <string>

namespace vintra {

/// One running extra camera, from its configuration on, takes or not. Main thread.
struct ExtraCameraRig {
    UUID configID;
    std::shared_ptr<AVCaptureVideoDevice> device;
    std::shared_ptr<AVCaptureSession> session;
    std::shared_ptr<DispatchQueue> queue; ///< "com.screenrecorder.extraCamera." + the device's unique id
    std::shared_ptr<ExtraCameraTap> tap;
    std::shared_ptr<FloatingPreviewWindow> window;
    std::shared_ptr<FrameRateCapWatcher> capWatcher; ///< null if the camera is held to nothing
    WebcamPreviewSize previewSize = WebcamPreviewSize::small;
    bool isStarting = true; ///< the session's start is still under way
};

/// One extra camera in a running take. Main thread.
struct ExtraCameraRecording {
    std::shared_ptr<ExtraCameraTap> tap;
    std::shared_ptr<AVAssetWriter> writer;
    std::shared_ptr<AVAssetWriterInput> input;
    std::string label; ///< "webcam 2 (device name)"
    std::string name;  ///< the device's name
    std::string deviceID;
};

} // namespace vintra
