#pragma once

#include "Vintra/platform/AVAssetWriter.h"

#include <cstdint>
#include <vector>

namespace vintra {

/// The bytes of a WAV file of interleaved little-endian integer samples, as a simulated writer makes it. Pure
/// functions: any thread.
namespace SimulatedWaveEncoder {

inline constexpr size_t kHeaderBytes = 44;

/// A RIFF header with a 16-byte "fmt " chunk, for that many bytes of sample data.
std::vector<uint8_t> header(const AVAudioSettings& settings, uint64_t dataBytes);

/// The sound's frames from `firstFrame` on at the settings' depth, full scale being 1.0, beyond which they
/// are clipped. Takes interleaved float and 16-bit integer samples of the settings' channel count; empty for
/// others.
std::vector<uint8_t> frames(const AVAudioSettings& settings, const CMSampleBuffer& sample,
                            int64_t firstFrame);

} // namespace SimulatedWaveEncoder

} // namespace vintra
