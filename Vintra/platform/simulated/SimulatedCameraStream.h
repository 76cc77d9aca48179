#pragma once

#include "Vintra/platform/CaptureDevices.h"
#include "Vintra/platform/simulated/SimulatedCamera.h"
#include "Vintra/platform/simulated/SimulatedCameraPictures.h"
#include "Vintra/platform/simulated/VirtualTime.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

namespace vintra {

class SimulatedCaptureVideoDataOutput : public AVCaptureVideoDataOutput {
public:
    void setSampleBufferDelegate(std::weak_ptr<AVCaptureDataOutputSampleBufferDelegate> sampleBufferDelegate,
                                 std::shared_ptr<DispatchQueue> callbackQueue) override {
        delegate = std::move(sampleBufferDelegate);
        queue = std::move(callbackQueue);
    }

    std::weak_ptr<AVCaptureDataOutputSampleBufferDelegate> delegate;
    std::shared_ptr<DispatchQueue> queue;
};

/// The pictures of one camera for one running session. They are taken at the camera's rate by its own clock, and
/// numbered from 0. Owned by the session. One real thread.
class SimulatedCameraStream : public std::enable_shared_from_this<SimulatedCameraStream> {
public:
    SimulatedCameraStream(std::shared_ptr<VirtualTime> time, std::shared_ptr<SimulatedCamera> camera,
                          std::shared_ptr<SimulatedCaptureVideoDataOutput> output);
    ~SimulatedCameraStream() { end(); }

    void begin();
    /// No picture is handed over any more.
    void end();
    int64_t deliveredPictures() const { return delivered; }

private:
    int64_t captureNanoseconds();
    void schedule();
    void deliver();
    std::optional<CMSampleBuffer> makeSample();

    const std::shared_ptr<VirtualTime> time;
    const std::shared_ptr<SimulatedCamera> camera;
    const std::shared_ptr<SimulatedCaptureVideoDataOutput> output;
    SimulatedCameraPictures pictures;
    int64_t baseNanoseconds = 0; ///< capture of picture `basePicture`, since when the interval is the same
    int64_t basePicture = 0;
    CMTime interval;
    int64_t next = 0;         ///< number of the next picture
    int64_t frozenNumber = 0; ///< of the picture sent last
    int64_t delivered = 0;
    std::optional<VirtualTime::EventID> event;
};

} // namespace vintra
