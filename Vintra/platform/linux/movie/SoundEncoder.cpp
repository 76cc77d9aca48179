#include "Vintra/platform/linux/movie/SoundEncoder.h"

#include "Vintra/platform/linux/movie/LibavError.h"
#include "Vintra/platform/linux/movie/QuickTimeDescriptions.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/channel_layout.h>
}

namespace vintra {
namespace {

constexpr const char* kSoundNotEncoded = "The sound couldn't be encoded";
constexpr std::array kRates = {96'000, 88'200, 64'000, 48'000, 44'100, 32'000, 24'000,
                               22'050, 16'000, 12'000, 11'025, 8'000,  7'350};

} // namespace

bool SoundEncoder::canEncode(const AVAudioSettings& settings) {
    return settings.formatID == kAudioFormatMPEG4AAC && settings.numberOfChannels >= 1 &&
           settings.numberOfChannels <= 6 &&
           std::find(kRates.begin(), kRates.end(), settings.sampleRate) != kRates.end();
}

SoundEncoder::SoundEncoder(const AVAudioSettings& settings, Output output)
    : settings(settings)
    , output(std::move(output))
    , frame(av_frame_alloc())
    , packet(av_packet_alloc()) {
    const AVCodec* codec = avcodec_find_encoder(AV_CODEC_ID_AAC);
    if (codec == nullptr || !frame || !packet)
        throw SystemError("libav", AVERROR_ENCODER_NOT_FOUND,
                          "This machine has no encoder for AAC. Install the libav codecs with AAC.");
    context.reset(avcodec_alloc_context3(codec));
    context->sample_fmt = AV_SAMPLE_FMT_FLTP;
    context->sample_rate = static_cast<int>(settings.sampleRate);
    av_channel_layout_default(&context->ch_layout, static_cast<int>(settings.numberOfChannels));
    context->time_base = {1, context->sample_rate};
    if (settings.encoderBitRate > 0) context->bit_rate = settings.encoderBitRate;
    context->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    throwIfLibavFailed(avcodec_open2(context.get(), codec, nullptr), "The sound encoder couldn't be started");
}

SoundEncoder::~SoundEncoder() = default;

std::vector<uint8_t> SoundEncoder::sampleDescription() const {
    return aacSampleDescription(context->sample_rate, settings.numberOfChannels, context->bit_rate,
                                {context->extradata, static_cast<size_t>(context->extradata_size)});
}

int64_t SoundEncoder::priming() const {
    return context->initial_padding;
}

void SoundEncoder::encode(std::span<const float> values) {
    const size_t channels = settings.numberOfChannels;
    const size_t whole = kPacketFrames * channels;
    taken += static_cast<int64_t>(values.size() / channels);
    while (!values.empty()) {
        const size_t part = std::min(values.size(), whole - pending.size());
        pending.insert(pending.end(), values.begin(), values.begin() + static_cast<ptrdiff_t>(part));
        values = values.subspan(part);
        if (pending.size() == whole) encodePacket();
    }
}

void SoundEncoder::encodeSilence(int64_t frameCount) {
    const std::vector<float> silence(kPacketFrames * settings.numberOfChannels, 0.0f);
    while (frameCount > 0) {
        const int64_t part = std::min(frameCount, kPacketFrames);
        encode(std::span(silence).first(static_cast<size_t>(part) * settings.numberOfChannels));
        frameCount -= part;
    }
}

void SoundEncoder::encodePacket() {
    const size_t channels = settings.numberOfChannels;
    const size_t count = pending.size() / channels;
    av_frame_unref(frame.get());
    frame->format = context->sample_fmt;
    frame->nb_samples = static_cast<int>(count);
    frame->sample_rate = context->sample_rate;
    throwIfLibavFailed(av_channel_layout_copy(&frame->ch_layout, &context->ch_layout), kSoundNotEncoded);
    throwIfLibavFailed(av_frame_get_buffer(frame.get(), 0), kSoundNotEncoded);
    for (size_t channel = 0; channel < channels; ++channel) {
        auto* plane = reinterpret_cast<float*>(frame->extended_data[channel]);
        for (size_t i = 0; i < count; ++i) {
            const float value = pending[i * channels + channel];
            plane[i] = std::isfinite(value) ? value : 0.0f; // the encoder refuses what is no number
        }
    }
    frame->pts = sent;
    sent += static_cast<int64_t>(count);
    pending.clear();
    throwIfLibavFailed(avcodec_send_frame(context.get(), frame.get()), kSoundNotEncoded);
    receive();
}

void SoundEncoder::receive() {
    for (;;) {
        const int result = avcodec_receive_packet(context.get(), packet.get());
        if (result == AVERROR(EAGAIN) || result == AVERROR_EOF) return;
        throwIfLibavFailed(result, kSoundNotEncoded);
        output(std::vector<uint8_t>(packet->data, packet->data + packet->size));
        av_packet_unref(packet.get());
    }
}

void SoundEncoder::finish() {
    if (!pending.empty()) encodePacket();
    throwIfLibavFailed(avcodec_send_frame(context.get(), nullptr), kSoundNotEncoded);
    receive();
}

} // namespace vintra
