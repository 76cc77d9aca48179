#pragma once

#include "Vintra/platform/CaptureDevices.h"
#include "Vintra/platform/MainThread.h"
#include "Vintra/platform/simulated/SimulatedCameraStream.h"
#include "Vintra/platform/simulated/SimulatedCaptureDevice.h"
#include "Vintra/platform/simulated/SimulatedHostClock.h"
#include "Vintra/platform/simulated/SimulatedVideoDevice.h"
#include "Vintra/platform/simulated/SimulatedViolations.h"
#include "Vintra/platform/simulated/VirtualTime.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace vintra {

class SimulatedCaptureDeviceInput : public AVCaptureDeviceInput {
public:
    explicit SimulatedCaptureDeviceInput(std::shared_ptr<SimulatedCaptureDevice> device)
        : device(std::move(device)) {}
    const std::shared_ptr<SimulatedCaptureDevice> device;
};

class SimulatedCameraInput : public AVCaptureDeviceInput {
public:
    explicit SimulatedCameraInput(std::shared_ptr<SimulatedVideoDevice> device)
        : device(std::move(device)) {}
    const std::shared_ptr<SimulatedVideoDevice> device;
};

class SimulatedCaptureAudioDataOutput : public AVCaptureAudioDataOutput {
public:
    explicit SimulatedCaptureAudioDataOutput(AVAudioSettings settings)
        : settings(settings) {}
    void setSampleBufferDelegate(std::weak_ptr<AVCaptureDataOutputSampleBufferDelegate> sampleBufferDelegate,
                                 std::shared_ptr<DispatchQueue> callbackQueue) override {
        delegate = std::move(sampleBufferDelegate);
        queue = std::move(callbackQueue);
    }

    const AVAudioSettings settings;
    std::weak_ptr<AVCaptureDataOutputSampleBufferDelegate> delegate;
    std::shared_ptr<DispatchQueue> queue;
};

/// Delivers what a simulated sound device hears: 32-bit float samples at the rate and channel count of the
/// output, stamped with the host time of their first frame, each buffer handed over after its last frame. Or
/// the pictures of a simulated camera. One real thread.
class SimulatedCaptureSession : public AVCaptureSession,
                                public std::enable_shared_from_this<SimulatedCaptureSession> {
public:
    struct Services {
        std::shared_ptr<VirtualTime> time;
        std::shared_ptr<MainThread> mainThread;
        std::shared_ptr<SimulatedHostClock> hostClock;
        std::shared_ptr<SimulatedViolations> violations;
    };
    explicit SimulatedCaptureSession(Services services);
    ~SimulatedCaptureSession() override;

    bool canAddInput(const AVCaptureDeviceInput& input) const override;
    void addInput(std::shared_ptr<AVCaptureDeviceInput> input) override;
    bool canAddOutput(const AVCaptureOutput& output) const override;
    void addOutput(std::shared_ptr<AVCaptureOutput> output) override;
    void startRunning() override;
    void stopRunning() override;
    /// A session whose device has gone stays ended until it is started again.
    bool isRunning() const override;
    bool mayStillBegin() const override;

    /// The unique id of its device; empty without an input.
    std::string deviceUID() const;
    std::shared_ptr<SimulatedCaptureAudioDataOutput> output() const { return sink; }
    std::shared_ptr<SimulatedCaptureVideoDataOutput> videoOutput() const { return videoSink; }
    /// Ends as the session of a device does that goes.
    void deviceHasGone() { stopStreams(); }
    int64_t deliveredBuffers = 0; ///< since the session was made
    int64_t deliveredPictures() const { return cameraStream ? cameraStream->deliveredPictures() : 0; }

private:
    bool hasInput() const { return source || cameraSource; }
    void startCamera();
    void stopStreams();
    int64_t dueNanoseconds(int64_t frame) const;
    void scheduleBuffer();
    void deliverBuffer();
    int64_t deviceFrame(int64_t frame) const;
    CMSampleBuffer makeBuffer() const;

    Services services;
    std::shared_ptr<SimulatedCaptureDeviceInput> source;
    std::shared_ptr<SimulatedCaptureAudioDataOutput> sink;
    std::shared_ptr<SimulatedCameraInput> cameraSource;
    std::shared_ptr<SimulatedCaptureVideoDataOutput> videoSink;
    std::shared_ptr<SimulatedCameraStream> cameraStream;
    bool isOn = false;
    int64_t firstFrameNanoseconds = 0;
    int64_t nextFrame = 0;
    int64_t nextBuffer = 0;
    std::optional<VirtualTime::EventID> event;
    std::vector<float> toneSecond; ///< what a device without a signal sounds like: it repeats
};

} // namespace vintra
