#include "Vintra/audio/RelayRing.h"

#include <algorithm>
#include <atomic>
#include <gtest/gtest.h>
#include <thread>

namespace vintra {
namespace {

/// Gives frames that are told apart by their number, from 1 on: left n, right -n.
class NumberedSource {
public:
    void give(RelayRing& ring, int64_t frames) {
        std::vector<float> samples;
        for (int64_t index = 0; index < frames; ++index) {
            ++given;
            samples.push_back(static_cast<float>(given));
            samples.push_back(-static_cast<float>(given));
        }
        const AudioBuffer buffer{2, static_cast<uint32_t>(frames * 8), samples.data()};
        ring.consume({&buffer, 1});
    }
    int64_t given = 0;
};

constexpr float kUntouched = 99;

/// One output cycle; the samples as they stand after it.
std::vector<float> take(RelayRing& ring, int64_t frames, uint32_t channels = 2) {
    std::vector<float> samples(static_cast<size_t>(frames) * channels, kUntouched);
    const AudioBuffer buffer{channels, static_cast<uint32_t>(samples.size() * 4), samples.data()};
    ring.produce({&buffer, 1});
    return samples;
}

/// The numbers of the frames played, 0 for silence.
std::vector<int> takeNumbers(RelayRing& ring, int64_t frames) {
    const auto samples = take(ring, frames);
    std::vector<int> numbers;
    for (size_t index = 0; index < samples.size(); index += 2) {
        EXPECT_EQ(samples[index + 1], -samples[index]);
        numbers.push_back(static_cast<int>(samples[index]));
    }
    return numbers;
}

std::vector<int> numbersFrom(int first, int count) {
    std::vector<int> numbers;
    for (int index = 0; index < count; ++index)
        numbers.push_back(first + index);
    return numbers;
}

class RelayRingTest : public testing::Test {
protected:
    NumberedSource source;

