#include "Vintra/platform/linux/movie/MovieVideoTrack.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace vintra {
namespace {

constexpr int64_t kFinestTimescale = 1'000'000;
constexpr int64_t kBaseTimescale = 600; // of the grid's phase
constexpr CMTime kDefaultPictureDuration = {1, 30, kCMTimeFlags_Valid};

int64_t ticks(CMTime duration, int32_t timescale) {
    return std::max<int64_t>(1, CMTimeConvertScale(duration, timescale).value);
}

int64_t denominator(CMTime time) {
    return time.timescale / std::gcd(time.value, int64_t{time.timescale});
}

} // namespace

int32_t movieTimescale(CMTime firstTime, CMTime duration) {
    int64_t timescale = kBaseTimescale;
    for (const CMTime time : {duration, firstTime}) {
        if (!time.isNumeric()) continue;
        const int64_t finer = std::lcm(timescale, denominator(time));
        if (finer <= kFinestTimescale) timescale = finer;
    }
    return static_cast<int32_t>(timescale);
}

std::unique_ptr<VideoEncoder> MovieVideoTrack::makeEncoder(const AVVideoSettings& settings) {
    if (settings.expectedSourceFrameRate <= 0) return nullptr;
    const CMTime duration = CMTimeMake(1, settings.expectedSourceFrameRate);
    const int32_t timescale = movieTimescale(kCMTimeZero, duration);
    auto encoder = std::make_unique<VideoEncoder>(settings, timescale, ticks(duration, timescale));
    encoder->warmUp();
    return encoder;
}

MovieVideoTrack::MovieVideoTrack(QuickTimeFile& movie, const AVVideoSettings& settings,
                                 std::unique_ptr<VideoEncoder> encoder)
    : movie(movie)
    , settings(settings)
    , track(movie.addPictureTrack(settings.width, settings.height))
    , encoder(std::move(encoder)) {}

void MovieVideoTrack::begin(CMTime firstTime, CMTime duration) {
    timescale = movieTimescale(firstTime, duration);
    slotDuration = ticks(duration, timescale);
    if (!encoder || !encoder->hasTimes(timescale, slotDuration))
        encoder = std::make_unique<VideoEncoder>(settings, timescale, slotDuration);
    encoder->setOutput([this](QuickTimeSample sample) { movie.append(track, std::move(sample)); });
    movie.describe(track, {.timescale = timescale, .sampleDescription = encoder->sampleDescription()});
}

void MovieVideoTrack::write(const CMSampleBuffer& sample, CMTime sessionStart) {
    const CMTime given = sample.duration();
    const CMTime duration = given.isNumeric() && given > kCMTimeZero ? given : kDefaultPictureDuration;
    const CMTime offset = sample.presentationTimeStamp() - sessionStart;
    if (timescale == 0) begin(offset, duration);
    const int64_t time = CMTimeConvertScale(offset, timescale).value;
    if (lastTime && time <= *lastTime) return; // closer than a tick
    if (lastTime && (time - *lastTime) % slotDuration == 0) repeatUntil(time);
    lastTime = time;
    encoder->encode(sample.imageBuffer(), time, ticks(duration, timescale));
}

void MovieVideoTrack::extend(CMTime to, CMTime sessionStart) {
    if (lastTime) repeatUntil(CMTimeConvertScale(to - sessionStart, timescale).value);
}

void MovieVideoTrack::repeatUntil(int64_t time) {
    for (; time - *lastTime >= 2 * slotDuration; *lastTime += slotDuration)
        encoder->repeat(*lastTime + slotDuration);
}

void MovieVideoTrack::finish() {
    if (timescale == 0) begin(kCMTimeZero, kDefaultPictureDuration);
    encoder->finish();
}

} // namespace vintra
