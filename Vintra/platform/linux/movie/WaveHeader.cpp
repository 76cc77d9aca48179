#include "Vintra/platform/linux/movie/WaveHeader.h"

#include <cmath>
#include <limits>

namespace vintra {
namespace {

constexpr uint32_t kWaveBitsPerValue = 8 * kWaveBytesPerValue;
constexpr uint64_t kLargeSizesBytes = 28;
constexpr uint64_t kNotHere = std::numeric_limits<uint32_t>::max(); ///< the size is in the 64-bit chunk

void put(std::vector<uint8_t>& bytes, const char (&id)[5]) {
    for (int i = 0; i < 4; ++i)
        bytes.push_back(static_cast<uint8_t>(id[i]));
}

void put(std::vector<uint8_t>& bytes, uint64_t value, int count) {
    for (int i = 0; i < count; ++i)
        bytes.push_back(static_cast<uint8_t>(value >> (8 * i)));
}

void putFormat(std::vector<uint8_t>& bytes, const AVAudioSettings& settings) {
    const uint32_t channels = settings.numberOfChannels;
    const auto rate = static_cast<uint64_t>(std::llround(settings.sampleRate));
    const bool isExtensible = channels > 2;
    put(bytes, "fmt ");
    put(bytes, isExtensible ? 40 : 16, 4);
    put(bytes, isExtensible ? 0xFFFE : 1, 2);
    put(bytes, channels, 2);
    put(bytes, rate, 4);
    put(bytes, rate * channels * kWaveBytesPerValue, 4);
    put(bytes, uint64_t{channels} * kWaveBytesPerValue, 2);
    put(bytes, kWaveBitsPerValue, 2);
    if (!isExtensible) return;
    put(bytes, 22, 2); // bytes that follow in this chunk
    put(bytes, kWaveBitsPerValue, 2);
    put(bytes, 0, 4); // channels without places
    put(bytes, 1, 4); // PCM, as the first field of a GUID whose rest is the same for all
    for (const int byte : {0, 0, 0x10, 0, 0x80, 0, 0, 0xAA, 0, 0x38, 0x9B, 0x71})
        put(bytes, static_cast<uint64_t>(byte), 1);
}

} // namespace

std::vector<uint8_t> waveHeader(const AVAudioSettings& settings, uint64_t dataSize) {
    const uint64_t formatSize = settings.numberOfChannels > 2 ? 40 : 16;
    const uint64_t riffSize = 4 + (8 + kLargeSizesBytes) + (8 + formatSize) + 8 + dataSize + dataSize % 2;
    const bool isLarge = riffSize >= kNotHere;
    std::vector<uint8_t> bytes;
    bytes.reserve(104);
    if (isLarge) {
        put(bytes, "RF64");
    } else {
        put(bytes, "RIFF");
    }
    put(bytes, isLarge ? kNotHere : riffSize, 4);
    put(bytes, "WAVE");
    if (isLarge) {
        put(bytes, "ds64");
    } else {
        put(bytes, "JUNK");
    }
    put(bytes, kLargeSizesBytes, 4);
    put(bytes, isLarge ? riffSize : 0, 8);
    put(bytes, isLarge ? dataSize : 0, 8);
    put(bytes, isLarge ? dataSize / (uint64_t{settings.numberOfChannels} * kWaveBytesPerValue) : 0, 8);
    put(bytes, 0, 4); // no table of further sizes
    putFormat(bytes, settings);
    put(bytes, "data");
    put(bytes, isLarge ? kNotHere : dataSize, 4);
    return bytes;
}

} // namespace vintra
