#pragma once

#include "Vintra/platform/CaptureDevices.h"
#include "Vintra/platform/Sink.h"
#include "Vintra/video/CameraTap.h"
#include "Vintra/video/ExtraCameraTap.h"

#include <memory>
#include <vector>

namespace vintra {

/// The road of a camera's frame to the tap of its camera. Owned by `Cameras` and held by the callbacks for as
/// long as they run; it knows nothing of either. `captureOutput` runs on the cameras' queues; the rest is any
/// thread.
class CameraSamplePath final : public AVCaptureDataOutputSampleBufferDelegate {
public:
    using Taps = std::vector<std::shared_ptr<ExtraCameraTap>>;

    explicit CameraSamplePath(std::shared_ptr<CameraTap> webcam);

    /// A frame goes to the extra tap that names its output, or to the first camera's if it comes from that one.
    /// What is still on its way from a camera that has been let go is thrown away.
    void captureOutput(const std::shared_ptr<AVCaptureOutput>& output,
                       const CMSampleBuffer& didOutput) override;
    void captureOutputDidMiss(const std::shared_ptr<AVCaptureOutput>& output,
                              const AVCaptureMissedPictures& pictures) override;

    Sink<Taps> extraCameraTaps;
    Sink<std::shared_ptr<AVCaptureOutput>> webcamDataOutput; ///< of the first camera; empty while none runs

private:
    /// Null if the output is of no camera that is used.
    std::shared_ptr<CameraTap> tapOf(const std::shared_ptr<AVCaptureOutput>& output) const;

    const std::shared_ptr<CameraTap> webcam;
};

} // namespace vintra
