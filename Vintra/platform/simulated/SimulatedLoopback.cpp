#include "Vintra/platform/simulated/SimulatedLoopback.h"

namespace vintra {

void SimulatedLoopback::play(int64_t frame, uint32_t channel, float sample) {
    if (frame < 0 || channel >= kChannels) return;
    ring.resize(kFrames);
    Frame& at = ring[static_cast<size_t>(frame % kFrames)];
    if (at.number != frame) at = {frame, {}};
    if (at.samples.size() <= channel) at.samples.resize(channel + 1);
    at.samples[channel] += sample;
}

float SimulatedLoopback::heard(int64_t frame, uint32_t channel) const {
    if (frame < 0 || ring.empty()) return 0;
    const Frame& at = ring[static_cast<size_t>(frame % kFrames)];
    return at.number == frame && channel < at.samples.size() ? at.samples[channel] : 0;
}

} // namespace vintra
