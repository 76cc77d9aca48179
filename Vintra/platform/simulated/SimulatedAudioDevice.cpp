#include "Vintra/platform/simulated/SimulatedAudioDevice.h"

#include <cmath>

namespace vintra {
namespace {

constexpr double kToneHertz = 1000;
constexpr double kToneAmplitude = 0.25;
constexpr double kTwoPi = 6.283185307179586;

} // namespace

float SimulatedAudioDevice::tone(int64_t frame, double rate) {
    return static_cast<float>(kToneAmplitude *
                              std::sin(kTwoPi * kToneHertz * static_cast<double>(frame) / rate));
}

float SimulatedAudioDevice::sound(uint32_t channel, int64_t frame, CMTime hostTime) const {
    if (isLoopback) return (signal ? signal(channel, frame, hostTime) : 0) + loopback.heard(frame, channel);
    return signal ? signal(channel, frame, hostTime) : tone(frame, nominalSampleRate);
}

} // namespace vintra
