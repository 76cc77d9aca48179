#include "Vintra/audio/SoundPlacement.h"

#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>
#include <limits>
#include <random>

namespace vintra {
namespace {

constexpr int64_t kBuffer = 512;
constexpr double kRate = 48'000;

double secondsOf(double frames) {
    return frames / kRate;
}

/// Feeds buffers that follow one another by their stamps.
struct Feed {
    SoundPlacement placement;
    double at = 0; ///< frames, the next buffer's stamp

    SoundPlacement::Place give(int64_t frames = kBuffer, double jitter = 0) {
        const auto place = placement.place(secondsOf(at + jitter), frames);
        at += static_cast<double>(frames);
        return place;
    }
};

TEST(SoundPlacementTest, buffersThatFollowOneAnotherStaySo) {
    Feed feed{.placement = {}, .at = 4'800};
    for (int i = 0; i < 1000; ++i) {
        const auto place = feed.give();
        ASSERT_EQ(place.silence, 0);
        ASSERT_EQ(place.cut, 0);
    }
    EXPECT_EQ(feed.placement.origin(), 4'800) << "the silence before comes after the take";
    EXPECT_EQ(feed.placement.next(), 4'800 + 1000 * kBuffer);
}

TEST(SoundPlacementTest, aGapIsSilenceOfItsLength) {
    for (const double lost : {96.0, 128.0, 512.0, 144'000.0, 48'000.0 * 3600 * 2}) {
        Feed feed;
        feed.give();
        feed.at += lost;
        EXPECT_EQ(feed.give().silence, static_cast<int64_t>(lost));
        EXPECT_EQ(feed.placement.next(), 2 * kBuffer + static_cast<int64_t>(lost));
    }
}

TEST(SoundPlacementTest, anOverlapIsCut) {
    Feed feed;
    feed.give();
    feed.at -= 200;
    EXPECT_EQ(feed.give().cut, 200);
    EXPECT_EQ(feed.placement.next(), 2 * kBuffer - 200);
    feed.at -= 1'300; // more than two whole buffers
    EXPECT_EQ(feed.give().cut, kBuffer);
    EXPECT_EQ(feed.give().cut, kBuffer);
    EXPECT_EQ(feed.give().cut, 1'300 - 2 * kBuffer);
    EXPECT_EQ(feed.give().cut, 0);
    EXPECT_EQ(static_cast<double>(feed.placement.next()), feed.at);
}

TEST(SoundPlacementTest, jitterIsNoGap) {
    std::mt19937 random(7);
    std::uniform_real_distribution<double> jitter(-40, 40); // 0.8 ms either way
    Feed feed{.placement = {}, .at = 4'800};
    for (int i = 0; i < 20'000; ++i) {
        const auto place = feed.give(kBuffer, jitter(random));
        ASSERT_EQ(place.silence, 0) << i;
        ASSERT_EQ(place.cut, 0) << i;
    }
}

TEST(SoundPlacementTest, errorsOfStampsBehindGapsDontAddUp) {
    // After each gap the first stamp is late by 1 ms, and the next ones aren't.
    Feed feed;
    for (int gap = 0; gap < 500; ++gap) {
        for (int i = 0; i < 20; ++i)
            feed.give(kBuffer, i == 0 && gap > 0 ? 48 : 0);
        ASSERT_NEAR(static_cast<double>(feed.placement.next()), feed.at, 96) << gap;
        feed.at += 1024;
    }
}

TEST(SoundPlacementTest, manySmallSlipsOfAClockAreMadeGood) {
    // Each is below what counts as a gap.
    Feed feed;
    for (int slip = 0; slip < 600; ++slip) {
        for (int i = 0; i < 10; ++i)
            feed.give();
        feed.at += 60;
    }
    // 750 ms have gone by unheard; up to 500 millionths of 64 s may pass for drift.
    EXPECT_NEAR(static_cast<double>(feed.placement.next()), feed.at, 96 + 0.0005 * 600 * 10 * kBuffer);
}

TEST(SoundPlacementTest, driftIsNoGapAndIsMeasured) {
    for (const double ppm : {-300.0, -100.0, -12.0, 0.0, 37.0, 100.0, 300.0}) {
        SoundPlacement placement;
        const double length = kBuffer / (1 + ppm * 1e-6); // of a buffer by the host clock
        int64_t count = 0;
        for (; static_cast<double>(count) * length < 600 * kRate; ++count) {
            const auto place = placement.place(secondsOf(static_cast<double>(count) * length), kBuffer);
            ASSERT_EQ(place.silence, 0) << ppm;
            ASSERT_EQ(place.cut, 0) << ppm;
        }
        const auto drift = placement.drift();
        ASSERT_TRUE(drift);
        EXPECT_NEAR(drift->partsPerMillion, ppm, 0.01);
        EXPECT_NEAR(drift->secondsAtEnd, 600 * ppm * 1e-6, 0.001);
        const auto retiming = placement.retiming();
        ASSERT_EQ(retiming.runs.size(), 1u);
        EXPECT_NEAR(retiming.runs[0].target, 0, 0.01);
        EXPECT_NEAR(static_cast<double>(retiming.runs[0].frames) * retiming.stretch,
                    static_cast<double>(count) * length, 0.5);
    }
}

TEST(SoundPlacementTest, driftIsMeasuredInSpiteOfJitterAndGaps) {
    std::mt19937 random(11);
    std::uniform_real_distribution<double> jitter(-30, 30);
    SoundPlacement placement;
    double at = 1000;
    const double length = kBuffer / (1 + 80e-6);
    for (int i = 0; i < 300'000; ++i) { // 53 minutes
        if (i % 50'000 == 25'000) at += 48'000 * 20;
        placement.place(secondsOf(at + jitter(random)), kBuffer);
        at += length;
    }
    ASSERT_TRUE(placement.drift());
    EXPECT_NEAR(placement.drift()->partsPerMillion, 80, 0.5);
    const auto retiming = placement.retiming();
    ASSERT_EQ(retiming.runs.size(), 7u);
    // Where the last run ends once each frame is at its stamp.
    const auto& last = retiming.runs.back();
    EXPECT_NEAR(last.target + static_cast<double>(last.frames) * retiming.stretch, at, 2);
    // Each gap is then of its own length.
    for (size_t i = 1; i < retiming.runs.size(); ++i) {
        const auto& before = retiming.runs[i - 1];
        const double end = before.target + static_cast<double>(before.frames) * retiming.stretch;
        EXPECT_NEAR(retiming.runs[i].target - end, 48'000 * 20, 2) << i;
    }
}

TEST(SoundPlacementTest, soundBeforeTheCommonStartIsCutOff) {
    SoundPlacement placement;
    EXPECT_EQ(placement.place(secondsOf(-700), kBuffer).cut, kBuffer);
    EXPECT_FALSE(placement.hasBegun());
    EXPECT_EQ(placement.place(secondsOf(-188), kBuffer).cut, 188);
    EXPECT_EQ(placement.origin(), 0);
    EXPECT_EQ(placement.next(), 324);
}

TEST(SoundPlacementTest, aFileThatWasFedBeforeTheStartGetsItsFirstGapAtOnce) {
    SoundPlacement placement;
    placement.place(secondsOf(-700), kBuffer);
    EXPECT_EQ(placement.place(secondsOf(24'000), kBuffer).silence, 24'000);
    EXPECT_EQ(placement.origin(), 0);
}

TEST(SoundPlacementTest, aShortWayToTheFirstSoundIsInTheFile) {
    for (const double first : {0.0, 1.0, 479.0, 480.0}) {
        SoundPlacement placement;
        EXPECT_EQ(placement.place(secondsOf(first), kBuffer).silence, static_cast<int64_t>(first));
        EXPECT_EQ(placement.origin(), 0);
    }
    SoundPlacement placement;
    EXPECT_EQ(placement.place(secondsOf(481), kBuffer).silence, 0);
    EXPECT_EQ(placement.origin(), 481);
}

TEST(SoundPlacementTest, aClockThatIsSetAnewCostsNoSound) {
    Feed feed;
    feed.give();
    for (const double jump : {-48'000.0 * 5, 48'000.0 * 3600 * 30}) {
        feed.at += jump;
        const auto place = feed.give();
        EXPECT_EQ(place.silence, 0);
        EXPECT_EQ(place.cut, 0);
        EXPECT_EQ(feed.give().silence, 0);
    }
    EXPECT_EQ(feed.placement.next(), 5 * kBuffer);
}

TEST(SoundPlacementTest, aBufferWithoutATimeFollowsTheOneBefore) {
    SoundPlacement placement;
    placement.place(std::numeric_limits<double>::quiet_NaN(), kBuffer);
    placement.place(secondsOf(512), kBuffer);
    EXPECT_EQ(placement.place(std::numeric_limits<double>::quiet_NaN(), kBuffer).silence, 0);
    EXPECT_EQ(placement.place(secondsOf(3 * kBuffer), kBuffer).silence, 0);
    EXPECT_EQ(placement.next(), 4 * kBuffer);
}

} // namespace
} // namespace vintra
