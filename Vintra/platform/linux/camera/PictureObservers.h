#pragma once

#include "Vintra/platform/CaptureDevices.h"
#include "Vintra/platform/Mutex.h"

#include <functional>
#include <memory>
#include <vector>

namespace vintra {

/// Stands between a camera and the delegate of a session's output: hands all on, and shows each picture to those who
/// preview the camera. Owned by the session. Any thread.
class PictureObservers final : public AVCaptureDataOutputSampleBufferDelegate {
public:
    using Block = std::function<void(const std::shared_ptr<CVPixelBuffer>&)>;

    void setDelegate(std::weak_ptr<AVCaptureDataOutputSampleBufferDelegate> delegate) EXCLUDES(mutex);
    Observation add(Block block) EXCLUDES(mutex);

    void captureOutput(const std::shared_ptr<AVCaptureOutput>& output,
                       const CMSampleBuffer& didOutput) override EXCLUDES(mutex);
    void captureOutputDidMiss(const std::shared_ptr<AVCaptureOutput>& output,
                              const AVCaptureMissedPictures& pictures) override EXCLUDES(mutex);

private:
    std::shared_ptr<AVCaptureDataOutputSampleBufferDelegate> delegate() const EXCLUDES(mutex);

    mutable Mutex mutex;
    std::weak_ptr<AVCaptureDataOutputSampleBufferDelegate> delegate_ GUARDED_BY(mutex);
    std::vector<std::weak_ptr<Block>> blocks GUARDED_BY(mutex);
};

} // namespace vintra
