#pragma once

#include "Vintra/platform/AVAssetWriter.h"

#include <cstdint>
#include <vector>

namespace vintra {

/// The bytes before the samples of a WAV of 24-bit integers. A pure function: any thread.
///
///     RIFF size WAVE | JUNK 28, room of 28 bytes | fmt  16 or 40 ... | data size
///     RF64  ~   WAVE | ds64 28, the real sizes   | fmt  16 or 40 ... | data  ~
///
/// The second form is that of a file of 4 GiB and more, whose sizes are no longer 32-bit numbers. Both have the
/// same length for the same settings, so a file that grows goes over from one to the other in place. More than
/// two channels take the long "fmt " chunk, since the short one can't describe them.
std::vector<uint8_t> waveHeader(const AVAudioSettings& settings, uint64_t dataSize);

inline constexpr uint32_t kWaveBytesPerValue = 3;

} // namespace vintra
