#include "Vintra/capturearea/RegionGeometry.h"

#include <gtest/gtest.h>
#include <limits>

namespace vintra {
namespace {

constexpr CGSize kBounds{1440, 900};

void expectRect(const CGRect& actual, const CGRect& expected) {
    EXPECT_NEAR(actual.minX(), expected.minX(), 1e-9);
    EXPECT_NEAR(actual.minY(), expected.minY(), 1e-9);
    EXPECT_NEAR(actual.size.width, expected.size.width, 1e-9);
    EXPECT_NEAR(actual.size.height, expected.size.height, 1e-9);
}

TEST(ReshapedTest, areaAndCentreStay) {
    // 640 × 360 = 480 × 480 = 230,400, around (520, 380).
    expectRect(reshaped({{200, 200}, {640, 360}}, AspectPreset::square, kBounds), {{280, 140}, {480, 480}});
    expectRect(reshaped({{280, 140}, {480, 480}}, AspectPreset::widescreen, kBounds),
               {{200, 200}, {640, 360}});
    expectRect(reshaped({{200, 200}, {640, 360}}, AspectPreset::vertical, kBounds), {{340, 60}, {360, 640}});
}

TEST(ReshapedTest, freeformLeavesItAlone) {
    const CGRect drawn{{-5, 20}, {3000, 1}};
    EXPECT_EQ(reshaped(drawn, AspectPreset::freeform, kBounds), drawn);
}

TEST(ReshapedTest, itIsMovedInsideAtEveryEdge) {
    // 360 × 640 around (420, 280) would begin at y = -40.
    expectRect(reshaped({{100, 100}, {640, 360}}, AspectPreset::vertical, kBounds), {{240, 0}, {360, 640}});
    // 640 × 360 around (240, 240) would begin at x = -80, around (1200, 660) end at x = 1520.
    expectRect(reshaped({{0, 0}, {480, 480}}, AspectPreset::widescreen, kBounds), {{0, 60}, {640, 360}});
    expectRect(reshaped({{960, 420}, {480, 480}}, AspectPreset::widescreen, kBounds),
               {{800, 480}, {640, 360}});
    // 360 × 640 around (700, 700) would end at y = 1020.
    expectRect(reshaped({{380, 520}, {640, 360}}, AspectPreset::vertical, kBounds), {{520, 260}, {360, 640}});
}

TEST(ReshapedTest, itIsShrunkInItsShapeIfItIsTooLarge) {
    expectRect(reshaped({{0, 0}, {1440, 900}}, AspectPreset::widescreen, kBounds), {{0, 45}, {1440, 810}});
    expectRect(reshaped({{0, 0}, {1440, 900}}, AspectPreset::vertical, kBounds),
               {{466.875, 0}, {506.25, 900}});
}

TEST(ReshapedTest, withoutAnAreaThereIsNothingToReshape) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (const CGSize size : {CGSize{0, 0}, CGSize{100, 0}, CGSize{-100, 50}, CGSize{1e300, 1e300}}) {
        const CGRect drawn{{10, 20}, size};
        EXPECT_EQ(reshaped(drawn, AspectPreset::square, kBounds), drawn);
    }
    EXPECT_EQ(reshaped({{10, 20}, {nan, 50}}, AspectPreset::square, kBounds).size.height, 50);
}

const std::vector<NSScreen> kScreens{{1, "Left", {{0, 0}, {1440, 900}}, 2},
                                     {5, "Right", {{1440, 100}, {1920, 1080}}, 1}};

TEST(RegionOnScreensTest, theScreenThatShowsMostHasIt) {
    EXPECT_EQ(regionOnScreens({{100, 50}, {300, 200}}, kScreens),
              (CaptureRegion{1, {{100, 50}, {300, 200}}}));
    EXPECT_EQ(regionOnScreens({{1400, 150}, {200, 100}}, kScreens),
              (CaptureRegion{5, {{-40, 50}, {200, 100}}}));
    EXPECT_EQ(regionOnScreens({{1300, 150}, {200, 100}}, kScreens),
              (CaptureRegion{1, {{1300, 150}, {200, 100}}}));
}

TEST(RegionOnScreensTest, ofTwoAlikeAndOffEveryScreenTheEarlierHasIt) {
    EXPECT_EQ(regionOnScreens({{1340, 150}, {200, 100}}, kScreens)->displayID, 1u);
    EXPECT_EQ(regionOnScreens({{9000, 9000}, {200, 100}}, kScreens),
              (CaptureRegion{1, {{9000, 9000}, {200, 100}}}));
    // It touches the right screen's edge from the left.
    EXPECT_EQ(regionOnScreens({{1240, 950}, {200, 100}}, kScreens)->displayID, 1u);
}

TEST(RegionOnScreensTest, withoutScreensThereIsNone) {
    EXPECT_FALSE(regionOnScreens({{0, 0}, {200, 100}}, {}));
}

} // namespace
} // namespace vintra
