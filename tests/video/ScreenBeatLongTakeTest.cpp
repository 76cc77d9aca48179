#include "BeatFixture.h"

#include <functional>
#include <random>

namespace vintra {
namespace {

/// An input that keeps no samples, only what a long take's checks need.
class CountingInput : public ScriptedInput {
public:
    std::function<void(const CMSampleBuffer&)> took;
    bool append(const CMSampleBuffer& sample) override {
        took(sample);
        return true;
    }
};

class ScreenBeatLongTakeTest : public BeatFixture {
protected:
    /// Captures `count` frames, each up to a quarter of a slot off its slot and given to the beat up to 5 ms
    /// later, and checks that frame n stands on slot n, exactly.
    void everyFrameStandsOnItsSlot(int32_t takeRate, int64_t count) {
        const unsigned seed = 20'260'101;
        SCOPED_TRACE("seed " + std::to_string(seed));
        std::mt19937 random(seed);
        const int64_t ticksOfASlot = kHostTimescale / takeRate;
        std::uniform_int_distribution<int64_t> jitter(-ticksOfASlot / 4, ticksOfASlot / 4);
        std::uniform_real_distribution<double> delay(0, 0.005);
        int64_t written = 0;
        int64_t wrong = 0;
        const auto counting = std::make_shared<CountingInput>();
        input = counting;
        // The first frame comes 0.0255 s in: a phase of 0.025 s, which is 180,000 ticks.
        counting->took = [&](const CMSampleBuffer& sample) {
            const CMTime pts = sample.presentationTimeStamp();
            const bool exact = pts.timescale == kHostTimescale && !pts.hasBeenRounded() &&
                               pts.value == anchor.value + 180'000 + written * ticksOfASlot;
            if (!exact || describe(sample.duration()) != "1/" + std::to_string(takeRate)) ++wrong;
            ++written;
        };
        begin(takeRate);
        const auto image = CVPixelBuffer::make(kCVPixelFormatType_32BGRA, 2, 2);
        for (int64_t n = 0; n < count; ++n) {
            const int64_t ticks = 183'600 + n * ticksOfASlot + (n > 0 ? jitter(random) : 0);
            const CMTime capturedAt = CMTimeMake(ticks, kHostTimescale);
            runTo(CMTimeGetSeconds(capturedAt) + delay(random));
            const auto sample =
                CMSampleBuffer::makeVideo(image, {.duration = kCMTimeInvalid,
                                                  .presentationTimeStamp = anchor + capturedAt,
                                                  .decodeTimeStamp = kCMTimeInvalid});
            queue->sync([&] { beat->frame(sample); });
        }
        EXPECT_EQ(written, count);
        EXPECT_EQ(wrong, 0);
        const CMTime end = CMTimeMake(180'000 + (count - 1) * ticksOfASlot, kHostTimescale);
        EXPECT_EQ(finish(end), (ScreenBeat::Totals{0, 0, 0}));
        EXPECT_EQ(written, count);
        EXPECT_TRUE(lost.empty());
        EXPECT_EQ(wrote.back(), anchor + end + CMTimeMake(1, takeRate));
    }
};

TEST_F(ScreenBeatLongTakeTest, anHourAt30StaysExact) {
    everyFrameStandsOnItsSlot(30, 108'000);
}

TEST_F(ScreenBeatLongTakeTest, twoHoursAt60StayExact) {
    everyFrameStandsOnItsSlot(60, 432'000);
}

} // namespace
} // namespace vintra
