#pragma once

#include "Vintra/platform/FileManager.h"
#include "Vintra/platform/ProcessInfo.h"
#include "Vintra/platform/URL.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace vintra {

/// What is known of a WAV file from its front. Offsets and sizes in bytes.
struct WavHeader {
    std::vector<uint8_t> bytes;    ///< the file up to `dataStart`
    uint64_t dataStart = 0;        ///< offset of the first sample
    uint64_t declaredDataSize = 0; ///< the data chunk's own, but no more than the file holds
    uint64_t fileSize = 0;
    uint32_t sampleRate = 0;
    uint32_t blockAlign = 0; ///< bytes of a frame, from channels and bits per sample
};

/// Reads the front of a PCM WAV file; nothing if it isn't one, or its samples begin beyond the first 64 KiB.
/// Throws `SystemError` where the file can't be read. Any thread.
std::optional<WavHeader> readWavHeader(FileManager& files, const URL& at);

/// Rewrites the file with `gapSeconds` of silence before its first sample, by way of a new file beside it
/// that takes its place in one step. Gaps of up to 10 ms are left alone. Whatever fails, the recorded file
/// stays as it was and nothing is left beside it; no one is told. Any thread but the main one: it copies the
/// file.
void padWavFileWithLeadingSilence(FileManager& files, ProcessInfo& process, const URL& at, double gapSeconds);

} // namespace vintra
