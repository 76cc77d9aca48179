#include "Vintra/video/CappedCaptureSize.h"

#include <gtest/gtest.h>

namespace vintra {
namespace {

TEST(CappedCaptureSizeTest, upTo4096By2304NothingChanges) {
    EXPECT_EQ(cappedCaptureSize(4096, 2304, false), (CMVideoDimensions{4096, 2304}));
    EXPECT_EQ(cappedCaptureSize(1365, 767, false), (CMVideoDimensions{1365, 767}));
    EXPECT_EQ(cappedCaptureSize(2304, 4096, false), (CMVideoDimensions{2304, 4096}));
}

TEST(CappedCaptureSizeTest, aLargerScreenIsReducedToThatManyPixels) {
    // 9437184 / (5120 × 2880) is 0.64, the square of 0.8.
    EXPECT_EQ(cappedCaptureSize(5120, 2880, false), (CMVideoDimensions{4096, 2304}));
    // One pixel too wide: f = 0.999878, 4096.5 by 2303.7, made even downwards.
    EXPECT_EQ(cappedCaptureSize(4097, 2304, false), (CMVideoDimensions{4096, 2302}));
}

TEST(CappedCaptureSizeTest, a6KScreenComesWithinAPixelPair) {
    const auto size = cappedCaptureSize(6016, 3384, false);
    EXPECT_EQ(size.width % 2, 0);
    EXPECT_EQ(size.height % 2, 0);
    EXPECT_NEAR(size.width, 4096, 2);
    EXPECT_NEAR(size.height, 2304, 2);
}

TEST(CappedCaptureSizeTest, aSideIsAtLeastTwo) {
    EXPECT_EQ(cappedCaptureSize(1, 20'000'000, false).width, 2);
}

TEST(CappedCaptureSizeTest, theNativeSizeLiftsTheCap) {
    EXPECT_EQ(cappedCaptureSize(6016, 3384, true), (CMVideoDimensions{6016, 3384}));
}

TEST(CappedCaptureSizeTest, aSizeBelowOneIsLeftAlone) {
    EXPECT_EQ(cappedCaptureSize(0, 50'000, false), (CMVideoDimensions{0, 50'000}));
    EXPECT_EQ(cappedCaptureSize(-5, -5, false), (CMVideoDimensions{-5, -5}));
}

} // namespace
} // namespace vintra
