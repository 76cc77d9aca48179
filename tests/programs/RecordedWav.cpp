#include "tests/programs/RecordedWav.h"

#include "Vintra/platform/linux/files/LinuxFileManager.h"
#include "Vintra/take/WavFile.h"

#include <cstdlib>

namespace vintra {

RecordedWav::RecordedWav(const URL& url, size_t channels)
    : channels(channels) {
    LinuxFileManager files;
    const auto header = readWavHeader(files, url);
    if (!header) return;
    rate = header->sampleRate;
    const auto handle = files.openForReading(url);
    handle->seek(static_cast<uint64_t>(header->dataStart));
    std::vector<uint8_t> bytes(static_cast<size_t>(header->declaredDataSize));
    bytes.resize(handle->read(bytes.data(), bytes.size()) / (3 * channels) * 3 * channels);
    samples.reserve(bytes.size() / 3);
    for (size_t at = 0; at < bytes.size(); at += 3) {
        const auto raw = static_cast<uint32_t>(bytes[at] << 8 | bytes[at + 1] << 16 | bytes[at + 2] << 24);
        samples.push_back(static_cast<int32_t>(raw) >> 8);
    }
}

std::optional<double> firstSound(const URL& url, double threshold) {
    LinuxFileManager files;
    const auto header = readWavHeader(files, url);
    if (!header) return std::nullopt;
    const auto handle = files.openForReading(url);
    handle->seek(static_cast<uint64_t>(header->dataStart));
    std::vector<uint8_t> bytes(static_cast<size_t>(header->declaredDataSize));
    bytes.resize(handle->read(bytes.data(), bytes.size()));
    for (size_t frame = 0; 3 * frame + 3 <= bytes.size(); ++frame) {
        const uint8_t* const at = bytes.data() + 3 * frame;
        const int32_t sample =
            static_cast<int32_t>(static_cast<uint32_t>(at[0] << 8 | at[1] << 16 | at[2] << 24)) >> 8;
        if (std::abs(sample) >= threshold * 8'388'608) return static_cast<double>(frame) / header->sampleRate;
    }
    return std::nullopt;
}

} // namespace vintra
