#pragma once

#include "Vintra/platform/MainThreadTasks.h"
#include "Vintra/platform/Task.h"
#include "Vintra/platform/UUID.h"
#include "Vintra/video/CameraFormats.h"
#include "Vintra/video/CameraSamplePath.h"
#include "Vintra/video/CameraSurroundings.h"
#include "Vintra/video/ExtraCameraRig.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace vintra {

/// The rigs of the further cameras, one for each row that has a camera, with their preview windows. A rig runs
/// from the moment that its row is armed, takes or not. Owned by `Cameras`. Main thread.
class ExtraCameras {
public:
    /// The formats outlive this. While `isHeld` is true a take uses the rigs: they stay as they are.
    ExtraCameras(const CameraSurroundings& surroundings, const CameraFormats& formats,
                 std::shared_ptr<CameraSamplePath> samplePath, std::function<bool()> isHeld);

    /// Brings the rigs in line with the rows, later. Such reconciles run one at a time.
    void scheduleReconcile();
    /// After a take: a reconcile, if one was asked for meanwhile or a camera has ended.
    void catchUp();
    bool isReconciling() const { return isAsked || isRunning; }
    /// Holds the rigs on that camera to what its resolution now says.
    void holdAnew(const std::string& camera);
    /// Ends every rig for good.
    Task<> end();

    /// Takes the window off the user's sight; the camera goes on, in a take as well.
    void hideExtraCameraPreview(const UUID& row);
    void showExtraCameraPreview(const UUID& row);
    void resizeExtraCameraWindow(const UUID& row, WebcamPreviewSize to);
    void refreshExtraCameraWindows();

    /// In the order of their rows.
    const std::vector<ExtraCameraRig>& rigs() const { return extraCameraRigs; }

private:
    Task<> runReconciles();
    Task<> reconcile();
    bool mustWait();
    Task<> dropUnwanted();
    Task<> addMissing();
    Task<> takeDown(ExtraCameraRig rig);
    bool isWanted(const ExtraCameraRig& rig) const;
    std::vector<ExtraCameraConfig> missingRows() const;
    void addRig(const ExtraCameraConfig& row);
    std::shared_ptr<FloatingPreviewWindow> makeExtraCameraWindow(const AVCaptureVideoDevice& device) const;
    void sortRigs();
    void syncTaps();
    void setContent(const ExtraCameraRig& rig);
    void noteStarted(const std::shared_ptr<AVCaptureSession>& session);
    ExtraCameraRig* rigOf(const UUID& row);

    const CameraSurroundings surroundings;
    const CameraFormats& formats;
    const std::shared_ptr<CameraSamplePath> samplePath;
    const std::function<bool()> isHeld;
    std::vector<ExtraCameraRig> extraCameraRigs;
    bool isAsked = false;
    bool isOwed = false; ///< one was asked for in a take
    bool isRunning = false;
    bool hasEnded = false;
    MainThreadTasks tasks;
};

} // namespace vintra
