#include "Vintra/platform/linux/movie/WaveFile.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <limits>
#include <utility>

namespace vintra {
namespace {

constexpr uint32_t kBytesPerValue = 3;
constexpr uint32_t kBitsPerValue = 8 * kBytesPerValue;
constexpr uint32_t kMostWaveChannels = 32;

void put(std::vector<uint8_t>& bytes, const char (&id)[5]) {
    for (int i = 0; i < 4; ++i)
        bytes.push_back(static_cast<uint8_t>(id[i]));
}

void put(std::vector<uint8_t>& bytes, uint64_t value, int count) {
    for (int i = 0; i < count; ++i)
        bytes.push_back(static_cast<uint8_t>(value >> (8 * i)));
}

void putSize(std::vector<uint8_t>& bytes, uint64_t size) {
    put(bytes, std::min<uint64_t>(size, std::numeric_limits<uint32_t>::max()), 4);
}

/// Full scale is 2^23. Rounded to nearest, halves away from zero; what is no number is silence.
int32_t integerValue(float value) {
    constexpr double scale = 8'388'608;
    const double scaled = static_cast<double>(value) * scale;
    if (std::isnan(scaled)) return 0;
    return static_cast<int32_t>(std::clamp(std::round(scaled), -scale, scale - 1));
}

} // namespace

bool WaveFile::canWrite(const AVOutputSettings& settings) {
    const auto* audio = std::get_if<AVAudioSettings>(&settings);
    return audio != nullptr && audio->formatID == kAudioFormatLinearPCM && !audio->linearPCMIsFloat &&
           !audio->linearPCMIsBigEndian && !audio->linearPCMIsNonInterleaved &&
           audio->linearPCMBitDepth == kBitsPerValue && audio->numberOfChannels >= 1 &&
           audio->numberOfChannels <= kMostWaveChannels && audio->sampleRate >= 1 &&
           audio->sampleRate <= 768'000;
}

std::unique_ptr<WaveFile> WaveFile::create(const URL& url, const std::vector<AVOutputSettings>& tracks) {
    const AVAudioSettings settings =
        tracks.empty() ? AVAudioSettings{} : std::get<AVAudioSettings>(tracks.front());
    return std::unique_ptr<WaveFile>(new WaveFile(OutputFile::create(url), settings));
}

WaveFile::WaveFile(OutputFile file, const AVAudioSettings& settings)
    : file(std::move(file))
    , settings(settings)
    , converter(settings.sampleRate, settings.numberOfChannels) {
    const std::vector<uint8_t> bytes = header(0);
    headerSize = bytes.size();
    this->file.append(bytes);
}

std::vector<uint8_t> WaveFile::header(uint64_t size) const {
    const uint32_t channels = settings.numberOfChannels;
    const auto rate = static_cast<uint64_t>(std::llround(settings.sampleRate));
    const bool extensible = channels > 2;
    const uint64_t formatSize = extensible ? 40 : 16;
    std::vector<uint8_t> bytes;
    bytes.reserve(68);
    put(bytes, "RIFF");
    putSize(bytes, 4 + 8 + formatSize + 8 + size + size % 2);
    put(bytes, "WAVE");
    put(bytes, "fmt ");
    put(bytes, formatSize, 4);
    put(bytes, extensible ? 0xFFFE : 1, 2);
    put(bytes, channels, 2);
    put(bytes, rate, 4);
    put(bytes, rate * channels * kBytesPerValue, 4);
    put(bytes, uint64_t{channels} * kBytesPerValue, 2);
    put(bytes, kBitsPerValue, 2);
    if (extensible) {
        put(bytes, 22, 2); // bytes that follow in this chunk
        put(bytes, kBitsPerValue, 2);
        put(bytes, 0, 4); // channels without places
        put(bytes, 1, 4); // PCM, as the first field of a GUID whose rest is the same for all
        for (const int byte : {0, 0, 0x10, 0, 0x80, 0, 0, 0xAA, 0, 0x38, 0x9B, 0x71})
            put(bytes, static_cast<uint64_t>(byte), 1);
    }
    put(bytes, "data");
    putSize(bytes, size);
    return bytes;
}

void WaveFile::write(size_t, const CMSampleBuffer& sample, CMTime sessionStart) {
    take(converter.convert(sample, soundFramesBefore(sample, sessionStart)));
    const double second = settings.sampleRate * settings.numberOfChannels * kBytesPerValue;
    if (static_cast<double>(unwritten.size()) >= second) flush();
}

void WaveFile::take(std::span<const float> values) {
    const size_t before = unwritten.size();
    unwritten.resize(before + values.size() * kBytesPerValue);
    uint8_t* out = unwritten.data() + before;
    for (const float value : values) {
        const int32_t integer = integerValue(value);
        *out++ = static_cast<uint8_t>(integer);
        *out++ = static_cast<uint8_t>(integer >> 8);
        *out++ = static_cast<uint8_t>(integer >> 16);
    }
}

void WaveFile::flush() {
    if (unwritten.empty()) return;
    file.append(unwritten);
    dataSize += unwritten.size();
    unwritten.clear();
    refreshHeader();
}

void WaveFile::refreshHeader() {
    file.overwrite(0, header(dataSize));
}

void WaveFile::finish() {
    take(converter.drain());
    flush();
    if (dataSize % 2 != 0) file.append(std::vector<uint8_t>{0});
    file.close();
}

void WaveFile::abandon() noexcept {
    try {
        flush();
    } catch (const std::exception&) {
        // The header counts just what the disk took before; a part of the refused write is cut off.
        file.dropFailedAppend();
    }
}

} // namespace vintra
