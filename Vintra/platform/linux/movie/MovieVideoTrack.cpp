#include "Vintra/platform/linux/movie/MovieVideoTrack.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace vintra {
namespace {

constexpr int64_t kFinestTimescale = 1'000'000;
constexpr int64_t kBaseTimescale = 600; // of the grid's phase
constexpr CMTime kDefaultPictureDuration = {1, 30, kCMTimeFlags_Valid};

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

MovieVideoTrack::MovieVideoTrack(QuickTimeFile& movie, const AVVideoSettings& settings)
    : movie(movie)
    , settings(settings)
    , track(movie.addPictureTrack(settings.width, settings.height)) {}

void MovieVideoTrack::begin(CMTime firstTime, CMTime duration) {
    timescale = movieTimescale(firstTime, duration);
    slotDuration = std::max<int64_t>(1, CMTimeConvertScale(duration, timescale).value);
    encoder =
        std::make_unique<VideoEncoder>(settings, timescale, slotDuration, [this](QuickTimeSample sample) {
            movie.append(track, std::move(sample));
        });
    movie.describe(track, {.timescale = timescale, .sampleDescription = encoder->sampleDescription()});
}

void MovieVideoTrack::write(const CMSampleBuffer& sample, CMTime sessionStart) {
    const CMTime given = sample.duration();
    const CMTime duration = given.isNumeric() && given > kCMTimeZero ? given : kDefaultPictureDuration;
    const CMTime offset = sample.presentationTimeStamp() - sessionStart;
    if (!encoder) begin(offset, duration);
    const int64_t time = CMTimeConvertScale(offset, timescale).value;
    if (lastTime && time <= *lastTime) return; // closer than a tick
    if (lastTime && (time - *lastTime) % slotDuration == 0) repeatUntil(time);
    lastTime = time;
    encoder->encode(sample.imageBuffer(), time,
                    std::max<int64_t>(1, CMTimeConvertScale(duration, timescale).value));
}

void MovieVideoTrack::extend(CMTime to, CMTime sessionStart) {
    if (lastTime) repeatUntil(CMTimeConvertScale(to - sessionStart, timescale).value);
}

void MovieVideoTrack::repeatUntil(int64_t time) {
    for (; time - *lastTime >= 2 * slotDuration; *lastTime += slotDuration)
        encoder->repeat(*lastTime + slotDuration);
}

void MovieVideoTrack::finish() {
    if (!encoder) begin(kCMTimeZero, kDefaultPictureDuration);
    encoder->finish();
}

} // namespace vintra
