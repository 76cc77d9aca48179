#include "Vintra/audio/SoundTrackFile.h"

#include "Vintra/audio/ContainsNonZeroSample.h"
#include "Vintra/audio/SoundBufferSlice.h"

#include <algorithm>
#include <cmath>

namespace vintra {
namespace {

constexpr int32_t kTakeTimescale = static_cast<int32_t>(kTakeSampleRate);
/// Of one piece of silence: 8 MiB of floats, which are 21 s of stereo.
constexpr int64_t kLongestSilence = 2'097'152;
/// The first 0.3 s of a take are silent whatever a device sends, so a device may take that long.
constexpr int64_t kLatestBeginning = 14'400;
/// What may lie between the common start and a device's next buffer: 10 ms.
constexpr int64_t kInlineBeginning = 480;
/// What a device, the sound server and the queues may hold back at a stop: 0.1 s.
constexpr int64_t kOrdinaryLatency = 4'800;

int64_t longestPiece(const CMFormatDescription* format) {
    const auto* description = format ? format->streamBasicDescription() : nullptr;
    return std::max<int64_t>(1, kLongestSilence /
                                    (description ? std::max(1u, description->mChannelsPerFrame) : 1));
}

} // namespace

CMSampleBuffer SoundTrackFile::appendToOwnInputs(const CMSampleBuffer& buffer) {
    silenceDuringWarmup(buffer);
    const CMTime begin = buffer.presentationTimeStamp();
    if (!firstSamplePTS) {
        firstSamplePTS = begin;
        if (onFirstSample) onFirstSample(begin);
    }
    if (!commonStart) commonStart = begin;
    if (!sawSignal) sawSignal = containsNonZeroSample(buffer);
    lastSamplePTS = begin + buffer.duration();
    account.update([this](SoundAccount& to) {
        to.firstSamplePTS = firstSamplePTS;
        to.lastSamplePTS = lastSamplePTS;
    });
    const CMSampleBuffer wanted = upToTheEnd(buffer);
    if (!wanted.isValid()) return wanted;
    appendAtItsPlace(wanted);
    appendIfReady(referenceInput.get(), wanted);
    return wanted;
}

void SoundTrackFile::appendIfReady(AVAssetWriterInput* input, const CMSampleBuffer& buffer) {
    if (input != nullptr && input->isReadyForMoreMediaData()) input->append(buffer);
}

void SoundTrackFile::silenceDuringWarmup(const CMSampleBuffer& buffer) const {
    if (!warmupCutoff || !(buffer.presentationTimeStamp() < *warmupCutoff)) return;
    if (const auto data = buffer.dataBuffer()) data->fillDataBytes(0, 0, data->dataLength());
}

CMSampleBuffer SoundTrackFile::upToTheEnd(const CMSampleBuffer& buffer) const {
    const auto end = account.end();
    const CMTime begin = buffer.presentationTimeStamp();
    if (!end || !end->isNumeric() || !begin.isNumeric()) return buffer;
    const auto left = static_cast<int64_t>(std::llround(CMTimeGetSeconds(*end - begin) * kTakeSampleRate));
    if (left >= buffer.numSamples()) return buffer;
    return left > 0 ? sliceOfSound(buffer, 0, left, begin) : CMSampleBuffer();
}

void SoundTrackFile::appendAtItsPlace(const CMSampleBuffer& buffer) {
    const int64_t frames = buffer.numSamples();
    const bool isFirst = !placement.hasBegun();
    const auto place = placement.place(secondsOfTake(buffer.presentationTimeStamp()), frames);
    noteMissing(place, isFirst, frames);
    owedSilence += place.silence;
    if (place.cut >= frames) return;
    CMSampleBuffer sound = buffer;
    if (place.cut > 0) {
        // Rounded to a whole frame, it may have come to lie just before the session, which cuts such a frame.
        const CMTime moved = buffer.presentationTimeStamp() + CMTimeMake(place.cut, kTakeTimescale);
        sound = sliceOfSound(buffer, place.cut, frames - place.cut, std::max(moved, *commonStart));
        if (!sound.isValid()) sound = buffer;
    }
    writeLongSilence(sound);
    const bool isReady = input->isReadyForMoreMediaData();
    if (!isReady) ++droppedBufferCount;
    if (isReady && owedSilence <= longestPiece(sound.formatDescription().get()) && writeBehindSilence(sound))
        return;
    owedSilence += sound.numSamples();
    lose({.at = placement.next() - sound.numSamples(),
          .frames = sound.numSamples(),
          .kind = SoundLossKind::notTaken});
}

void SoundTrackFile::noteMissing(const SoundPlacement::Place& place, bool isFirst, int64_t frames) {
    if (isFirst) {
        const int64_t at = placement.hasBegun() ? placement.next() - (frames - place.cut) : 0;
        if (place.silence > kInlineBeginning) {
            lose({.at = 0, .frames = place.silence});
        } else if (at > kLatestBeginning) {
            lose({.at = 0, .frames = at, .kind = SoundLossKind::beganLate});
        }
        return;
    }
    if (place.silence > 0) {
        lose({.at = placement.next() - frames - place.silence,
              .frames = place.silence,
              .kind = SoundLossKind::notDelivered});
    }
    if (place.cut > 0) {
        account.update([&](SoundAccount& to) {
            to.framesCut += place.cut;
            to.cuts += 1;
        });
    }
}

/// What is owed of silence beyond one piece, as far as the input takes it.
void SoundTrackFile::writeLongSilence(const CMSampleBuffer& before) {
    const auto format = before.formatDescription();
    const int64_t longest = longestPiece(format.get());
    while (owedSilence > longest && input->isReadyForMoreMediaData()) {
        if (!write(silentSound(format, longest, nextWrittenTime()))) return;
        owedSilence -= longest;
        account.update([longest](SoundAccount& to) { to.framesSilenced += longest; });
    }
}

/// The buffer with the silence that is owed before it as one sample, so that an input with room for one takes
/// both.
bool SoundTrackFile::writeBehindSilence(const CMSampleBuffer& sound) {
    const int64_t silence = owedSilence;
    if (!write(silence > 0 ? soundBehindSilence(sound, silence, nextWrittenTime()) : sound)) return false;
    owedSilence = 0;
    account.update([&](SoundAccount& to) {
        to.framesSilenced += silence;
        to.framesWritten += sound.numSamples();
    });
    return true;
}

bool SoundTrackFile::write(const CMSampleBuffer& sound) {
    if (!input->append(sound)) return false;
    writtenUpTo = sound.presentationTimeStamp() + sound.duration();
    return true;
}

CMTime SoundTrackFile::nextWrittenTime() const {
    return writtenUpTo.isNumeric() ? writtenUpTo : *commonStart;
}

/// What follows on what was lost before is one loss with it.
void SoundTrackFile::lose(SoundLoss loss) {
    account.update([&loss](SoundAccount& to) {
        if (!to.losses.empty()) {
            SoundLoss& last = to.losses.back();
            if (last.kind == loss.kind && last.at + last.frames == loss.at) {
                last.frames += loss.frames;
                return;
            }
        }
        to.losses.push_back(loss);
    });
}

void SoundTrackFile::close(CMTime end) {
    account.update([this](SoundAccount& to) { to.drift = placement.drift(); });
    if (!placement.hasBegun() || !lastSamplePTS) return;
    // By the stamps: a slow device has counted fewer frames, and yet nothing is missing.
    const double seconds = CMTimeGetSeconds(end - *lastSamplePTS);
    const int64_t missing = std::isfinite(seconds) ? std::llround(seconds * kTakeSampleRate) : 0;
    if (missing > kOrdinaryLatency)
        lose({.at = placement.next(), .frames = missing, .kind = SoundLossKind::endedEarly});
}

int64_t SoundTrackFile::framesUpTo(CMTime end) const {
    const double frames = secondsOfTake(end) * kTakeSampleRate;
    return std::isfinite(frames) ? std::max<int64_t>(0, std::llround(frames)) : 0;
}

double SoundTrackFile::secondsOfTake(CMTime time) const {
    return CMTimeGetSeconds(time - commonStart.value_or(kCMTimeInvalid));
}

} // namespace vintra
