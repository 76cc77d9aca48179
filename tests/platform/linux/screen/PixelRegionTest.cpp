#include "Vintra/platform/linux/screen/PixelRegion.h"

#include <gtest/gtest.h>

#include <random>

namespace vintra {

TEST(PixelRegionTest, aRectangleInsideOfAnotherAddsNothing) {
    PixelRegion region;
    region.add({0, 0, 1000, 1000});
    region.add({10, 10, 20, 20});
    EXPECT_EQ(region.rects(), (std::vector<PixelRect>{{0, 0, 1000, 1000}}));
}

TEST(PixelRegionTest, farRectanglesStayApartAndNearOnesBecomeOne) {
    PixelRegion region;
    region.add({0, 0, 10, 10});
    region.add({1800, 1000, 10, 10});
    EXPECT_EQ(region.area(), 200);
    region.add({10, 0, 10, 10});
    EXPECT_EQ(region.rects().size(), 2u);
    EXPECT_EQ(region.area(), 300);
}

TEST(PixelRegionTest, nothingAddsNothing) {
    PixelRegion region;
    region.add({5, 5, 0, 10});
    region.add({5, 5, 10, -1});
    EXPECT_TRUE(region.isEmpty());
}

TEST(PixelRegionTest, rowBandsAreOrderedAndJoinedAcrossNarrowGaps) {
    PixelRegion region;
    region.add({0, 900, 1900, 50});
    region.add({0, 0, 1900, 100});
    region.add({0, 110, 1900, 100});
    EXPECT_EQ(region.rowBands(24), (std::vector<RowBand>{{0, 210}, {900, 950}}));
}

TEST(PixelRegionTest, intersectionAndBoundingBoxKeepEdges) {
    EXPECT_EQ(intersection({0, 0, 10, 10}, {9, 9, 10, 10}), (PixelRect{9, 9, 1, 1}));
    EXPECT_EQ(intersection({0, 0, 10, 10}, {10, 0, 10, 10}), PixelRect{});
    EXPECT_EQ(boundingBox({0, 0, 10, 10}, {20, 5, 10, 10}), (PixelRect{0, 0, 30, 15}));
    EXPECT_EQ(boundingBox({}, {20, 5, 10, 10}), (PixelRect{20, 5, 10, 10}));
}

TEST(PixelRegionTest, randomRectanglesAreAllCoveredByFewRectangles) {
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    const auto upTo = [&random](int end) { return static_cast<int>(random() % static_cast<unsigned>(end)); };
    PixelRegion region;
    std::vector<PixelRect> added;
    for (int i = 0; i < 500; ++i) {
        added.push_back({upTo(1900), upTo(1000), 1 + upTo(60), 1 + upTo(60)});
        region.add(added.back());
        ASSERT_LE(region.rects().size(), 12u);
        for (const PixelRect& rect : added) {
            bool isCovered = false;
            for (const PixelRect& part : region.rects())
                isCovered |= intersection(part, rect) == rect;
            ASSERT_TRUE(isCovered);
        }
    }
}

} // namespace vintra
