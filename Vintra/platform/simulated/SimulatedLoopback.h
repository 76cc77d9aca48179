#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vintra {

/// What IOs play into a simulated loopback device, until its inputs have heard it. A value.
class SimulatedLoopback {
public:
    /// Adds to what is to be heard at the device's frame.
    void play(int64_t frame, uint32_t channel, float sample);
    float heard(int64_t frame, uint32_t channel) const;

private:
    static constexpr uint32_t kChannels = 64; ///< more than that go nowhere
    static constexpr int64_t kFrames = 8192;  ///< kept, the latest of them
    struct Frame {
        int64_t number = -1;
        std::vector<float> samples;
    };
    std::vector<Frame> ring;
};

} // namespace vintra
