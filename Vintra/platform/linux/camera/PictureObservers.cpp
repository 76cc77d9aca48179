#include "Vintra/platform/linux/camera/PictureObservers.h"

#include <utility>

namespace vintra {

void PictureObservers::setDelegate(std::weak_ptr<AVCaptureDataOutputSampleBufferDelegate> newDelegate) {
    MutexLock lock(mutex);
    delegate_.swap(newDelegate);
}

Observation PictureObservers::add(Block block) {
    auto kept = std::make_shared<Block>(std::move(block));
    MutexLock lock(mutex);
    std::erase_if(blocks, [](const auto& weak) { return weak.expired(); });
    blocks.push_back(kept);
    return kept;
}

std::shared_ptr<AVCaptureDataOutputSampleBufferDelegate> PictureObservers::delegate() const {
    MutexLock lock(mutex);
    return delegate_.lock();
}

/// The recording goes first.
void PictureObservers::captureOutput(const std::shared_ptr<AVCaptureOutput>& output,
                                     const CMSampleBuffer& sample) {
    if (const auto to = delegate()) to->captureOutput(output, sample);
    const auto picture = sample.imageBuffer();
    if (!picture) return;
    std::vector<std::weak_ptr<Block>> current;
    {
        MutexLock lock(mutex);
        if (blocks.empty()) return;
        current = blocks;
    }
    for (const auto& weak : current) {
        if (const auto block = weak.lock()) (*block)(picture);
    }
}

void PictureObservers::captureOutputDidMiss(const std::shared_ptr<AVCaptureOutput>& output,
                                            const AVCaptureMissedPictures& pictures) {
    if (const auto to = delegate()) to->captureOutputDidMiss(output, pictures);
}

} // namespace vintra
