#pragma once

#include "Vintra/platform/AVAssetWriter.h"

namespace vintra {

/// Every rate in the sample path and in the files of a take, in hertz: data outputs are asked for it.
inline constexpr double kTakeSampleRate = 48000.0;

/// The sound of a take's WAV: 48 kHz, 24-bit integers, little-endian, interleaved.
inline AVAudioSettings capturePCMSettings(int channelCount) {
    return {.formatID = kAudioFormatLinearPCM,
            .sampleRate = kTakeSampleRate,
            .numberOfChannels = static_cast<uint32_t>(channelCount),
            .linearPCMBitDepth = 24,
            .linearPCMIsFloat = false,
            .linearPCMIsBigEndian = false,
            .linearPCMIsNonInterleaved = false};
}

} // namespace vintra
