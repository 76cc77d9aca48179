#pragma once

#include "Vintra/platform/AVAssetWriter.h"
#include "Vintra/platform/AVCaptureDevice.h"
#include "Vintra/platform/AVCaptureVideoDevice.h"
#include "Vintra/platform/CMSampleBuffer.h"
#include "Vintra/platform/DispatchQueue.h"
#include "Vintra/platform/Observation.h"
#include "Vintra/platform/SystemError.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace vintra {

/// A device as a session's source. Opened by `CaptureDevices::makeDeviceInput`.
class AVCaptureDeviceInput {
public:
    virtual ~AVCaptureDeviceInput() = default;
};

/// Where a session's samples come out. Its identity is its address.
class AVCaptureOutput {
public:
    virtual ~AVCaptureOutput() = default;
};

/// Pictures of a camera that were lost before they could be delivered.
struct AVCaptureMissedPictures {
    CMTime first;      ///< host time: none was lost before
    CMTime end;        ///< host time: all were lost before
    int64_t count = 1; ///< how many
};

/// Takes samples on the queue that the output was given.
class AVCaptureDataOutputSampleBufferDelegate {
public:
    virtual ~AVCaptureDataOutputSampleBufferDelegate() = default;
    virtual void captureOutput(const std::shared_ptr<AVCaptureOutput>& output,
                               const CMSampleBuffer& didOutput) = 0;
    /// Of a camera, in order with its samples.
    virtual void captureOutputDidMiss(const std::shared_ptr<AVCaptureOutput>& /*output*/,
                                      const AVCaptureMissedPictures& /*pictures*/) {}
};

/// Delivers interleaved linear PCM in the rate, depth and channel count asked for, each buffer stamped with
/// the host time of its first frame. Held by the session it is added to.
class AVCaptureAudioDataOutput : public AVCaptureOutput {
public:
    /// Before the session runs. The delegate is held weakly.
    virtual void setSampleBufferDelegate(std::weak_ptr<AVCaptureDataOutputSampleBufferDelegate> delegate,
                                         std::shared_ptr<DispatchQueue> queue) = 0;
};

/// Delivers a camera's pictures in a pixel format of the backend's choice, in the size that the camera sends,
/// each stamped with the host time of its capture. Held by the session it is added to.
class AVCaptureVideoDataOutput : public AVCaptureOutput {
public:
    /// Before the session runs. The delegate is held weakly.
    virtual void setSampleBufferDelegate(std::weak_ptr<AVCaptureDataOutputSampleBufferDelegate> delegate,
                                         std::shared_ptr<DispatchQueue> queue) = 0;
};

/// Joins one device input to its outputs. Built on the main thread; started and stopped on the session
/// control queue.
class AVCaptureSession {
public:
    virtual ~AVCaptureSession() = default;
    virtual bool canAddInput(const AVCaptureDeviceInput& input) const = 0;
    virtual void addInput(std::shared_ptr<AVCaptureDeviceInput> input) = 0;
    virtual bool canAddOutput(const AVCaptureOutput& output) const = 0;
    virtual void addOutput(std::shared_ptr<AVCaptureOutput> output) = 0;
    /// Blocks until the device runs or has refused.
    virtual void startRunning() = 0;
    /// Blocks until no further sample will be queued.
    virtual void stopRunning() = 0;
    virtual bool isRunning() const = 0;
    /// Whether a start that is over without success goes on waiting for a device that takes its time, as one over Bluetooth
    /// does. A session that doesn't, and doesn't run, never will.
    virtual bool mayStillBegin() const { return false; }
    /// Calls the block with each picture that a camera's session delivers, for as long as the result is kept: for a
    /// preview beside the output. On the output's queue, which the block doesn't keep busy; it holds one picture at the
    /// most. Main thread; null for a session without a camera.
    virtual Observation
    observePictures(std::function<void(const std::shared_ptr<CVPixelBuffer>&)> /*block*/) {
        return nullptr;
    }
};

/// The callbacks of an observer of capture devices, called on the main thread. None is empty.
struct CaptureDeviceNotifications {
    std::function<void(const std::shared_ptr<AVCaptureDevice>&)> deviceWasConnected;
    std::function<void(const std::shared_ptr<AVCaptureDevice>&)> deviceWasDisconnected;
    /// A running session has ended by itself, for another reason than the loss of its device.
    std::function<void(const std::shared_ptr<AVCaptureSession>&, const SystemError&)> sessionRuntimeError;
};

/// Finds and opens capture devices. Main thread.
class CaptureDevices {
public:
    virtual ~CaptureDevices() = default;
    /// Null if there is no such device, or none that can be captured.
    virtual std::shared_ptr<AVCaptureDevice> deviceWithUniqueID(const std::string& uniqueID) = 0;
    /// The cameras that are there, built in and external ones. A camera that stays is the same object each time.
    virtual std::vector<std::shared_ptr<AVCaptureVideoDevice>> cameras() = 0;
    virtual AVAuthorizationStatus authorizationStatus(AVMediaType mediaType) const = 0;
    /// Asks the user. The answer may come on any thread.
    virtual void requestAccess(AVMediaType mediaType, std::function<void(bool granted)> completion) = 0;
    /// Throws `SystemError` if the device can't be opened.
    virtual std::shared_ptr<AVCaptureDeviceInput>
    makeDeviceInput(const std::shared_ptr<AVCaptureDevice>& device) = 0;
    virtual std::shared_ptr<AVCaptureAudioDataOutput>
    makeAudioDataOutput(const AVAudioSettings& audioSettings) = 0;
    /// Throws `SystemError` if the machine can't capture pictures.
    virtual std::shared_ptr<AVCaptureVideoDataOutput> makeVideoDataOutput() = 0;
    virtual std::shared_ptr<AVCaptureSession> makeSession() = 0;
    /// Calls the observer for as long as the result is kept.
    virtual Observation observe(CaptureDeviceNotifications notifications) = 0;
    /// Whether the system has refused real-time rights to the threads that take sound in; false until it is
    /// known.
    virtual bool isSoundWithoutRealTime() const = 0;
};

} // namespace vintra