    /// Stores frames up to that fill without playing any.
    void fillTo(RelayRing& ring, int64_t fill) { source.give(ring, fill - ring.counters().fill()); }
    /// Fills the ring to its target and plays one frame.
    void prime(RelayRing& ring) {
        fillTo(ring, ring.counters().targetFillFrames);
        take(ring, 1);
        ASSERT_TRUE(ring.counters().primed);
    }
    /// Plays until that fill is left.
    void drainTo(RelayRing& ring, int64_t fill) { take(ring, ring.counters().fill() - fill); }
};

TEST(RelayTargetTest, theTargetIsOneBufferOfEachSide) {
    EXPECT_EQ(RelayTarget::initial(512, 512, 0), (RelayTarget{1024, false}));
    EXPECT_EQ(RelayTarget::initial(64, 64, 0), (RelayTarget{128, false}));
    EXPECT_EQ(RelayTarget::initial(4096, 4096, 0), (RelayTarget{4096, false}));
    EXPECT_EQ(RelayTarget::initial(0xFFFF'FFFF, 0xFFFF'FFFF, 0), (RelayTarget{4096, false}));
}

TEST(RelayTargetTest, sizesThatAddUpToTooLittleGive1024) {
    EXPECT_EQ(RelayTarget::initial(64, 32, 0), (RelayTarget{1024, false}));
    EXPECT_EQ(RelayTarget::initial(64, 63, 0), (RelayTarget{1024, false}));
    EXPECT_EQ(RelayTarget::initial(0, 0, 0), (RelayTarget{1024, false}));
    EXPECT_EQ(RelayTarget::initial(0, 512, 0), (RelayTarget{512, false}));
}

TEST(RelayTargetTest, theSettingPinsTheTargetWithinItsLimits) {
    EXPECT_EQ(RelayTarget::initial(512, 512, 50), (RelayTarget{128, true}));
    EXPECT_EQ(RelayTarget::initial(512, 512, 700), (RelayTarget{700, true}));
    EXPECT_EQ(RelayTarget::initial(512, 512, 100'000), (RelayTarget{8192, true}));
    EXPECT_EQ(RelayTarget::initial(512, 512, -1), (RelayTarget{1024, false}));
}

TEST(RelayTargetTest, theBandIsAQuarterFrom1024OnAnd256Below) {
    EXPECT_EQ(relayBand(128), 256);
    EXPECT_EQ(relayBand(1023), 256);
    EXPECT_EQ(relayBand(1024), 256);
    EXPECT_EQ(relayBand(1027), 256);
    EXPECT_EQ(relayBand(1028), 257);
    EXPECT_EQ(relayBand(2048), 512);
    EXPECT_EQ(relayBand(8192), 2048);
}

TEST_F(RelayRingTest, theOutputIsSilentUntilTheTargetIsReached) {
    RelayRing ring({128, false});
    fillTo(ring, 127);
    EXPECT_EQ(takeNumbers(ring, 64), std::vector<int>(64));
    const auto counters = ring.counters();
    EXPECT_FALSE(counters.primed);
    EXPECT_EQ(counters.outputIOCount, 1);
    EXPECT_EQ(counters.underruns, 0);
    EXPECT_EQ(counters.framesOut, 0);
    EXPECT_EQ(counters.fillLow, RelayCounters::kLargest);
}

TEST_F(RelayRingTest, theCycleThatFindsTheTargetReachedPlaysAtOnce) {
    RelayRing ring({128, false});
    fillTo(ring, 128);
    EXPECT_EQ(takeNumbers(ring, 64), numbersFrom(1, 64));
    const auto counters = ring.counters();
    EXPECT_TRUE(counters.primed);
    EXPECT_EQ(counters.reprimes, 1);
    EXPECT_EQ(counters.framesOut, 64);
    EXPECT_EQ(counters.fill(), 64);
    EXPECT_EQ(counters.fillLow, 64);
}

TEST_F(RelayRingTest, onlyAStreamOfJustTwoChannelsIsTaken) {
    RelayRing ring({128, false});
    std::vector<float> samples(64, 1);
    const AudioBuffer mono{1, 256, samples.data()};
    const AudioBuffer four{4, 256, samples.data()};
    ring.consume({&mono, 1});
    ring.consume({&four, 1});
    ring.consume({});
    EXPECT_EQ(ring.counters(), RelayRing({128, false}).counters());
    const AudioBuffer list[] = {mono, four, {2, 64, samples.data()}, {2, 256, samples.data()}};
    ring.consume(list);
    EXPECT_EQ(ring.counters().framesIn, 8);
    EXPECT_EQ(ring.counters().sourceIOCount, 1);
}

TEST_F(RelayRingTest, aStreamWithoutDataOrOfLessThanAFrameIsNotCounted) {
    RelayRing ring({128, false});
    float samples[2] = {};
    const AudioBuffer noData{2, 256, nullptr};
    const AudioBuffer tooShort{2, 7, samples};
    ring.consume({&noData, 1});
    ring.consume({&tooShort, 1});
    ring.produce({&noData, 1});
    ring.produce({&tooShort, 1});
    ring.produce({});
    EXPECT_EQ(ring.counters(), RelayRing({128, false}).counters());
}

TEST_F(RelayRingTest, outputsOfMoreChannelsGetSilenceBehindTheFirstTwo) {
    RelayRing ring({128, false});
    prime(ring);
    const auto samples = take(ring, 3, 4);
    EXPECT_EQ(samples, (std::vector<float>{2, -2, 0, 0, 3, -3, 0, 0, 4, -4, 0, 0}));
}

TEST_F(RelayRingTest, aMonoOutputIsNeverWrittenAndNotCounted) {
    RelayRing ring({128, false});
    prime(ring);
    const auto before = ring.counters();
    EXPECT_EQ(take(ring, 4, 1), std::vector<float>(4, kUntouched));
    EXPECT_EQ(ring.counters(), before);
}

TEST_F(RelayRingTest, aVolumeIsReachedWithinACycleAndWithoutAStep) {
    RelayRing ring({.frames = 128});
    std::vector<float> ones(1024 * 2, 1.0f);
    const AudioBuffer buffer{2, static_cast<uint32_t>(ones.size() * 4), ones.data()};
    ring.consume({&buffer, 1});
    EXPECT_EQ(take(ring, 4), std::vector<float>(8, 1.0f));
    ring.setVolume(0.5f, 0);
    EXPECT_EQ(take(ring, 4), (std::vector<float>{0.875f, 0.75f, 0.75f, 0.5f, 0.625f, 0.25f, 0.5f, 0}));
    EXPECT_EQ(take(ring, 2), (std::vector<float>{0.5f, 0, 0.5f, 0}));
    EXPECT_EQ(take(ring, 1, 4), (std::vector<float>{0.5f, 0, 0, 0})) << "further channels are silent anyway";
    ring.setVolume(1, 1);
    take(ring, 4);
    EXPECT_EQ(take(ring, 2), std::vector<float>(4, 1.0f));
}

TEST_F(RelayRingTest, primingSilencesEveryChannelOfTheStream) {
    RelayRing ring({128, false});
    EXPECT_EQ(take(ring, 3, 6), std::vector<float>(18));
}

TEST_F(RelayRingTest, aFillAtTheUpperEdgeOfTheBandIsLeftAlone) {
    RelayRing ring({1024, false});
    fillTo(ring, 1280);
    source.give(ring, 10);
    EXPECT_EQ(ring.counters().skips, 0);
    EXPECT_EQ(ring.counters().fill(), 1290);
    EXPECT_EQ(ring.counters().firstSkipAtFrame, -1);
}

TEST_F(RelayRingTest, aboveTheBandTheFirstFrameOfACycleIsSkipped) {
    RelayRing ring({1024, false});
    fillTo(ring, 1281);
    source.give(ring, 10); // 1282 is left out
    source.give(ring, 10); // and so is 1292
    auto counters = ring.counters();
    EXPECT_EQ(counters.skips, 2);
    EXPECT_EQ(counters.framesIn, 1281 + 18);
    EXPECT_EQ(counters.firstSkipAtFrame, 1281 + 9);
    EXPECT_EQ(counters.lastSkipAtFrame, 1281 + 18);
    auto expected = numbersFrom(1, 1281);
    for (const int number : numbersFrom(1283, 9))
        expected.push_back(number);
    for (const int number : numbersFrom(1293, 9))
        expected.push_back(number);
    EXPECT_EQ(takeNumbers(ring, 1299), expected);
}

TEST_F(RelayRingTest, aCycleOfOneFrameAboveTheBandStoresNothing) {
    RelayRing ring({1024, false});
    fillTo(ring, 1281);
    source.give(ring, 1);
    EXPECT_EQ(ring.counters().skips, 1);
    EXPECT_EQ(ring.counters().fill(), 1281);
    EXPECT_EQ(ring.counters().overruns, 0);
}

TEST_F(RelayRingTest, aFillAtTheLowerEdgeOfTheBandIsLeftAlone) {
    RelayRing ring({1024, false});
    prime(ring);
    drainTo(ring, 768);
    EXPECT_EQ(takeNumbers(ring, 4), numbersFrom(257, 4));
    EXPECT_EQ(ring.counters().repeats, 0);
}

TEST_F(RelayRingTest, belowTheBandTheFirstFrameOfACycleIsPlayedTwice) {
    RelayRing ring({1024, false});
    prime(ring);
    drainTo(ring, 767);
    EXPECT_EQ(takeNumbers(ring, 4), (std::vector<int>{258, 258, 259, 260}));
    EXPECT_EQ(takeNumbers(ring, 3), (std::vector<int>{261, 261, 262}));
    EXPECT_EQ(ring.counters().repeats, 2);
    EXPECT_EQ(ring.counters().fill(), 767 - 5);
    EXPECT_EQ(ring.counters().framesOut, 257 + 5);
}

TEST_F(RelayRingTest, aCycleOfOneFrameBelowTheBandConsumesNothing) {
    RelayRing ring({1024, false});
    prime(ring);
    drainTo(ring, 500);
    EXPECT_EQ(takeNumbers(ring, 1), takeNumbers(ring, 1));
    EXPECT_EQ(ring.counters().fill(), 500);
    EXPECT_EQ(ring.counters().repeats, 2);
}

TEST_F(RelayRingTest, theLastFrameLeftIsRepeatedBeforeTheSilence) {
    RelayRing ring({1024, false});
    prime(ring);
    drainTo(ring, 1);
    EXPECT_EQ(takeNumbers(ring, 4), (std::vector<int>{1024, 1024, 0, 0}));
    EXPECT_EQ(ring.counters().fill(), 0);
    EXPECT_EQ(ring.counters().underruns, 1);
    EXPECT_EQ(ring.counters().repeats, 1);
}

TEST_F(RelayRingTest, aTargetOf128NeverRepeats) {
    RelayRing ring({128, true});
    prime(ring);
    for (int64_t fill = 127; fill >= 0; --fill)
        drainTo(ring, fill);
    take(ring, 4);
    EXPECT_EQ(ring.counters().repeats, 0);
}

TEST_F(RelayRingTest, anOverrunLosesTheNewestFrames) {
    RelayRing ring({8192, true}); // skips above 10,240
    fillTo(ring, 10'240);
    source.give(ring, 7000);
    const auto counters = ring.counters();
    EXPECT_EQ(counters.fill(), 16'384);
    EXPECT_EQ(counters.overruns, 1);
    EXPECT_EQ(counters.framesIn, 16'384);
    EXPECT_EQ(takeNumbers(ring, 16'384), numbersFrom(1, 16'384));
}

TEST_F(RelayRingTest, aCycleThatJustFitsIsNoOverrun) {
    RelayRing ring({8192, true});
    fillTo(ring, 10'240);
    source.give(ring, 16'384 - 10'240);
    EXPECT_EQ(ring.counters().fill(), 16'384);
    EXPECT_EQ(ring.counters().overruns, 0);
}

TEST_F(RelayRingTest, aFullRingStoresNothingAndCountsTheOverrun) {
    RelayRing ring({1024, false});
    fillTo(ring, 16'384);
    for (const int64_t frames : {1, 2, 512}) {
        const auto before = ring.counters();
        source.give(ring, frames);
        const auto after = ring.counters();
        EXPECT_EQ(after.writeIndex, before.writeIndex);
        EXPECT_EQ(after.framesIn, before.framesIn);
        EXPECT_EQ(after.overruns,
                  before.overruns + (frames > 1 ? 1 : 0)); // one frame: skipped, none to store
    }
    EXPECT_EQ(takeNumbers(ring, 4), numbersFrom(1, 4));
}

TEST_F(RelayRingTest, withoutAnOutputTheFillStopsAtTheLastFrameButOne) {
    RelayRing ring({1024, false});
    for (int cycle = 0; cycle < 100; ++cycle) {
        source.give(ring, 500);
        EXPECT_LE(ring.counters().fill(), 16'384);
    }
    const auto counters = ring.counters();
    EXPECT_EQ(counters.fill(), 16'383);
    EXPECT_EQ(counters.sourceIOCount, 100);
    EXPECT_EQ(takeNumbers(ring, 1500), numbersFrom(1, 1500)); // the oldest audio is kept
    // 3 cycles of 500 up to a fill of 1500, 29 of 499 up to 15,971, then every cycle overruns.
    EXPECT_EQ(counters.overruns, 100 - 3 - 29);
    EXPECT_EQ(counters.skips, 97);
}

TEST_F(RelayRingTest, anUnderrunPlaysWhatThereIsAndThenSilence) {
    RelayRing ring({128, false});
    prime(ring);
    drainTo(ring, 3);
    EXPECT_EQ(takeNumbers(ring, 6), (std::vector<int>{126, 127, 128, 0, 0, 0}));
    const auto counters = ring.counters();
    EXPECT_EQ(counters.underruns, 1);
    EXPECT_EQ(counters.underrunsSinceGrow, 1);
    EXPECT_TRUE(counters.primed);
    EXPECT_EQ(counters.fillLow, 0);
    source.give(ring, 2);
    EXPECT_EQ(takeNumbers(ring, 2), (std::vector<int>{129, 130})); // no priming anew
}

TEST_F(RelayRingTest, theThirdUnderrunDoublesTheTargetAndSilencesUntilItIsReached) {
    RelayRing ring({128, false});
    prime(ring);
    drainTo(ring, 0);
    take(ring, 1);
    take(ring, 1);
    EXPECT_EQ(ring.counters().targetFillFrames, 128);
    source.give(ring, 1);
    EXPECT_EQ(takeNumbers(ring, 2), (std::vector<int>{129, 0}));
    auto counters = ring.counters();
    EXPECT_EQ(counters.targetFillFrames, 256);
    EXPECT_EQ(counters.grows, 1);
    EXPECT_EQ(counters.underruns, 3);
    EXPECT_EQ(counters.underrunsSinceGrow, 0);
    EXPECT_FALSE(counters.primed);
    EXPECT_EQ(counters.fillLow, RelayCounters::kLargest);

    source.give(ring, 255);
    EXPECT_EQ(takeNumbers(ring, 8), std::vector<int>(8));
    EXPECT_EQ(ring.counters().underruns, 3);
    source.give(ring, 1);
    EXPECT_EQ(takeNumbers(ring, 8), numbersFrom(130, 8));
    EXPECT_EQ(ring.counters().reprimes, 2);
    EXPECT_EQ(ring.counters().fillLow, 248);
}

TEST_F(RelayRingTest, growthEndsAt4096) {
    RelayRing ring({3000, false});
    prime(ring);
    drainTo(ring, 0);
    for (int underrun = 0; underrun < 3; ++underrun)
        take(ring, 1);
    EXPECT_EQ(ring.counters().targetFillFrames, 4096);
    prime(ring);
    drainTo(ring, 0);
    for (int underrun = 0; underrun < 10; ++underrun)
        take(ring, 1);
    const auto counters = ring.counters();
    EXPECT_EQ(counters.targetFillFrames, 4096);
    EXPECT_EQ(counters.grows, 1);
    EXPECT_EQ(counters.underrunsSinceGrow, 10);
    EXPECT_TRUE(counters.primed);
    EXPECT_EQ(counters.reprimes, 2);
}

TEST_F(RelayRingTest, aPinnedTargetNeverGrows) {
    RelayRing ring({128, true});
    prime(ring);
    drainTo(ring, 0);
    for (int underrun = 0; underrun < 9; ++underrun)
        take(ring, 1);
    EXPECT_EQ(ring.counters().targetFillFrames, 128);
    EXPECT_EQ(ring.counters().underrunsSinceGrow, 9);
    EXPECT_TRUE(ring.counters().primed);
}

TEST_F(RelayRingTest, theLongestCyclesAreRemembered) {
    RelayRing ring({128, false});
    source.give(ring, 480);
    source.give(ring, 100);
    take(ring, 64);
    take(ring, 32);
    EXPECT_EQ(ring.counters().sourceCycleFrames, 480);
    EXPECT_EQ(ring.counters().outputCycleFrames, 64);
}

TEST_F(RelayRingTest, theHighestFillIsDatedByTheFramesStored) {
    RelayRing ring({1024, false});
    fillTo(ring, 1200);
    take(ring, 700);
    source.give(ring, 100);
    EXPECT_EQ(ring.counters().fillHigh, 1200);
    EXPECT_EQ(ring.counters().fillHighAtFrame, 1200);
    source.give(ring, 601);
    EXPECT_EQ(ring.counters().fillHigh, 1201);
    EXPECT_EQ(ring.counters().fillHighAtFrame, 1901);
    EXPECT_EQ(ring.counters().fillLow, 500);
}

TEST_F(RelayRingTest, framesKeepTheirOrderAcrossTheEndOfTheRing) {
    RelayRing ring({1024, false});
    fillTo(ring, 1024);
    int next = 1;
    for (int cycle = 0; cycle < 200; ++cycle) {
        EXPECT_EQ(takeNumbers(ring, 251), numbersFrom(next, 251)) << cycle;
        next += 251;
        source.give(ring, 251);
    }
    EXPECT_EQ(ring.counters().skips + ring.counters().repeats, 0);
}

TEST_F(RelayRingTest, unprimingGoesBackToSilenceBelowTheTarget) {
    RelayRing ring({128, false});
    prime(ring);
    ring.unprime();
    EXPECT_EQ(takeNumbers(ring, 8), std::vector<int>(8));
    EXPECT_EQ(ring.counters().fill(), 127);
}

/// Both sides at once on real threads: what comes out is what went in, in order, less what is counted.
TEST_F(RelayRingTest, twoThreadsHandOverWholeFramesInOrder) {
    RelayRing ring({1024, false});
    std::atomic<bool> ended{false};
    std::thread giver([&] {
        for (int cycle = 0; cycle < 3000; ++cycle) {
            while (ring.counters().fill() > 4000)
                std::this_thread::yield();
            source.give(ring, 128);
        }
        ended = true;
    });
    int previous = 0;
    int64_t doubled = 0;
    int64_t passedOver = 0;
    while (!ended) {
        for (const int number : takeNumbers(ring, 128)) {
            if (number == 0) continue;
            EXPECT_GE(number, previous);
            doubled += number == previous;
            passedOver += std::max(number - previous - 1, 0);
            previous = number;
        }
    }
    giver.join();
    const auto counters = ring.counters();
    EXPECT_EQ(doubled, counters.repeats);
    EXPECT_LE(passedOver, counters.skips); // a frame skipped last may not have been reached
    EXPECT_EQ(counters.framesIn + counters.skips, 3000 * 128);
    EXPECT_EQ(counters.overruns, 0);
}

} // namespace
} // namespace vintra
