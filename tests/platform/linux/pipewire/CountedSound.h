#pragma once

#include "Vintra/platform/AudioDeviceIO.h"

#include <atomic>
#include <cstdint>

namespace vintra {

/// Sound whose every frame says its number, in 23 bits that a float holds exactly: the left sample is the
/// number / 2^23, the right one its negative. Frame 0 is silence, so the count begins with 1.
namespace countedSound {
inline constexpr int64_t kPeriod = int64_t{1} << 23;

inline float sample(int64_t number) {
    return static_cast<float>(number % kPeriod) / static_cast<float>(kPeriod);
}
} // namespace countedSound

/// Plays the count into the first two channels of each output stream. Its block is real-time.
class CountedSoundPlayer {
public:
    AudioIOBlock block() {
        return [this](AudioBufferList, AudioBufferList output) {
            for (const AudioBuffer& buffer : output) {
                const uint32_t frames = buffer.mDataByteSize / (sizeof(float) * buffer.mNumberChannels);
                for (uint32_t frame = 0; frame < frames; ++frame) {
                    if (++number % countedSound::kPeriod == 0) ++number;
                    float* const to = buffer.mData + size_t{frame} * buffer.mNumberChannels;
                    to[0] = countedSound::sample(number);
                    if (buffer.mNumberChannels > 1) to[1] = -to[0];
                }
            }
        };
    }

private:
    int64_t number = 0; ///< the block's own
};

/// Says how the count went on. Its block is real-time; the counters are for any thread.
class CountedSoundListener {
public:
    AudioIOBlock block() {
        return [this](AudioBufferList input, AudioBufferList) {
            for (const AudioBuffer& buffer : input) {
                const uint32_t channels = buffer.mNumberChannels;
                const uint32_t all = buffer.mDataByteSize / (sizeof(float) * channels);
                for (uint32_t frame = 0; frame < all; ++frame)
                    take(buffer.mData + size_t{frame} * channels, channels);
                ++cycles;
            }
        };
    }

    std::atomic<int64_t> cycles{0};
    std::atomic<int64_t> frames{0};   ///< that were no silence
    std::atomic<int64_t> next{0};     ///< frames with the number after the one before
    std::atomic<int64_t> repeats{0};  ///< with the same number
    std::atomic<int64_t> skips{0};    ///< with the number after the next
    std::atomic<int64_t> silences{0}; ///< silent frames since the count began
    std::atomic<int64_t> faults{0};   ///< anything else

private:
    void take(const float* samples, uint32_t channels) {
        const float left = samples[0];
        const float right = channels > 1 ? samples[1] : -left;
        if (left == 0 && right == 0) {
            if (last != 0) ++silences;
            return;
        }
        const auto number = static_cast<int64_t>(left * static_cast<float>(countedSound::kPeriod));
        if (countedSound::sample(number) != left || right != -left) {
            ++faults;
            return;
        }
        ++frames;
        int64_t step = number - last;
        if (step < 0) step += countedSound::kPeriod - 1; // the count went round, past the silent number
        if (last != 0) {
            if (step == 1)
                ++next;
            else if (step == 0)
                ++repeats;
            else if (step == 2)
                ++skips;
            else
                ++faults;
        }
        last = number;
    }
    int64_t last = 0; ///< 0: none; the block's own
};

} // namespace vintra
