#include "Vintra/platform/CMTime.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

namespace vintra {
namespace {

void expectTime(CMTime time, int64_t value, int32_t timescale) {
    EXPECT_TRUE(time.isNumeric()) << describe(time);
    EXPECT_EQ(time.value, value) << describe(time);
    EXPECT_EQ(time.timescale, timescale) << describe(time);
}

TEST(CMTimeTest, theInvalidTimeIsAllZero) {
    EXPECT_FALSE(CMTime{}.isValid());
    EXPECT_FALSE(CMTime{}.isNumeric());
    EXPECT_FALSE(CMTimeMake(1, 0).isValid());
    EXPECT_FALSE(CMTimeMake(1, -30).isValid());
}

TEST(CMTimeTest, aSumAtOneTimeScaleKeepsIt) {
    expectTime(CMTimeMake(1, 30) + CMTimeMake(4, 30), 5, 30);
}

TEST(CMTimeTest, aSumOfTwoTimeScalesIsExactAtTheirLeastCommonMultiple) {
    expectTime(CMTimeMake(1, 24) + CMTimeMake(1, 30), 9, 120); // 5/120 + 4/120
    expectTime(CMTimeMake(1, 600) - CMTimeMake(1, 30), -19, 600);
}

TEST(CMTimeTest, aSlotOfAnHourAndOfTwoIsExact) {
    const CMTime anchor = CMTimeMake(123'456'789'012, 7'200'000);
    const CMTime phase = CMTimeMake(7, 600); // 84,000 ticks
    expectTime(anchor + phase + CMTimeMake(108'000, 30), 123'456'789'012 + 84'000 + 3600LL * 7'200'000,
               7'200'000);
    expectTime(anchor + phase + CMTimeMake(432'000, 60), 123'456'789'012 + 84'000 + 7200LL * 7'200'000,
               7'200'000);
}

TEST(CMTimeTest, everyWholeRateUpTo240FitsWithTheHostTimeScale) {
    for (int rate = 1; rate <= 240; ++rate) {
        const CMTime slot =
            CMTimeMake(123'456'789'012, 7'200'000) + CMTimeMake(3, 600) + CMTimeMake(rate + 1, rate);
        EXPECT_FALSE(slot.hasBeenRounded()) << rate;
        EXPECT_EQ(slot - CMTimeMake(rate + 1, rate) - CMTimeMake(3, 600),
                  CMTimeMake(123'456'789'012, 7'200'000))
            << rate;
    }
}

TEST(CMTimeTest, aSumThatFitsOnlyReducedIsReduced) {
    // The least common multiple, 3,000,000,000, is too large for a time scale.
    expectTime(CMTimeMake(500'000'000, 1'000'000'000) + CMTimeMake(300, 600), 1, 1);
}

TEST(CMTimeTest, aRoundedSumIsFlaggedAndWithinHalfATick) {
    const CMTime sum = CMTimeMake(1, 999'999'937) + CMTimeMake(1, 999'999'929); // two primes
    EXPECT_TRUE(sum.hasBeenRounded());
    EXPECT_NEAR(CMTimeGetSeconds(sum), 2e-9, 0.5 / 2'147'483'647);
}

TEST(CMTimeTest, anOverflowingSumIsTheInfinityOfItsSign) {
    const CMTime huge = CMTimeMake(std::numeric_limits<int64_t>::max(), 1);
    EXPECT_TRUE((huge + huge).isPositiveInfinity());
    EXPECT_TRUE((CMTimeMake(0, 1) - huge - huge).isNegativeInfinity());
}

TEST(CMTimeTest, aSumTooLongForItsTimeScaleIsRoundedToACoarserOne) {
    const CMTime huge = CMTimeMake(std::numeric_limits<int64_t>::max(), 1000);
    const CMTime sum =
        huge + CMTimeMake(std::numeric_limits<int64_t>::max() - 1, 1000); // odd, so nothing cancels
    EXPECT_TRUE(sum.isNumeric());
    EXPECT_TRUE(sum.hasBeenRounded());
    EXPECT_NEAR(CMTimeGetSeconds(sum) / (2 * CMTimeGetSeconds(huge)), 1, 1e-12);
}

TEST(CMTimeTest, nonNumericTimesAddAsTheyShould) {
    const CMTime one = CMTimeMake(1, 1);
    EXPECT_FALSE((one + kCMTimeInvalid).isValid());
    EXPECT_TRUE((one + kCMTimePositiveInfinity).isPositiveInfinity());
    EXPECT_TRUE((one - kCMTimePositiveInfinity).isNegativeInfinity());
    EXPECT_FALSE((kCMTimePositiveInfinity + kCMTimeNegativeInfinity).isValid());
    EXPECT_TRUE((kCMTimePositiveInfinity - kCMTimeNegativeInfinity).isPositiveInfinity());
    EXPECT_TRUE((one + kCMTimeIndefinite).isIndefinite());
    EXPECT_FALSE((kCMTimeIndefinite + kCMTimeInvalid).isValid());
}

TEST(CMTimeTest, comparisonIsExactAcrossTimeScales) {
    EXPECT_EQ(CMTimeMake(1, 3), CMTimeMake(200, 600));
    EXPECT_LT(CMTimeMake(333'333'333, 1'000'000'000), CMTimeMake(1, 3));
    EXPECT_LT(kCMTimeNegativeInfinity, CMTimeMake(std::numeric_limits<int64_t>::min(), 1));
    EXPECT_GT(kCMTimePositiveInfinity, CMTimeMake(std::numeric_limits<int64_t>::max(), 1));
}

TEST(CMTimeTest, secondsRoundToNearestHalvesAway) {
    expectTime(CMTimeMakeWithSeconds(0.3, 600), 180, 600);
    expectTime(CMTimeMakeWithSeconds(0.5, 1), 1, 1);
    expectTime(CMTimeMakeWithSeconds(-0.5, 1), -1, 1);
    EXPECT_FALSE(CMTimeMakeWithSeconds(0.25, 4).hasBeenRounded());
    EXPECT_TRUE(CMTimeMakeWithSeconds(0.26, 4).hasBeenRounded());
    EXPECT_FALSE(CMTimeMakeWithSeconds(std::nan(""), 600).isValid());
    EXPECT_TRUE(CMTimeMakeWithSeconds(1e300, 600).isPositiveInfinity());
    EXPECT_TRUE(CMTimeMakeWithSeconds(-std::numeric_limits<double>::infinity(), 600).isNegativeInfinity());
}

TEST(CMTimeTest, nonNumericSecondsAreNotNumbers) {
    EXPECT_TRUE(std::isnan(CMTimeGetSeconds(kCMTimeInvalid)));
    EXPECT_TRUE(std::isnan(CMTimeGetSeconds(kCMTimeIndefinite)));
    EXPECT_EQ(CMTimeGetSeconds(kCMTimeNegativeInfinity), -std::numeric_limits<double>::infinity());
}

TEST(CMTimeTest, convertingToACoarserScaleRoundsAndSaysSo) {
    const CMTime half = CMTimeConvertScale(CMTimeMake(15, 30), 1);
    expectTime(half, 1, 1);
    EXPECT_TRUE(half.hasBeenRounded());
    EXPECT_FALSE(CMTimeConvertScale(CMTimeMake(15, 30), 600).hasBeenRounded());
}

TEST(CMTimeTest, multiplyingKeepsTheTimeScale) {
    expectTime(CMTimeMultiply(CMTimeMake(1, 48'000), 512), 512, 48'000);
    EXPECT_TRUE(CMTimeMultiply(CMTimeMake(std::numeric_limits<int64_t>::max(), 1), -2).isNegativeInfinity());
}

} // namespace
} // namespace vintra
