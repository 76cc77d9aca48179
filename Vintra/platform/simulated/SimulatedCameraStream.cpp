#include "Vintra/platform/simulated/SimulatedCameraStream.h"

#include "Vintra/platform/HostClock.h"

#include <algorithm>
#include <utility>

namespace vintra {

SimulatedCameraStream::SimulatedCameraStream(std::shared_ptr<VirtualTime> time,
                                             std::shared_ptr<SimulatedCamera> camera,
                                             std::shared_ptr<SimulatedCaptureVideoDataOutput> output)
    : time(std::move(time))
    , camera(std::move(camera))
    , output(std::move(output)) {}

void SimulatedCameraStream::begin() {
    baseNanoseconds = time->nowNanoseconds() + nanosecondsFromSeconds(camera->firstFrameSeconds);
    basePicture = 0;
    next = 0;
    interval = camera->interval();
    schedule();
}

void SimulatedCameraStream::end() {
    if (event) time->cancel(*event);
    event.reset();
}

/// When the next picture is taken. A new interval counts from the picture before it.
int64_t SimulatedCameraStream::captureNanoseconds() {
    const auto at = [this](int64_t picture) {
        const double intervals = static_cast<double>(picture - basePicture);
        return baseNanoseconds +
               nanosecondsFromSeconds(intervals * CMTimeGetSeconds(interval) / camera->clockRatio);
    };
    if (next > 0 && !(camera->interval() == interval)) {
        baseNanoseconds = at(next - 1);
        basePicture = next - 1;
        interval = camera->interval();
    }
    return at(next);
}

void SimulatedCameraStream::schedule() {
    const double late = camera->deliverySeconds + (camera->lateness ? camera->lateness(next) : 0);
    event = time->at(captureNanoseconds() + nanosecondsFromSeconds(std::max(0.0, late)),
                     [weak = weak_from_this()] {
                         if (const auto self = weak.lock()) self->deliver();
                     });
}

void SimulatedCameraStream::deliver() {
    event.reset();
    if (!camera->isStopped && output->queue) {
        std::optional<CMSampleBuffer> sample = makeSample();
        if (sample && camera->alter) sample = camera->alter(std::move(*sample));
        if (sample) {
            ++delivered;
            output->queue->async([output = output, sample = std::move(*sample)] {
                if (const auto delegate = output->delegate.lock()) delegate->captureOutput(output, sample);
            });
        }
    }
    ++next;
    schedule();
}

std::optional<CMSampleBuffer> SimulatedCameraStream::makeSample() {
    if (!camera->isFrozen) frozenNumber = next;
    const CMVideoDimensions size = camera->pictureSize();
    if (size.width < 1 || size.height < 1) return std::nullopt;
    CMSampleTimingInfo timing{interval, kCMTimeInvalid, kCMTimeInvalid};
    if (camera->hasStamps) {
        const double error = camera->stampError ? camera->stampError(next) : 0;
        timing.presentationTimeStamp =
            hostTimeFromNanoseconds(captureNanoseconds() + nanosecondsFromSeconds(error));
    }
    return CMSampleBuffer::makeVideo(
        camera->isBlack ? pictures.makeBlack(size) : pictures.make(size, frozenNumber), timing);
}

} // namespace vintra
