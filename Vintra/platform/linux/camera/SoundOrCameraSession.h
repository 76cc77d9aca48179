#pragma once

#include "Vintra/platform/CaptureDevices.h"
#include "Vintra/platform/Mutex.h"
#include "Vintra/platform/linux/camera/PictureObservers.h"

#include <functional>
#include <memory>

namespace vintra {

class PipeWireCamera;

/// Names the camera that a session is to open. Immutable.
class PipeWireCameraInput : public AVCaptureDeviceInput {
public:
    explicit PipeWireCameraInput(std::shared_ptr<PipeWireCamera> camera);
    ~PipeWireCameraInput() override;
    const std::shared_ptr<PipeWireCamera> camera;
};

/// To whom a camera's pictures go. Set up on the main thread before the session runs.
class PipeWireVideoDataOutput : public AVCaptureVideoDataOutput {
public:
    struct Target {
        std::weak_ptr<AVCaptureDataOutputSampleBufferDelegate> delegate;
        std::shared_ptr<DispatchQueue> queue;
    };
    void setSampleBufferDelegate(std::weak_ptr<AVCaptureDataOutputSampleBufferDelegate> delegate,
                                 std::shared_ptr<DispatchQueue> queue) override EXCLUDES(mutex);
    Target target() const EXCLUDES(mutex);

private:
    mutable Mutex mutex;
    Target target_ GUARDED_BY(mutex);
};

/// A session of a sound input or of a camera, whichever is added to it first. Starting and stopping are for one
/// thread at a time, `isRunning` for any; the last reference must not go on one of PipeWire's threads.
class SoundOrCameraSession : public AVCaptureSession,
                             public std::enable_shared_from_this<SoundOrCameraSession> {
public:
    explicit SoundOrCameraSession(std::shared_ptr<AVCaptureSession> sound);
    ~SoundOrCameraSession() override;

    bool canAddInput(const AVCaptureDeviceInput& input) const override;
    void addInput(std::shared_ptr<AVCaptureDeviceInput> input) override;
    bool canAddOutput(const AVCaptureOutput& output) const override;
    void addOutput(std::shared_ptr<AVCaptureOutput> output) override;
    void startRunning() override;
    void stopRunning() override;
    bool isRunning() const override;
    Observation observePictures(std::function<void(const std::shared_ptr<CVPixelBuffer>&)> block) override;

    /// What it is if it is one of sound.
    const std::shared_ptr<AVCaptureSession>& soundSession() const { return sound; }

private:
    const std::shared_ptr<AVCaptureSession> sound;
    bool hasSound = false; ///< an input or an output of it
    std::shared_ptr<PipeWireCameraInput> input;
    std::shared_ptr<PipeWireVideoDataOutput> output;
    const std::shared_ptr<PictureObservers> pictures = std::make_shared<PictureObservers>();
};

} // namespace vintra
