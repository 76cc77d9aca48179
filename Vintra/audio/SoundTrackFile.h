#pragma once

#include "Vintra/platform/AVAssetWriter.h"
#include "Vintra/platform/CMSampleBuffer.h"
#include "Vintra/platform/CMTime.h"

#include <cstdint>
#include <memory>
#include <optional>

namespace vintra {

/// The WAV of one track of sound with its reference copy in the screen movie, and what is remembered of the
/// buffers that went in. Owned by the take through its `AudioTrack` or `ExtraInputTrack`. Built on the main
/// thread; while the track stands in a sink it belongs to the one queue that delivers to it, and the main
/// thread reads it after that queue has been drained.
struct SoundTrackFile {
    std::shared_ptr<AVAssetWriter> writer;
    std::shared_ptr<AVAssetWriterInput> input;
    std::shared_ptr<AVAssetWriterInput> referenceInput; ///< null in a take without a screen
    /// Buffers that begin before this are written as silence.
    std::optional<CMTime> warmupCutoff;
    std::optional<CMTime> firstSamplePTS; ///< of the first buffer that arrived, silenced or not
    int64_t droppedBufferCount = 0;       ///< buffers that found the WAV input not ready
    bool sawSignal = false;               ///< some buffer held a sample that isn't zero
    std::optional<CMTime> lastSamplePTS;  ///< end of the latest buffer

protected:
    /// Silences a warm-up buffer in place, takes note of the buffer and hands it to both inputs.
    void appendToOwnInputs(const CMSampleBuffer& buffer);
    static void appendIfReady(AVAssetWriterInput* input, const CMSampleBuffer& buffer);

private:
    void silenceDuringWarmup(const CMSampleBuffer& buffer) const;
};

} // namespace vintra
