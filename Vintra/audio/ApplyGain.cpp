#include "Vintra/audio/ApplyGain.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>

namespace vintra {
namespace {

// Goal: one pass for the peak and at most one for the samples, on capture queues, of buffers that may lie at
// any address. Method: both passes go in blocks of `kBlockSamples` with one running value a lane, which
// compilers turn into vector instructions without having to reorder floating-point sums. The rest of the
// buffer goes through the same arithmetic one sample at a time, so the result does not depend on the blocks.
constexpr size_t kBlockSamples = 16;

constexpr double kFullScale16 = 32767;

struct Samples {
    uint8_t* bytes = nullptr;
    size_t count = 0;
};

template <typename Sample, typename Combine>
Sample reduce(const Samples& samples, Combine combine) {
    std::array<Sample, kBlockSamples> lanes{};
    size_t index = 0;
    for (; index + kBlockSamples <= samples.count; index += kBlockSamples) {
        std::array<Sample, kBlockSamples> block;
        std::memcpy(block.data(), samples.bytes + index * sizeof(Sample), sizeof block);
        for (size_t lane = 0; lane < kBlockSamples; ++lane)
            lanes[lane] = combine(lanes[lane], block[lane]);
    }
    for (; index < samples.count; ++index) {
        Sample sample;
        std::memcpy(&sample, samples.bytes + index * sizeof(Sample), sizeof sample);
        lanes[0] = combine(lanes[0], sample);
    }
    Sample result = lanes[0];
    for (const Sample lane : lanes)
        result = combine(result, lane);
    return result;
}

template <typename Sample, typename Change>
void transform(const Samples& samples, Change change) {
    size_t index = 0;
    for (; index + kBlockSamples <= samples.count; index += kBlockSamples) {
        std::array<Sample, kBlockSamples> block;
        std::memcpy(block.data(), samples.bytes + index * sizeof(Sample), sizeof block);
        for (Sample& sample : block)
            sample = change(sample);
        std::memcpy(samples.bytes + index * sizeof(Sample), block.data(), sizeof block);
    }
    for (; index < samples.count; ++index) {
        Sample sample;
        std::memcpy(&sample, samples.bytes + index * sizeof(Sample), sizeof sample);
        sample = change(sample);
        std::memcpy(samples.bytes + index * sizeof(Sample), &sample, sizeof sample);
    }
}

/// Greatest magnitude. The bits of a float's magnitude order as the magnitude does; those of a NaN lie above
/// infinity's and count as 0.
double peakOfFloats(const Samples& samples) {
    constexpr int32_t infinityBits = 0x7F80'0000;
    const int32_t peak = reduce<int32_t>(samples, [](int32_t greatest, int32_t bits) {
        int32_t magnitude = bits & 0x7FFF'FFFF;
        magnitude = magnitude > infinityBits ? 0 : magnitude;
        return magnitude > greatest ? magnitude : greatest;
    });
    return std::bit_cast<float>(peak);
}

/// Greatest magnitude; up to 32768, which 16 bits without a sign hold.
double peakOfIntegers(const Samples& samples) {
    return reduce<uint16_t>(samples, [](uint16_t greatest, uint16_t bits) {
        const auto magnitude = static_cast<uint16_t>((bits & 0x8000) != 0 ? 0x1'0000 - bits : bits);
        return magnitude > greatest ? magnitude : greatest;
    });
}

void scaleFloats(const Samples& samples, double factor) {
    transform<float>(samples,
                     [factor = static_cast<float>(factor)](float sample) { return sample * factor; });
}

void scaleIntegers(const Samples& samples, double factor) {
    transform<int16_t>(samples, [factor](int16_t sample) {
        const double scaled = std::clamp(factor * sample, -32768.0, 32767.0);
        // Halves away from zero, as `std::round` has it, in steps that vectorise.
        const auto whole = static_cast<int>(scaled);
        const double rest = scaled - whole;
        return static_cast<int16_t>(whole + (rest >= 0.5) - (rest <= -0.5));
    });
}

/// The factor to use on samples of this peak; 1 leaves them alone.
double limitedFactor(double gainDB, double peak, double ceiling) {
    const double gain = gainDB == 0 || std::isnan(gainDB) ? 1.0 : std::pow(10.0, gainDB / 20.0);
    if (gain <= 1) return gain;
    return std::max(1.0, std::min(gain, ceiling / peak));
}

/// `peak` as a part of full scale.
float meterLevel(double peak) {
    if (!(peak > 0)) return 0;
    return static_cast<float>(std::clamp((20 * std::log10(peak) + 60) / 60, 0.0, 1.0));
}

} // namespace

GainResult applyGain(const CMSampleBuffer& to, double gainDB, double ceilingFraction) {
    const auto format = to.formatDescription();
    const auto* description = format ? format->streamBasicDescription() : nullptr;
    const auto data = to.dataBuffer();
    if (description == nullptr || !data) return {to, 0};
    const auto pointer = data->dataPointer(0);
    if (pointer.bytes == nullptr || pointer.lengthAtOffset != pointer.totalLength) return {to, 0};

    const bool isFloat = description->isFloat();
    if (description->isBigEndian() || description->mBitsPerChannel != (isFloat ? 32u : 16u)) return {to, 0};
    const Samples samples{pointer.bytes, pointer.totalLength / (isFloat ? sizeof(float) : sizeof(int16_t))};
    const double fullScale = isFloat ? 1.0 : kFullScale16;
    const double peak = isFloat ? peakOfFloats(samples) : peakOfIntegers(samples);
    if (!(peak > 0)) return {to, 0};

    const double factor = limitedFactor(gainDB, peak, ceilingFraction * fullScale);
    if (factor != 1) {
        if (isFloat) {
            scaleFloats(samples, factor);
        } else {
            scaleIntegers(samples, factor);
        }
    }
    return {to, meterLevel(peak * factor / fullScale)};
}

} // namespace vintra
