#pragma once

#include "Vintra/platform/CMTime.h"
#include "Vintra/platform/CaptureDevices.h"
#include "Vintra/platform/DispatchQueue.h"
#include "Vintra/platform/Task.h"
#include "Vintra/video/CameraFormats.h"
#include "Vintra/video/CameraSurroundings.h"
#include "Vintra/video/CameraTap.h"
#include "Vintra/video/ExtraCameraRig.h"
#include "Vintra/video/ExtraCameras.h"
#include "Vintra/video/FirstCamera.h"
#include "Vintra/video/RecordingCamera.h"

#include <memory>
#include <string>
#include <vector>

namespace vintra {

/// The cameras that run, between takes and in them: the first camera and a rig for each further one. A take
/// gives their taps the inputs of its movies; it starts and stops no camera, and while it runs no camera is set
/// up, let go or set to another format. Owned by the controller. Main thread.
class Cameras {
public:
    /// The movies of a take's cameras.
    struct Recordings {
        std::shared_ptr<AVAssetWriterInput> webcamInput; ///< null without a first camera
        const std::vector<ExtraCameraRecording>& extraCameras;
    };

    explicit Cameras(const CameraSurroundings& surroundings);
    ~Cameras();

    // Between takes.

    /// Brings the first camera in line with its selection.
    Task<> configureWebcamPreview() { return first.configure(); }
    /// Brings the extra cameras in line with their rows, later.
    void scheduleExtraCameraReconcile() { extra.scheduleReconcile(); }
    /// Whether a first camera that is chosen and listed doesn't run.
    bool isWebcamMissing() const { return first.isMissing(); }
    /// Ends once every camera is set up as was last asked for, and has been started or has refused.
    Task<> settle();
    /// Ends every camera for good; afterwards no sample callback comes.
    Task<> end();

    CameraResolution cameraResolution(const std::string& forCamera) const;
    /// Does nothing in a take.
    void setCameraResolution(CameraResolution resolution, const std::string& forCamera);
    bool cameraOffers4K(const std::string& camera) const { return formats.cameraOffers4K(camera); }

    void hideExtraCameraPreview(const UUID& row) { extra.hideExtraCameraPreview(row); }
    void showExtraCameraPreview(const UUID& row) { extra.showExtraCameraPreview(row); }
    void resizeExtraCameraWindow(const UUID& row, WebcamPreviewSize to) {
        extra.resizeExtraCameraWindow(row, to);
    }
    void refreshFloatingPreviewContent() { first.refreshFloatingPreviewContent(); }
    void refreshExtraCameraWindows() { extra.refreshExtraCameraWindows(); }

    const std::shared_ptr<AVCaptureVideoDevice>& webcamDevice() const { return first.device(); }
    const std::vector<ExtraCameraRig>& extraCameraRigs() const { return extra.rigs(); }
    /// Of the first camera.
    const CameraTap& webcam() const { return *webcamTap; }
    /// The number in a further camera's file name: its row's place in the list; a rig whose row has gone
    /// counts on behind.
    int webcamNumber(const ExtraCameraRig& rig) const;
    /// Slots a second of a camera's grid.
    int32_t beat(const AVCaptureVideoDevice& device) const;
    /// How often cameras were put back to their formats and rates since they were set up.
    int64_t reasserts() const;

    // What a take does with them, in this order.

    /// Nothing of the cameras changes until `release`: their movies are planned.
    void hold() { isInTake = true; }
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
    /// The take is over: what was asked for meanwhile is done now.
    void release();

    /// The cameras that a take holds, the first one first.
    std::vector<RecordingCamera> recordingCameras(const Recordings& recordings) const;

private:
    Task<> flush(std::shared_ptr<CameraTap> tap, std::shared_ptr<AVAssetWriterInput> into);
    bool isHeld() const { return isInTake || *surroundings.isRecording; }

    const CameraSurroundings surroundings;
    bool isInTake = false; ///< from `hold` to `release`
    const CameraFormats formats;
    const std::shared_ptr<CameraTap> webcamTap;
    const std::shared_ptr<CameraSamplePath> samplePath;
    FirstCamera first;
    ExtraCameras extra;
};

} // namespace vintra
