#pragma once

#include "Vintra/platform/AVAssetWriter.h"
#include "Vintra/platform/CMSampleBuffer.h"
#include "Vintra/platform/CaptureDevices.h"
#include "Vintra/platform/HostClock.h"
#include "Vintra/platform/Mutex.h"
#include "Vintra/video/CameraWriteQueue.h"
#include "Vintra/video/DeliveredFrameSize.h"
#include "Vintra/video/DropCounter.h"
#include "Vintra/video/PictureWatch.h"

#include <memory>

namespace vintra {

/// What every camera carries, the first as well as the extra ones: the companions of its picture, and the
/// input of its movie while a take runs. A tap without an input belongs to a camera that is only previewing.
/// Shared by the main thread and the camera's queue; any thread, since each companion has a lock of its own.
class CameraTap {
public:
    explicit CameraTap(const std::shared_ptr<HostClock>& clock);

    const std::shared_ptr<DropCounter> frames; ///< real frames written
    const std::shared_ptr<DropCounter> drops;
    const std::shared_ptr<DeliveredFrameSize> frameSize;
    const std::shared_ptr<PictureWatch> picture;
    const std::shared_ptr<CameraWriteQueue> writeQueue;

    /// Arms the watch and the grid for a take. `rate` in frames a second.
    void begin(CMTime at, int32_t rate);
    /// A frame of the camera: onto its grid if a take runs, and to the watch over its picture. On the
    /// camera's queue.
    void frame(const CMSampleBuffer& sample);
    /// Frames that a take has lost before they came here. On the camera's queue.
    void missed(const AVCaptureMissedPictures& pictures);
    /// Adds what the grid did with frames.
    void count(const CameraWriteQueue::Result& result);
    void resetCounters();

    /// Null while only previewing.
    std::shared_ptr<AVAssetWriterInput> input() const;
    void setInput(std::shared_ptr<AVAssetWriterInput> newInput);

private:
    mutable Mutex lock;
    std::shared_ptr<AVAssetWriterInput> storage GUARDED_BY(lock);
};

} // namespace vintra
