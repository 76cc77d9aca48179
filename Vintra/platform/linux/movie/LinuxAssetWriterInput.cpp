#include "Vintra/platform/linux/movie/LinuxAssetWriterInput.h"

#include "Vintra/platform/linux/movie/SoundConverter.h"
#include "Vintra/platform/linux/runtime/PicturesOnTheirWay.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace vintra {
namespace {

// Sound that may wait: 2 s are 768 KB of stereo.
constexpr int64_t kMostWaitingSound = 2'000'000; // microseconds

} // namespace

LinuxAssetWriterInput::LinuxAssetWriterInput(AVOutputSettings settings, bool expectsMediaDataInRealTime)
    : settings(std::move(settings))
    , realTime(expectsMediaDataInRealTime) {}

AVMediaType LinuxAssetWriterInput::mediaType() const {
    return std::holds_alternative<AVVideoSettings>(settings) ? AVMediaType::video : AVMediaType::audio;
}

void LinuxAssetWriterInput::attach(std::shared_ptr<WriterQueue> to) {
    queue = std::move(to);
    index = queue->addInput(capacity());
}

int64_t LinuxAssetWriterInput::capacity() const {
    const auto* video = std::get_if<AVVideoSettings>(&settings);
    if (video == nullptr) return kMostWaitingSound;
    return mostWaitingPictures(video->width, video->height);
}

int64_t LinuxAssetWriterInput::cost(const CMSampleBuffer& sample) const {
    if (mediaType() == AVMediaType::video) return 1;
    const double rate = sample.formatDescription()->streamBasicDescription()->mSampleRate;
    return std::max<int64_t>(1, static_cast<int64_t>(static_cast<double>(sample.numSamples()) * 1e6 / rate));
}

bool LinuxAssetWriterInput::isReadyForMoreMediaData() const {
    return queue && queue->isReady(index);
}

bool LinuxAssetWriterInput::isUsable(const CMSampleBuffer& sample) const {
    if (!sample.isValid() || !sample.presentationTimeStamp().isNumeric()) return false;
    if (mediaType() == AVMediaType::audio) return SoundConverter::canConvert(sample);
    const auto image = sample.imageBuffer();
    if (!image || image->width() == 0 || image->height() == 0) return false;
    for (size_t i = 0; i < image->planeCount(); ++i)
        if (image->plane(i).baseAddress == nullptr) return false;
    return image->pixelFormat() == kCVPixelFormatType_32BGRA ||
           image->pixelFormat() == kCVPixelFormatType_420YpCbCr8BiPlanarVideoRange;
}

bool LinuxAssetWriterInput::isInOrder(CMTime time) const {
    if (standsUntil.isValid() && time < standsUntil) return false;
    if (!lastTime.isValid()) return true;
    return mediaType() == AVMediaType::video ? time > lastTime : time >= lastTime;
}

bool LinuxAssetWriterInput::append(const CMSampleBuffer& sample) {
    if (!queue || !isUsable(sample)) return false;
    const std::optional<CMTime> start = queue->openSession();
    const CMTime time = sample.presentationTimeStamp();
    if (!start || !queue->isReady(index) || !isInOrder(time)) return false;
    const bool leftOut = mediaType() == AVMediaType::video ? time < *start : endOfSound(sample) <= *start;
    if (!leftOut && !queue->push(index, sample, cost(sample))) return false;
    lastTime = time;
    return true;
}

void LinuxAssetWriterInput::extendLast(CMTime to) {
    if (!queue || mediaType() != AVMediaType::video || !lastTime.isValid() || !to.isNumeric()) return;
    if (standsUntil.isValid() && to <= standsUntil) return;
    standsUntil = to;
    queue->extend(index, to);
}

void LinuxAssetWriterInput::markAsFinished() {
    if (queue) queue->finishInput(index);
}

} // namespace vintra
