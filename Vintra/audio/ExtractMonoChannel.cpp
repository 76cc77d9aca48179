#include "Vintra/audio/ExtractMonoChannel.h"

#include <cstring>
#include <utility>

namespace vintra {
namespace {

/// Copies every `stride`-th sample. The bytes may lie at any address.
template <typename Sample>
void copyEvery(size_t stride, const uint8_t* source, uint8_t* destination, size_t frames) {
    for (size_t frame = 0; frame < frames; ++frame)
        std::memcpy(destination + frame * sizeof(Sample), source + frame * stride * sizeof(Sample),
                    sizeof(Sample));
}

/// Bytes of one sample; 0 for a layout from which no channel can be extracted.
size_t sampleLength(const AudioStreamBasicDescription& description) {
    if (description.isBigEndian() || description.isNonInterleaved()) return 0;
    const uint32_t bytes = description.mBitsPerChannel / 8;
    return bytes == (description.isFloat() ? 4u : 2u) ? bytes : 0;
}

} // namespace

std::optional<CMSampleBuffer> extractMonoChannel(int channel, int totalChannels, const CMSampleBuffer& from,
                                                 double sampleRate, MonoFormatCache& formats) {
    if (totalChannels < 1 || channel < 0 || channel >= totalChannels) return std::nullopt;
    const auto sourceFormat = from.formatDescription();
    const auto* description = sourceFormat ? sourceFormat->streamBasicDescription() : nullptr;
    const size_t bytes = description ? sampleLength(*description) : 0;
    if (bytes == 0) return std::nullopt;

    const auto data = from.dataBuffer();
    if (!data) return std::nullopt;
    const auto source = data->dataPointer(0);
    if (source.bytes == nullptr || source.lengthAtOffset != source.totalLength) return std::nullopt;
    const auto stride = static_cast<size_t>(totalChannels);
    const size_t frames = source.totalLength / (bytes * stride);
    if (frames < 1) return std::nullopt;

    auto format = formats.formatDescription(sampleRate, description->isFloat());
    if (!format) return std::nullopt;
    auto mono = CMBlockBuffer::make(frames * bytes);
    const uint8_t* const first = source.bytes + static_cast<size_t>(channel) * bytes;
    uint8_t* const destination = mono->contiguousBytes();
    if (bytes == sizeof(float)) {
        copyEvery<uint32_t>(stride, first, destination, frames);
    } else {
        copyEvery<uint16_t>(stride, first, destination, frames);
    }
    auto result = CMSampleBuffer::makeAudio(std::move(mono), std::move(format), static_cast<int64_t>(frames),
                                            {.duration = CMTimeMake(1, static_cast<int32_t>(sampleRate)),
                                             .presentationTimeStamp = from.presentationTimeStamp(),
                                             .decodeTimeStamp = kCMTimeInvalid});
    if (!result.isValid()) return std::nullopt;
    return result;
}

} // namespace vintra
