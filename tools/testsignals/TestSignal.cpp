#include "tools/testsignals/TestSignal.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace vintra {

std::optional<SignalKind> signalKindNamed(std::string_view name) {
    if (name == "sine") return SignalKind::sine;
    if (name == "tones") return SignalKind::tones;
    if (name == "counter") return SignalKind::counter;
    if (name == "clock") return SignalKind::clock;
    if (name == "silence") return SignalKind::silence;
    return std::nullopt;
}

void TestSignal::fill(float* samples, uint32_t frames, uint32_t channels, uint64_t firstFrame) const {
    if (kind == SignalKind::silence) {
        std::fill_n(samples, static_cast<size_t>(frames) * channels, 0.0F);
        return;
    }
    const double peak = std::pow(10.0, levelDB / 20.0);
    const double turn = 2.0 * std::numbers::pi * frequency / sampleRate;
    const auto sample = [&](uint64_t index, uint32_t channel) {
        if (kind == SignalKind::counter) return counterSample(index, channel);
        if (kind == SignalKind::clock) return clockSample(index);
        const uint32_t multiple = kind == SignalKind::tones ? channel + 1 : 1;
        return static_cast<float>(peak * std::sin(turn * multiple * static_cast<double>(index)));
    };
    for (uint32_t frame = 0; frame < frames; ++frame) {
        for (uint32_t channel = 0; channel < channels; ++channel)
            *samples++ = sample(firstFrame + frame, channel);
    }
}

} // namespace vintra
