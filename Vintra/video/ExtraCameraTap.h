#pragma once

#include "Vintra/platform/AVAssetWriter.h"
#include "Vintra/platform/CaptureDevices.h"
#include "Vintra/platform/HostClock.h"
#include "Vintra/platform/Mutex.h"
#include "Vintra/video/CameraWriteQueue.h"
#include "Vintra/video/DeliveredFrameSize.h"
#include "Vintra/video/DropCounter.h"
#include "Vintra/video/PictureWatch.h"

#include <memory>

namespace vintra {

/// What the capture callback sees of one extra camera. A tap without an input belongs to a camera that is
/// only previewing. Owned by the camera's rig and shared with the callback; any thread, since each companion
/// has a lock of its own.
class ExtraCameraTap {
public:
    ExtraCameraTap(std::shared_ptr<AVCaptureVideoDataOutput> dataOutput,
                   const std::shared_ptr<HostClock>& clock);

    const std::shared_ptr<AVCaptureVideoDataOutput> output;
    const std::shared_ptr<DropCounter> frames; ///< real frames written
    const std::shared_ptr<DropCounter> drops;
    const std::shared_ptr<DeliveredFrameSize> frameSize;
    const std::shared_ptr<PictureWatch> picture;
    const std::shared_ptr<CameraWriteQueue> writeQueue;

    /// Null while only previewing.
    std::shared_ptr<AVAssetWriterInput> input() const;
    void setInput(std::shared_ptr<AVAssetWriterInput> newInput);

private:
    mutable Mutex lock;
    std::shared_ptr<AVAssetWriterInput> storage GUARDED_BY(lock);
};

} // namespace vintra
