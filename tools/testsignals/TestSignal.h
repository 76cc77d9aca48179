#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace vintra {

enum class SignalKind {
    sine,    ///< the same sine on every channel
    tones,   ///< a sine a channel: the frequency times (channel + 1)
    counter, ///< a number of its own for every frame and channel, exact in a 32-bit float
    clock,   ///< the number of the frame by the machine's clock, on every channel
    silence,
};

std::optional<SignalKind> signalKindNamed(std::string_view name);

/// A signal of which every sample is known. A value: any thread.
struct TestSignal {
    SignalKind kind = SignalKind::sine;
    double frequency = 440.0; ///< hertz
    double levelDB = -12.0;   ///< of a sine's peak, against full scale
    uint32_t sampleRate = 48000;

    /// Fills interleaved frames; `firstFrame` counts from the signal's start, or is the clock's. Doesn't
    /// allocate, lock or block.
    void fill(float* samples, uint32_t frames, uint32_t channels, uint64_t firstFrame) const;
};

/// The counter's sample: (frame mod 65536) + 65536 × channel, in units of 2^-24.
constexpr float counterSample(uint64_t frame, uint32_t channel) {
    return static_cast<float>((frame & 0xFFFF) + (static_cast<uint64_t>(channel) << 16)) / 16777216.0F;
}

/// The clock's sample: frame mod 2^23, in units of 2^-23, so exact in 24 bits too.
constexpr float clockSample(uint64_t frame) {
    return static_cast<float>(frame & 0x7FFFFF) / 8388608.0F;
}

} // namespace vintra
