#include "tools/vintra-take/RegionChoice.h"

#include <gtest/gtest.h>

namespace vintra {
namespace {

const KnownDisplay kPlain{{.id = 66, .name = "HDMI-1", .width = 1920, .height = 1080}, {1920, 1080}, 1};
const KnownDisplay kDense{{.id = 5, .name = "eDP-1", .width = 2880, .height = 1800}, {1440, 900}, 2};
/// Of 1366 × 768 pixels at one and a half a point.
const KnownDisplay kOdd{{.id = 7, .name = "LVDS", .width = 1366, .height = 768}, {1366 / 1.5, 512}, 1.5};

std::string problem(CGRect region, const KnownDisplay& on, AspectPreset aspect = AspectPreset::freeform) {
    return regionProblem(region, aspect, on).value_or("");
}

TEST(RegionChoiceTest, whatLiesInsideIsTaken) {
    EXPECT_EQ(problem({{0, 0}, {1920, 1080}}, kPlain), "");
    EXPECT_EQ(problem({{1918, 1078}, {2, 2}}, kPlain), "");
    EXPECT_EQ(problem({{100.5, 0}, {33, 17.25}}, kDense), "");
    EXPECT_EQ(problem({{0, 0}, {910.66, 512}}, kOdd), "");
}

TEST(RegionChoiceTest, whatLiesOutsideIsRefusedWithTheDisplaysSize) {
    EXPECT_EQ(problem({{1920, 0}, {10, 10}}, kPlain),
              "The region lies outside of display 66 (HDMI-1), which has 1920×1080 points: nothing begins at "
              "1920,0. --list shows the displays.");
    EXPECT_EQ(problem({{100, 900}, {10, 10}}, kDense),
              "The region lies outside of display 5 (eDP-1), which has 1440×900 points: nothing begins at "
              "100,900. --list shows the displays.");
    EXPECT_NE(problem({{1e300, 0}, {1e300, 10}}, kPlain), "");
}

TEST(RegionChoiceTest, whatLiesPartlyOutsideIsRefusedWithTheRoomThereIs) {
    EXPECT_EQ(problem({{1800, 0}, {200, 100}}, kPlain),
              "The region reaches beyond display 66 (HDMI-1), which has "
              "1920×1080 points: from 1800,0 there is room for 120×1080.");
    EXPECT_EQ(problem({{0, 0.5}, {1440, 900}}, kDense),
              "The region reaches beyond display 5 (eDP-1), which has "
              "1440×900 points: from 0,0.5 there is room for 1440×899.5.");
    EXPECT_EQ(problem({{0, 0}, {910.67, 512}}, kOdd),
              "The region reaches beyond display 7 (LVDS), which has "
              "910.66×512 points: from 0,0 there is room for 910.66×512.")
        << "what is told to fit does";
}

TEST(RegionChoiceTest, theSmallestPictureOfAShapeHasToFitToo) {
    EXPECT_EQ(problem({{1910, 1070}, {10, 10}}, kPlain, AspectPreset::widescreen),
              "The smallest picture of this shape takes 32×18 points, and from 1910,1070 there is room for "
              "10×10. Begin further up or further to the left.");
    EXPECT_EQ(problem({{1430, 890}, {10, 10}}, kDense, AspectPreset::widescreen),
              "The smallest picture of this shape takes 16×9 points, and from 1430,890 there is room for "
              "10×10. Begin further up or further to the left.");
    EXPECT_EQ(problem({{1424, 891}, {16, 9}}, kDense, AspectPreset::widescreen), "");
    EXPECT_NE(problem({{1919, 0}, {1, 1}}, kPlain), "") << "two pixels are the least";
    EXPECT_EQ(
        problem({{1919, 0}, {1, 1}}, kPlain),
        "The smallest picture of this shape takes 2×2 points, and from 1919,0 there is room for 1×1080. "
        "Begin further up or further to the left.");
    EXPECT_EQ(problem({{0, 0}, {1, 1}}, kPlain, AspectPreset::vertical), "") << "18×32 where there is room";
}

} // namespace
} // namespace vintra
