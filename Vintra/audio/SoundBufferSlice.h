#pragma once

#include "Vintra/platform/CMFormatDescription.h"
#include "Vintra/platform/CMSampleBuffer.h"

#include <cstdint>
#include <memory>

namespace vintra {

/// `frames` of a sound buffer from `firstFrame` on as a buffer of its own that begins at `at`, over the same
/// bytes. Invalid if nothing is left or the buffer has no PCM data. Any thread.
CMSampleBuffer sliceOfSound(const CMSampleBuffer& buffer, int64_t firstFrame, int64_t frames, CMTime at);

/// `frames` of silence in a PCM format. Invalid for other formats. Any thread.
CMSampleBuffer silentSound(const std::shared_ptr<const CMFormatDescription>& format, int64_t frames,
                           CMTime at);

/// `silence` frames of silence and the buffer's own behind them, as one that begins at `at`. Any thread.
CMSampleBuffer soundBehindSilence(const CMSampleBuffer& buffer, int64_t silence, CMTime at);

} // namespace vintra
