#include "Vintra/platform/linux/movie/SoundConverter.h"

#include "Vintra/platform/linux/movie/LibavError.h"

#include <algorithm>
#include <cmath>
#include <cstring>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libswresample/swresample.h>
}

namespace vintra {
namespace {

constexpr double kHighestRate = 768'000;
constexpr uint32_t kMostConvertedChannels = 64;

const AudioStreamBasicDescription* description(const CMSampleBuffer& sample) {
    const auto format = sample.formatDescription();
    return format ? format->streamBasicDescription() : nullptr;
}

size_t bytesPerValue(const AudioStreamBasicDescription& format) {
    return format.isFloat() ? sizeof(float) : sizeof(int16_t);
}

AVChannelLayout defaultLayout(uint32_t channels) {
    AVChannelLayout layout{};
    av_channel_layout_default(&layout, static_cast<int>(channels));
    return layout;
}

} // namespace

CMTime endOfSound(const CMSampleBuffer& sample) {
    const double rate = description(sample)->mSampleRate;
    return sample.presentationTimeStamp() +
           CMTimeMake(sample.numSamples(), std::max(1, static_cast<int32_t>(std::lround(rate))));
}

int64_t soundFramesBefore(const CMSampleBuffer& sample, CMTime time) {
    const double seconds = CMTimeGetSeconds(time - sample.presentationTimeStamp());
    const double frames = std::round(seconds * description(sample)->mSampleRate);
    return static_cast<int64_t>(std::clamp(frames, 0.0, static_cast<double>(sample.numSamples())));
}

bool SoundConverter::canConvert(const CMSampleBuffer& sample) {
    const AudioStreamBasicDescription* format = description(sample);
    const auto data = sample.dataBuffer();
    if (format == nullptr || !data || format->mFormatID != kAudioFormatLinearPCM || format->isBigEndian())
        return false;
    if (!(format->mSampleRate >= 1 && format->mSampleRate <= kHighestRate)) return false;
    if (format->mChannelsPerFrame < 1 || format->mChannelsPerFrame > kMostConvertedChannels) return false;
    if (format->isNonInterleaved() && format->mChannelsPerFrame > 1) return false;
    if (format->mBitsPerChannel != 8 * bytesPerValue(*format)) return false;
    const size_t frame = bytesPerValue(*format) * format->mChannelsPerFrame;
    return data->dataLength() / frame >= static_cast<uint64_t>(sample.numSamples());
}

void SoundConverter::FreeResampler::operator()(SwrContext* context) const {
    swr_free(&context);
}

SoundConverter::SoundConverter(double rate, uint32_t channels)
    : rate(static_cast<int>(std::lround(rate)))
    , channels(channels) {}

SoundConverter::~SoundConverter() = default;

void SoundConverter::readFrames(const CMSampleBuffer& sample, int64_t skippedFrames) {
    const AudioStreamBasicDescription& format = *description(sample);
    const auto data = sample.dataBuffer();
    const uint8_t* start = data->contiguousBytes();
    if (start == nullptr) {
        bytes.resize(data->dataLength());
        data->copyDataBytes(bytes.data());
        start = bytes.data();
    }
    const size_t skipped = static_cast<size_t>(skippedFrames) * format.mChannelsPerFrame;
    source.resize(static_cast<size_t>(sample.numSamples()) * format.mChannelsPerFrame - skipped);
    start += skipped * bytesPerValue(format);
    if (source.empty()) return;
    if (format.isFloat()) {
        std::memcpy(source.data(), start, source.size() * sizeof(float));
        return;
    }
    for (size_t i = 0; i < source.size(); ++i) {
        int16_t value;
        std::memcpy(&value, start + i * sizeof(value), sizeof(value));
        source[i] = static_cast<float>(value) / 32768.0f;
    }
}

void SoundConverter::matchSource(const AudioStreamBasicDescription& format) {
    if (format.mSampleRate == sourceRate && format.mChannelsPerFrame == sourceChannels) return;
    const std::span<const float> rest = drain();
    leftover.assign(rest.begin(), rest.end());
    sourceRate = format.mSampleRate;
    sourceChannels = format.mChannelsPerFrame;
    resampler.reset();
    const int in = static_cast<int>(std::lround(sourceRate));
    if (in == rate && sourceChannels == channels) return;
    AVChannelLayout from = defaultLayout(sourceChannels);
    AVChannelLayout to = defaultLayout(channels);
    SwrContext* context = nullptr;
    throwIfLibavFailed(
        swr_alloc_set_opts2(&context, &to, AV_SAMPLE_FMT_FLT, rate, &from, AV_SAMPLE_FMT_FLT, in, 0, nullptr),
        "The sound couldn't be converted");
    resampler.reset(context);
    throwIfLibavFailed(swr_init(context), "The sound couldn't be converted");
}

std::span<const float> SoundConverter::resample(const float* frames, int64_t count) {
    const int room = swr_get_out_samples(resampler.get(), static_cast<int>(count));
    throwIfLibavFailed(room, "The sound couldn't be converted");
    const size_t kept = leftover.size();
    result.resize(kept + static_cast<size_t>(room) * channels);
    std::copy(leftover.begin(), leftover.end(), result.begin());
    leftover.clear();
    auto* out = reinterpret_cast<uint8_t*>(result.data() + kept);
    const auto* in = reinterpret_cast<const uint8_t*>(frames);
    const int made =
        swr_convert(resampler.get(), &out, room, frames ? &in : nullptr, static_cast<int>(count));
    throwIfLibavFailed(made, "The sound couldn't be converted");
    return {result.data(), kept + static_cast<size_t>(made) * channels};
}

std::span<const float> SoundConverter::convert(const CMSampleBuffer& sample, int64_t skippedFrames) {
    matchSource(*description(sample));
    readFrames(sample, skippedFrames);
    if (resampler) return resample(source.data(), static_cast<int64_t>(source.size()) / sourceChannels);
    if (leftover.empty()) return source;
    source.insert(source.begin(), leftover.begin(), leftover.end());
    leftover.clear();
    return source;
}

int64_t SoundConverter::heldFrames() const {
    return resampler ? swr_get_delay(resampler.get(), rate) : 0;
}

std::span<const float> SoundConverter::drain() {
    if (!resampler) return {};
    return resample(nullptr, 0);
}

} // namespace vintra
