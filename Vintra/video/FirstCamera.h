#pragma once

#include "Vintra/platform/FloatingPreviewWindows.h"
#include "Vintra/platform/MainThreadTasks.h"
#include "Vintra/platform/Observation.h"
#include "Vintra/platform/Task.h"
#include "Vintra/video/CameraCaptureChain.h"
#include "Vintra/video/CameraFormats.h"
#include "Vintra/video/CameraSamplePath.h"
#include "Vintra/video/CameraSurroundings.h"
#include "Vintra/video/CameraTap.h"
#include "Vintra/video/FrameRateCapWatcher.h"

#include <functional>
#include <memory>

namespace vintra {

/// The session of the first camera, which runs from its selection on, takes or not, and its preview window.
///
///     absent --configure--> starting --> running --(selection, camera or session change)--> absent --> ...
///
/// Owned by `Cameras`. Main thread.
class FirstCamera {
public:
    /// The formats outlive this. While `isHeld` is true a take uses the camera: nothing is changed.
    FirstCamera(const CameraSurroundings& surroundings, const CameraFormats& formats,
                std::shared_ptr<CameraSamplePath> samplePath, std::shared_ptr<CameraTap> tap,
                std::function<bool()> isHeld);

    /// Brings the session in line with the selection, with a new session even for the same camera.
    Task<> configure();
    /// Whether a camera that is chosen and listed doesn't run.
    bool isMissing() const;
    /// After a take: makes up for what was asked for meanwhile, and lets go of a camera that has ended.
    void catchUp();
    bool isConfiguring() const { return configuresUnderWay > 0; }
    /// Holds the camera to what its resolution now says.
    void holdAnew();
    /// Ends the session for good.
    Task<> end();

    void refreshFloatingPreviewContent();

    /// Null while none is set up.
    const std::shared_ptr<AVCaptureVideoDevice>& device() const { return device_; }
    const std::shared_ptr<AVCaptureSession>& session() const { return chain.session; }
    const std::shared_ptr<FrameRateCapWatcher>& capWatcher() const { return capWatcher_; }
    const std::shared_ptr<DispatchQueue>& queue() const { return webcamOutputQueue; }

private:
    bool isAlive() const;
    Task<> bringInLine();
    std::shared_ptr<AVCaptureSession> letGo();
    void install(const std::shared_ptr<AVCaptureVideoDevice>& device);
    void showFloatingPreviewWindow();
    void resizeFloatingPreviewWindow();
    void previewVisibleChanged();

    const CameraSurroundings surroundings;
    const CameraFormats& formats;
    const std::shared_ptr<CameraSamplePath> samplePath;
    const std::shared_ptr<CameraTap> tap;
    const std::function<bool()> isHeld;
    const std::shared_ptr<DispatchQueue> webcamOutputQueue;
    std::shared_ptr<AVCaptureVideoDevice> device_;
    CameraCaptureChain chain;
    std::shared_ptr<FrameRateCapWatcher> capWatcher_;
    std::shared_ptr<FloatingPreviewWindow> floatingPreviewWindow;
    bool isStarting = false;
    bool isOwed = false; ///< a configure was asked for in a take
    int configuresUnderWay = 0;
    bool hasEnded = false;
    Observation visibleObservation;
    MainThreadTasks tasks;
};

} // namespace vintra
