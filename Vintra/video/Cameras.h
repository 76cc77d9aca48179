#pragma once

#include "Vintra/platform/CMTime.h"
#include "Vintra/platform/CaptureDevices.h"
#include "Vintra/platform/DispatchQueue.h"
#include "Vintra/platform/Platform.h"
#include "Vintra/platform/Task.h"
#include "Vintra/video/CameraSelection.h"
#include "Vintra/video/CameraTap.h"
#include "Vintra/video/ExtraCameraRig.h"
#include "Vintra/video/RecordingCamera.h"

#include <memory>
#include <string>
#include <vector>

namespace vintra {

class CameraSamplePath;

/// The cameras that run, between takes and in them: the first camera and a rig for each further one. A take
/// gives their taps the inputs of its movies; it starts and stops no camera. Owned by the controller. Main
/// thread.
///
/// Nothing brings the cameras in line with their selection yet, so none runs; there are no preview windows
/// yet.
class Cameras {
public:
    /// The movies of a take's cameras.
    struct Recordings {
        std::shared_ptr<AVAssetWriterInput> webcamInput; ///< null without a first camera
        const std::vector<ExtraCameraRecording>& extraCameras;
    };

    /// The platform and the selection outlive this.
    Cameras(const Platform& platform, const CameraSelection& selection);
    ~Cameras();

    const std::shared_ptr<AVCaptureDevice>& webcamDevice() const { return webcamDevice_; }
    const std::vector<ExtraCameraRig>& extraCameraRigs() const { return extraCameraRigs_; }
    /// Of the first camera.
    const CameraTap& webcam() const { return *webcamTap; }
    /// The number in a further camera's file name: its row's place in the list; a rig whose row has gone
    /// counts on behind.
    int webcamNumber(const ExtraCameraRig& rig) const;

    // What a take does with them, in this order.

    void begin(CMTime commonStart, const Recordings& recordings);
    /// Lets the frames through to the movies.
    void open(const Recordings& recordings);
    void closeWebcam();
    void closeExtraCameras();
    /// The queues of their frames, in the order of a drain.
    std::vector<std::shared_ptr<DispatchQueue>> queues() const;
    /// Writes out what waits for the movies, once the queues are drained. Each at most half a second.
    Task<> flush(std::shared_ptr<AVAssetWriterInput> webcamInput,
                 std::vector<ExtraCameraRecording> extraCameras);
    /// Forgets what waits: the take never started.
    void clear();
    void resetCounters(const std::vector<ExtraCameraRecording>& extraCameras);

    /// The cameras that a take holds, the first one first.
    std::vector<RecordingCamera> recordingCameras(const Recordings& recordings) const;

    void refreshFloatingPreviewContent() {}
    void refreshExtraCameraWindows() {}

private:
    static int32_t beat(const AVCaptureDevice* device);
    Task<> flush(std::shared_ptr<CameraTap> tap, std::shared_ptr<AVAssetWriterInput> into);

    const Platform& platform;
    const CameraSelection& selection;
    const std::shared_ptr<CameraTap> webcamTap;
    const std::shared_ptr<CameraSamplePath> samplePath;
    const std::shared_ptr<DispatchQueue> webcamOutputQueue;
    std::shared_ptr<AVCaptureDevice> webcamDevice_;
    std::vector<ExtraCameraRig> extraCameraRigs_; ///< in the order of their rows
};

} // namespace vintra
