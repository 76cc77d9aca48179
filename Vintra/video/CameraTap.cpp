#include "Vintra/video/CameraTap.h"

#include "Vintra/platform/CVPixelBuffer.h"

namespace vintra {

CameraTap::CameraTap(const std::shared_ptr<HostClock>& clock)
    : frames(std::make_shared<DropCounter>())
    , drops(std::make_shared<DropCounter>())
    , frameSize(std::make_shared<DeliveredFrameSize>())
    , picture(std::make_shared<PictureWatch>())
    , writeQueue(std::make_shared<CameraWriteQueue>(clock)) {}

void CameraTap::begin(CMTime at, int32_t rate) {
    picture->begin(at);
    writeQueue->begin(at, rate);
}

void CameraTap::frame(const CMSampleBuffer& sample) {
    if (const auto image = sample.imageBuffer())
        frameSize->set({static_cast<int32_t>(image->width()), static_cast<int32_t>(image->height())});
    const auto to = input();
    if (!to) return;
    count(writeQueue->submit(sample, to));
    picture->record(sample);
}

void CameraTap::missed(const AVCaptureMissedPictures& pictures) {
    if (input()) count(writeQueue->missed(pictures));
}

void CameraTap::count(const CameraWriteQueue::Result& result) {
    if (result.written != 0) frames->add(result.written);
    if (result.dropped != 0) drops->add(result.dropped);
}

void CameraTap::resetCounters() {
    frames->reset();
    drops->reset();
}

std::shared_ptr<AVAssetWriterInput> CameraTap::input() const {
    MutexLock guard(lock);
    return storage;
}

void CameraTap::setInput(std::shared_ptr<AVAssetWriterInput> newInput) {
    MutexLock guard(lock);
    storage.swap(newInput);
}

} // namespace vintra
