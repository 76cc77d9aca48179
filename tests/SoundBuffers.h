#pragma once

#include "Vintra/platform/CMSampleBuffer.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

namespace vintra::tests {

inline AudioStreamBasicDescription int16Description(double sampleRate, uint32_t channels) {
    return {.mSampleRate = sampleRate,
            .mFormatID = kAudioFormatLinearPCM,
            .mFormatFlags = kAudioFormatFlagIsSignedInteger | kAudioFormatFlagIsPacked,
            .mBytesPerPacket = 2 * channels,
            .mFramesPerPacket = 1,
            .mBytesPerFrame = 2 * channels,
            .mChannelsPerFrame = channels,
            .mBitsPerChannel = 16};
}

/// A buffer over its own copy of the bytes, cut into pieces of `pieceLength` bytes (0: one piece).
inline CMSampleBuffer soundBuffer(const void* bytes, size_t length,
                                  const AudioStreamBasicDescription& description, CMTime at = kCMTimeZero,
                                  size_t pieceLength = 0) {
    auto memory = std::make_shared<std::vector<uint8_t>>(length);
    std::memcpy(memory->data(), bytes, length);
    std::vector<CMBlockBuffer::Piece> pieces;
    const size_t step = pieceLength == 0 ? length : pieceLength;
    for (size_t start = 0; start < length; start += step)
        pieces.push_back({memory->data() + start, std::min(step, length - start)});
    const uint32_t frameLength = description.mBytesPerFrame;
    return CMSampleBuffer::makeAudio(
        CMBlockBuffer::make(std::move(pieces), memory),
        std::make_shared<const CMFormatDescription>(description), static_cast<int64_t>(length / frameLength),
        {.duration = CMTimeMake(1, static_cast<int32_t>(description.mSampleRate)),
         .presentationTimeStamp = at,
         .decodeTimeStamp = kCMTimeInvalid});
}

inline CMSampleBuffer floatBuffer(const std::vector<float>& samples, uint32_t channels = 1,
                                  CMTime at = kCMTimeZero) {
    return soundBuffer(samples.data(), samples.size() * sizeof(float), floatPCMDescription(48000, channels),
                       at);
}

inline CMSampleBuffer int16Buffer(const std::vector<int16_t>& samples, uint32_t channels = 1,
                                  CMTime at = kCMTimeZero) {
    return soundBuffer(samples.data(), samples.size() * sizeof(int16_t), int16Description(48000, channels),
                       at);
}

template <typename Sample>
std::vector<Sample> samplesOf(const CMSampleBuffer& buffer) {
    std::vector<Sample> samples(buffer.dataBuffer()->dataLength() / sizeof(Sample));
    buffer.dataBuffer()->copyDataBytes(reinterpret_cast<uint8_t*>(samples.data()));
    return samples;
}

} // namespace vintra::tests
