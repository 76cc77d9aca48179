#pragma once

#include "Vintra/audio/SoundAccount.h"
#include "Vintra/audio/SoundPlacement.h"
#include "Vintra/platform/AVAssetWriter.h"
#include "Vintra/platform/CMSampleBuffer.h"
#include "Vintra/platform/CMTime.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

namespace vintra {

/// The WAV of one track of sound with its reference copy in the screen movie, and what is remembered of the
/// buffers that went in. A WAV has no times of its own, so it is here that a buffer gets its place in the
/// file: what is missing before it, wherever it was lost, becomes silence of the same length. Owned by the
/// take through its `AudioTrack` or `ExtraInputTrack`. Built on the main thread; while the track stands in a
/// sink it belongs to the one queue that delivers to it, and the main thread reads it after that queue has
/// been drained. The account alone may be read at any moment.
struct SoundTrackFile {
    std::shared_ptr<AVAssetWriter> writer;
    std::shared_ptr<AVAssetWriterInput> input;
    std::shared_ptr<AVAssetWriterInput> referenceInput; ///< null in a take without a screen
    /// Zero of the take. Without it the first buffer is.
    std::optional<CMTime> commonStart;
    /// Buffers that begin before this are written as silence.
    std::optional<CMTime> warmupCutoff;
    std::optional<CMTime> firstSamplePTS; ///< of the first buffer that arrived, silenced or not
    int64_t droppedBufferCount = 0;       ///< buffers that found the WAV input not ready
    bool sawSignal = false;               ///< some buffer held a sample that isn't zero
    std::optional<CMTime> lastSamplePTS;  ///< end of the latest buffer
    /// Told `firstSamplePTS` as soon as it is known, on the queue that delivers; may be empty.
    std::function<void(CMTime)> onFirstSample;

    SoundAccountHolder account;

    /// Where the sound of the file belongs, once the sinks are empty and the queue is drained.
    const SoundPlacement& places() const { return placement; }
    /// Settles the account of a track that gets no more buffers. `end` is that of the take: what is missing
    /// up to there beyond the ordinary latency of a device counts as lost.
    void close(CMTime end);
    /// The length, in frames, that the file has once it is padded and ends with the take.
    int64_t framesUpTo(CMTime end) const;

protected:
    /// Silences a warm-up buffer in place, takes note of the buffer and hands it to both inputs. Gives what is
    /// for other copies: the buffer up to the end of the take, invalid if nothing is left of it.
    CMSampleBuffer appendToOwnInputs(const CMSampleBuffer& buffer);
    static void appendIfReady(AVAssetWriterInput* input, const CMSampleBuffer& buffer);

private:
    void silenceDuringWarmup(const CMSampleBuffer& buffer) const;
    CMSampleBuffer upToTheEnd(const CMSampleBuffer& buffer) const;
    void appendAtItsPlace(const CMSampleBuffer& buffer);
    void noteMissing(const SoundPlacement::Place& place, bool isFirst, int64_t frames);
    void writeLongSilence(const CMSampleBuffer& before);
    bool writeBehindSilence(const CMSampleBuffer& sound);
    CMTime nextWrittenTime() const;
    bool write(const CMSampleBuffer& sound);
    void lose(SoundLoss loss);
    double secondsOfTake(CMTime time) const;

    SoundPlacement placement;
    int64_t owedSilence = 0;             ///< frames that the file must get before the next buffer
    CMTime writtenUpTo = kCMTimeInvalid; ///< end of what the input has taken, by its own stamps
};

} // namespace vintra
