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

} // namespace vintra
