#pragma once

#include "Vintra/audio/MonoFormatCache.h"
#include "Vintra/platform/CMSampleBuffer.h"

#include <optional>

namespace vintra {

/// One channel of an interleaved buffer as a buffer of its own, with the same presentation time. Takes 32-bit
/// float and 16-bit integer samples, native-endian, in one piece; anything else, and a channel outside 0 to
/// `totalChannels` - 1, gives nothing. Any thread; allocates the result alone.
std::optional<CMSampleBuffer> extractMonoChannel(int channel, int totalChannels, const CMSampleBuffer& from,
                                                 double sampleRate, MonoFormatCache& formats);

} // namespace vintra
