#include "Vintra/platform/linux/movie/WaveFile.h"

#include "Vintra/platform/linux/movie/WaveHeader.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <utility>

namespace vintra {
namespace {

constexpr uint32_t kMostWaveChannels = 32;

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
           audio->linearPCMBitDepth == 8 * kWaveBytesPerValue && audio->numberOfChannels >= 1 &&
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
    this->file.append(waveHeader(settings, 0));
}

void WaveFile::write(size_t, const CMSampleBuffer& sample, CMTime sessionStart) {
    take(converter.convert(sample, soundFramesBefore(sample, sessionStart)));
    const double second = settings.sampleRate * settings.numberOfChannels * kWaveBytesPerValue;
    if (static_cast<double>(unwritten.size()) >= second) flush();
}

void WaveFile::take(std::span<const float> values) {
    const size_t before = unwritten.size();
    unwritten.resize(before + values.size() * kWaveBytesPerValue);
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
    file.overwrite(0, waveHeader(settings, dataSize));
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
