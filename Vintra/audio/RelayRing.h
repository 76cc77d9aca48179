#pragma once

#include "Vintra/audio/RelayCounters.h"
#include "Vintra/audio/RelayLock.h"
#include "Vintra/audio/RelayTarget.h"
#include "Vintra/platform/AudioBuffer.h"

#include <atomic>
#include <cstdint>
#include <memory>

namespace vintra {

/// Hands stereo sound from one device's IO thread to another's, whose clock is never locked to the first.
///
/// Goal: no gap and no growing delay for as long as both devices run, at a few instructions a frame.
/// Constraint: both sides run on real-time threads; nothing is resampled.
/// Method: a ring that is held near a target fill. Above a band around the target the source drops the first
/// frame of a cycle, below it the output plays the first frame of a cycle twice: one frame a cycle at most.
/// Every third underrun doubles the target, and the output is silent until the ring has filled up to it.
///
/// Owned by the relay. `consume` belongs to the source's IO thread, `produce` to the output's, the rest to
/// any. Frames are copied outside the lock, into or out of a part of the ring that the other side does not
/// touch until the indices have moved; the indices change only under the lock.
class RelayRing {
public:
    static constexpr int64_t capacityFrames = 16'384;
    static constexpr int64_t maxTargetFillFrames = 4096; ///< the most that growth may reach

    explicit RelayRing(RelayTarget target);

    /// One cycle of the source: stores the frames of its first stream of just two channels. Real-time: it
    /// allocates, logs and throws nothing and waits for the lock alone.
    void consume(AudioBufferList input) noexcept;
    /// One cycle of the output: fills its first stream of two or more channels. Real-time, as above.
    void produce(AudioBufferList output) noexcept;

    /// The factors of left and right on the way out. A change is spread over the next cycle, so that it doesn't
    /// click. Any thread.
    void setVolume(float left, float right);
    /// Back to silence until the ring has reached its target.
    void unprime();
    RelayCounters counters() const;

private:
    struct Begun {
        int64_t fill;
        int64_t target;
        int64_t index; ///< of this side's next frame
        bool primed;
    };
    struct Played {
        int64_t consumed = 0;
        int64_t silent = 0;
        bool repeated = false;
    };

    Begun beginConsume(int64_t frames) noexcept;
    void endConsume(int64_t stored, bool skipped, bool overrun) noexcept;
    Begun beginProduce(int64_t frames) noexcept;
    void prime() noexcept;
    Played play(const Begun& begun, const AudioBuffer& buffer, int64_t frames) noexcept;
    void endProduce(const Played& played) noexcept;
    void applyVolume(const AudioBuffer& buffer, int64_t frames) noexcept;
    void noteFill() noexcept REQUIRES(lock);
    void noteUnderrun() noexcept REQUIRES(lock);

    void copyIn(int64_t index, const float* from, int64_t frames) noexcept;
    void copyOut(int64_t index, float* to, int64_t frames, uint32_t channels) const noexcept;

    const bool targetIsPinned;
    const std::unique_ptr<float[]> ring; ///< left and right in turn; frame n lies at n mod `capacityFrames`
    std::atomic<float> leftVolume{1};
    std::atomic<float> rightVolume{1};
    float playedVolumes[2] = {1, 1}; ///< at the end of the last cycle; the output's thread's
    mutable RelayLock lock;
    RelayCounters state GUARDED_BY(lock);
};

} // namespace vintra
