#include "Vintra/audio/SoundBufferSlice.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

namespace vintra {
namespace {

const AudioStreamBasicDescription* plainFormatOf(const CMFormatDescription* format) {
    const auto* description = format ? format->streamBasicDescription() : nullptr;
    const bool isPlain = description && description->mFormatID == kAudioFormatLinearPCM &&
                         description->mBytesPerFrame > 0 && description->mSampleRate >= 1;
    return isPlain ? description : nullptr;
}

CMSampleTimingInfo timingOf(const AudioStreamBasicDescription& format, CMTime at) {
    return {.duration = CMTimeMake(1, static_cast<int32_t>(std::lround(format.mSampleRate))),
            .presentationTimeStamp = at,
            .decodeTimeStamp = kCMTimeInvalid};
}

/// Adds the pieces of the data from the offset on; false if it ends before.
bool addPieces(const CMBlockBuffer& data, size_t offset, size_t length,
               std::vector<CMBlockBuffer::Piece>& pieces) {
    while (length > 0) {
        const auto piece = data.dataPointer(offset);
        if (piece.bytes == nullptr) return false;
        const size_t part = std::min(length, piece.lengthAtOffset);
        pieces.push_back({piece.bytes, part});
        offset += part;
        length -= part;
    }
    return true;
}

} // namespace

CMSampleBuffer sliceOfSound(const CMSampleBuffer& buffer, int64_t firstFrame, int64_t frames, CMTime at) {
    const auto format = buffer.formatDescription();
    const auto data = buffer.dataBuffer();
    const auto* description = plainFormatOf(format.get());
    frames = std::min(frames, buffer.numSamples() - firstFrame);
    if (!description || !data || firstFrame < 0 || frames < 1) return {};
    const size_t frameLength = description->mBytesPerFrame;
    std::vector<CMBlockBuffer::Piece> pieces;
    if (!addPieces(*data, static_cast<size_t>(firstFrame) * frameLength,
                   static_cast<size_t>(frames) * frameLength, pieces))
        return {};
    return CMSampleBuffer::makeAudio(CMBlockBuffer::make(std::move(pieces), data), format, frames,
                                     timingOf(*description, at));
}

CMSampleBuffer silentSound(const std::shared_ptr<const CMFormatDescription>& format, int64_t frames,
                           CMTime at) {
    const auto* description = plainFormatOf(format.get());
    if (!description || frames < 1) return {};
    auto data = CMBlockBuffer::make(static_cast<size_t>(frames) * description->mBytesPerFrame);
    data->fillDataBytes(0, 0, data->dataLength());
    return CMSampleBuffer::makeAudio(std::move(data), format, frames, timingOf(*description, at));
}

CMSampleBuffer soundBehindSilence(const CMSampleBuffer& buffer, int64_t silence, CMTime at) {
    const auto format = buffer.formatDescription();
    const auto sound = buffer.dataBuffer();
    const auto* description = plainFormatOf(format.get());
    const auto zeros = silentSound(format, silence, at).dataBuffer();
    if (!description || !sound || !zeros) return {};
    std::vector<CMBlockBuffer::Piece> pieces;
    const auto own = static_cast<size_t>(buffer.numSamples()) * description->mBytesPerFrame;
    if (!addPieces(*zeros, 0, zeros->dataLength(), pieces) || !addPieces(*sound, 0, own, pieces)) return {};
    const auto owner =
        std::make_shared<std::pair<std::shared_ptr<CMBlockBuffer>, std::shared_ptr<CMBlockBuffer>>>(zeros,
                                                                                                    sound);
    return CMSampleBuffer::makeAudio(CMBlockBuffer::make(std::move(pieces), owner), format,
                                     silence + buffer.numSamples(), timingOf(*description, at));
}

} // namespace vintra
