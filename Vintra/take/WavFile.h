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
    uint32_t bitsPerSample = 0;
    bool isRF64 = false; ///< the sizes are in the 64-bit chunk
    /// Offset of the chunk with the 64-bit sizes, or of the room that was left for one.
    std::optional<uint64_t> largeSizesAt{};
};

/// The header's bytes for other sizes. Beyond 32 bits it becomes RF64, where it has the room for that; else
/// its sizes saturate. `riffSize` is that of the file less 8 bytes.
std::vector<uint8_t> wavHeaderWithSizes(const WavHeader& header, uint64_t riffSize, uint64_t dataSize);

/// Reads the front of a PCM WAV file, RIFF or RF64; nothing if it isn't one, or its samples begin beyond the first 64 KiB.
/// Throws `SystemError` where the file can't be read. Any thread.
std::optional<WavHeader> readWavHeader(FileManager& files, const URL& at);

/// Rewrites the file with `gapSeconds` of silence before its first sample, by way of a new file beside it
/// that takes its place in one step. Gaps of up to 10 ms are left alone. Whatever fails, the recorded file
/// stays as it was and nothing is left beside it; no one is told. Any thread but the main one: it copies the
/// file.
void padWavFileWithLeadingSilence(FileManager& files, ProcessInfo& process, const URL& at, double gapSeconds);

/// The same, and brings the file to `frames` by silence behind its last sample if it is shorter.
void alignWavFile(FileManager& files, ProcessInfo& process, const URL& at, double gapSeconds, int64_t frames);

/// A name that is free, for a file that is to take the place of the one at `at`.
URL temporaryWavURL(ProcessInfo& process, const URL& at);

} // namespace vintra
