#pragma once

#include <atomic>
#include <cstdint>

namespace vintra {

/// Gives the buffers of one sound stream their times.
///
/// Goal: a buffer begins where the one before it ended, and over minutes the times follow the graph's clock,
/// which runs by the device. Constraint: the graph's time of a single buffer is off by however late the
/// device woke, some tens of microseconds either way; where frames were lost it is a whole cycle later.
/// Method: the next time is the end of the last buffer, moved towards the graph's time by a sixty-fourth of
/// the difference and by no more than 100 millionths of the buffer's length, which is more than two quartz
/// clocks differ and far less than a frame. A difference of 2 ms or more is no jitter but a gap, or a device
/// that was started anew: the graph's time is then taken as it is. The shortest cycle worth recording, 128
/// frames at 48 kHz, is 2.7 ms. That one time may be of a cycle that began late, and nothing begins early, so
/// for a second from there a time that is earlier than the expected one is taken as it is, too. A clock that
/// is a timer of the server's slips when the machine stalls: if of 16 buffers all are off by more than 0.2 ms
/// to the same side, it is no jitter either, and the times move by the least of these.
///
/// Real-time: neither allocates nor locks. One thread at a time.
class SampleStamps {
public:
    explicit SampleStamps(uint32_t framesASecond)
        : sampleRate(framesASecond) {}

    /// The time of a buffer's first frame, of which the graph says `graphTime`, both in nanoseconds.
    int64_t stamp(int64_t graphTime, uint32_t frames);
    /// Buffers that did not begin where the one before ended. The first one is none.
    /// Any thread may ask.
    uint64_t gaps() const { return gaps_.load(std::memory_order_relaxed); }

    static constexpr int64_t kGapNanoseconds = 2'000'000;
    static constexpr int64_t kSlipNanoseconds = 200'000;
    static constexpr int kBuffersOfASlip = 16;

private:
    void begin(int64_t graphTime);
    void follow(int64_t difference);

    const int64_t sampleRate;
    bool hasBegun = false;
    int64_t anchor = 0;            ///< nanoseconds, moved by the corrections
    int64_t framesSinceAnchor = 0; ///< below one second of them
    int64_t lastFrames = 0;
    int64_t framesToSettle = 0; ///< of the second after a beginning or a gap
    int64_t least = 0;          ///< nanoseconds, of the differences of the latest buffers, up to 16
    int64_t most = 0;
    int differences = 0; ///< how many they are
    std::atomic<uint64_t> gaps_{0};
};

} // namespace vintra
