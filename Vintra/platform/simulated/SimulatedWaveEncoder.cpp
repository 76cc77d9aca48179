#include "Vintra/platform/simulated/SimulatedWaveEncoder.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace vintra::SimulatedWaveEncoder {

namespace {

void appendText(std::vector<uint8_t>& bytes, const char* text) {
    bytes.insert(bytes.end(), text, text + std::strlen(text));
}

void appendNumber(std::vector<uint8_t>& bytes, uint64_t number, size_t size) {
    for (size_t i = 0; i < size; ++i)
        bytes.push_back(static_cast<uint8_t>(number >> (8 * i)));
}

double sampleAt(const AudioStreamBasicDescription& format, const uint8_t* bytes) {
    if (format.isFloat()) {
        float value = 0;
        std::memcpy(&value, bytes, sizeof value);
        return static_cast<double>(value);
    }
    int16_t value = 0;
    std::memcpy(&value, bytes, sizeof value);
    return value / 32768.0;
}

} // namespace

std::vector<uint8_t> header(const AVAudioSettings& settings, uint64_t dataBytes) {
    const uint32_t depthBytes = settings.linearPCMBitDepth / 8;
    const uint32_t blockAlign = settings.numberOfChannels * depthBytes;
    const auto rate = static_cast<uint64_t>(settings.sampleRate);
    const auto capped = [](uint64_t size) { return std::min<uint64_t>(size, UINT32_MAX); };
    std::vector<uint8_t> bytes;
    appendText(bytes, "RIFF");
    appendNumber(bytes, capped(dataBytes + kHeaderBytes - 8), 4);
    appendText(bytes, "WAVEfmt ");
    appendNumber(bytes, 16, 4);
    appendNumber(bytes, settings.linearPCMIsFloat ? 3 : 1, 2);
    appendNumber(bytes, settings.numberOfChannels, 2);
    appendNumber(bytes, rate, 4);
    appendNumber(bytes, rate * blockAlign, 4);
    appendNumber(bytes, blockAlign, 2);
    appendNumber(bytes, settings.linearPCMBitDepth, 2);
    appendText(bytes, "data");
    appendNumber(bytes, capped(dataBytes), 4);
    return bytes;
}

std::vector<uint8_t> frames(const AVAudioSettings& settings, const CMSampleBuffer& sample,
                            int64_t firstFrame) {
    const auto format = sample.formatDescription();
    const auto data = sample.dataBuffer();
    const auto* description = format ? format->streamBasicDescription() : nullptr;
    if (!description || !data || description->isNonInterleaved() || description->isBigEndian()) return {};
    if (description->mChannelsPerFrame != settings.numberOfChannels || settings.linearPCMIsFloat) return {};
    const size_t sampleBytes = description->mBitsPerChannel / 8;
    if (sampleBytes != (description->isFloat() ? sizeof(float) : sizeof(int16_t))) return {};

    std::vector<uint8_t> source(data->dataLength());
    data->copyDataBytes(source.data());
    const uint32_t depth = settings.linearPCMBitDepth;
    const double fullScale = std::ldexp(1.0, static_cast<int>(depth) - 1);
    std::vector<uint8_t> bytes;
    const size_t start = static_cast<size_t>(firstFrame) * settings.numberOfChannels * sampleBytes;
    for (size_t at = start; at + sampleBytes <= source.size(); at += sampleBytes) {
        const double scaled = std::round(sampleAt(*description, source.data() + at) * fullScale);
        const auto value = static_cast<int64_t>(std::clamp(scaled, -fullScale, fullScale - 1));
        appendNumber(bytes, static_cast<uint64_t>(value), depth / 8);
    }
    return bytes;
}

} // namespace vintra::SimulatedWaveEncoder
