#include "Vintra/audio/LevelMeter.h"

#include <gtest/gtest.h>

namespace vintra {
namespace {

Date at(double seconds) {
    return {1'700'000'000.0 + seconds};
}

TEST(LevelMeterTest, thePeakHoldsOneSecondAndFallsToNothingOverTheNext600Milliseconds) {
    MeterPeak peak;
    peak.levelChanged(0.8f, at(0));
    peak.levelChanged(0.3f, at(0.2));
    EXPECT_FLOAT_EQ(peak.decayedPeak(at(0.2)), 0.8f);
    EXPECT_FLOAT_EQ(peak.decayedPeak(at(1.0)), 0.8f);
    EXPECT_NEAR(peak.decayedPeak(at(1.3)), 0.4f, 1e-5);
    EXPECT_NEAR(peak.decayedPeak(at(1.45)), 0.2f, 1e-5);
    EXPECT_EQ(peak.decayedPeak(at(1.7)), 0);
    EXPECT_EQ(peak.decayedPeak(at(500)), 0);
}

TEST(LevelMeterTest, theTickStaysAwayUntilItsHeightIsReachedAgain) {
    MeterPeak peak;
    peak.levelChanged(0.8f, at(0));
    peak.levelChanged(0.7f, at(10));
    EXPECT_EQ(peak.decayedPeak(at(10)), 0);
    peak.levelChanged(0.8f, at(11));
    EXPECT_FLOAT_EQ(peak.decayedPeak(at(11)), 0.8f);
    peak.levelChanged(0.9f, at(12));
    EXPECT_FLOAT_EQ(peak.decayedPeak(at(12.5)), 0.9f);
}

TEST(LevelMeterTest, aClockSetBackLeavesThePeakStanding) {
    MeterPeak peak;
    peak.levelChanged(0.8f, at(100));
    EXPECT_FLOAT_EQ(peak.decayedPeak(at(0)), 0.8f);
}

TEST(LevelMeterTest, theBandsLieSideBySideOverTheWholeWidth) {
    const auto bands = meterBackground(100);
    ASSERT_EQ(bands.size(), 3u);
    EXPECT_EQ(bands[0].frame, (CGRect{{0, 0}, {85, 8}}));
    EXPECT_EQ(bands[0].color, MeterColor::green);
    EXPECT_EQ(bands[0].opacity, 0.18);
    EXPECT_EQ(bands[1].frame, (CGRect{{85, 0}, {12, 8}}));
    EXPECT_EQ(bands[1].color, MeterColor::yellow);
    EXPECT_EQ(bands[1].opacity, 0.2);
    EXPECT_EQ(bands[2].frame, (CGRect{{97, 0}, {3, 8}}));
    EXPECT_EQ(bands[2].color, MeterColor::red);
    EXPECT_EQ(bands[2].opacity, 0.22);
}

TEST(LevelMeterTest, theBarTurnsYellowAtNineTenthsAndRedAtFullScale) {
    EXPECT_EQ(meterBar(120, 0.89999f).color, MeterColor::green);
    EXPECT_EQ(meterBar(120, 0.9f).color, MeterColor::yellow);
    EXPECT_EQ(meterBar(120, 0.99999f).color, MeterColor::yellow);
    EXPECT_EQ(meterBar(120, 1.0f).color, MeterColor::red);
    EXPECT_EQ(meterBar(120, 0.5f).frame, (CGRect{{0, 0}, {60, 8}}));
    EXPECT_EQ(meterBar(120, 0.5f).opacity, 1);
    EXPECT_EQ(meterBar(120, 0).frame.size.width, 0);
}

TEST(LevelMeterTest, theTickIsCentredOnThePeakAndAbsentAtTwoHundredthsOrLess) {
    EXPECT_FALSE(meterTick(120, 0));
    EXPECT_FALSE(meterTick(120, 0.02f));
    const auto tick = meterTick(120, 0.5f);
    ASSERT_TRUE(tick);
    EXPECT_EQ(tick->frame, (CGRect{{59, 0}, {2, 8}}));
    EXPECT_EQ(tick->color, MeterColor::sectionText);
    EXPECT_EQ(tick->opacity, 0.85);
    EXPECT_TRUE(meterTick(120, 0.021f));
}

} // namespace
} // namespace vintra
