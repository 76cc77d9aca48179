#include "Vintra/video/ExtraCameraTap.h"

#include <utility>

namespace vintra {

ExtraCameraTap::ExtraCameraTap(std::shared_ptr<AVCaptureVideoDataOutput> dataOutput,
                               const std::shared_ptr<HostClock>& clock)
    : output(std::move(dataOutput))
    , frames(std::make_shared<DropCounter>())
    , drops(std::make_shared<DropCounter>())
    , frameSize(std::make_shared<DeliveredFrameSize>())
    , picture(std::make_shared<PictureWatch>())
    , writeQueue(std::make_shared<CameraWriteQueue>(clock)) {}

std::shared_ptr<AVAssetWriterInput> ExtraCameraTap::input() const {
    MutexLock guard(lock);
    return storage;
}

void ExtraCameraTap::setInput(std::shared_ptr<AVAssetWriterInput> newInput) {
    MutexLock guard(lock);
    storage.swap(newInput);
}

} // namespace vintra
