#include "Vintra/platform/linux/movie/MovieSoundTrack.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace vintra {
namespace {

constexpr double kTolerance = 0.020;         // seconds
constexpr double kLongestGap = 24 * 60 * 60; // seconds: a time beyond it is no time of this take

} // namespace

MovieSoundTrack::MovieSoundTrack(QuickTimeFile& movie, const AVAudioSettings& settings)
    : movie(movie)
    , settings(settings)
    , track(movie.addSoundTrack())
    , converter(settings.sampleRate, settings.numberOfChannels)
    , encoder(settings, [this](std::vector<uint8_t> packet) { take(std::move(packet)); }) {
    movie.describe(track, {.timescale = static_cast<int32_t>(settings.sampleRate),
                           .sampleDescription = encoder.sampleDescription(),
                           .priming = encoder.priming()});
}

int64_t MovieSoundTrack::framePosition(const CMSampleBuffer& sample, int64_t skippedFrames,
                                       CMTime sessionStart) const {
    const double sourceRate = sample.formatDescription()->streamBasicDescription()->mSampleRate;
    const double seconds = CMTimeGetSeconds(sample.presentationTimeStamp() - sessionStart) +
                           static_cast<double>(skippedFrames) / sourceRate;
    const double longest = kLongestGap * 365;
    return std::llround(std::clamp(seconds, 0.0, longest) * settings.sampleRate);
}

void MovieSoundTrack::write(const CMSampleBuffer& sample, CMTime sessionStart) {
    const int64_t skipped = soundFramesBefore(sample, sessionStart);
    const int64_t position = framePosition(sample, skipped, sessionStart);
    if (!firstFrame) firstFrame = position;
    const int64_t gap = position - (*firstFrame + encoder.frames() + converter.heldFrames());
    if (static_cast<double>(gap) > kLongestGap * settings.sampleRate) return;
    std::span<const float> values = converter.convert(sample, skipped);
    const auto tolerance = static_cast<int64_t>(kTolerance * settings.sampleRate);
    if (gap > tolerance) encoder.encodeSilence(gap);
    if (gap < -tolerance) {
        const size_t early = static_cast<size_t>(-gap) * settings.numberOfChannels;
        values = values.subspan(std::min(early, values.size()));
    }
    encoder.encode(values);
}

void MovieSoundTrack::take(std::vector<uint8_t> packet) {
    movie.append(track, {.bytes = std::move(packet),
                         .time = firstFrame.value_or(0) + packets * SoundEncoder::kPacketFrames,
                         .duration = SoundEncoder::kPacketFrames});
    ++packets;
}

void MovieSoundTrack::finish() {
    if (!firstFrame) return;
    encoder.encode(converter.drain());
    encoder.finish();
    movie.setPresentedDuration(track, encoder.frames());
}

} // namespace vintra
