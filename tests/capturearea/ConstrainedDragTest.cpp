#include "Vintra/capturearea/RegionGeometry.h"

#include "tests/capturearea/OverlayShapes.h"

#include <algorithm>
#include <cmath>
#include <random>

namespace vintra {
namespace {

constexpr CGRect kDragBounds{{0, 0}, {1440, 900}};
constexpr double kWide = 32.0 / 18;

TEST(ConstrainedTest, withoutARatioTheDragSpansTheRectangle) {
    expectSameRect(constrained({100, 100}, {400, 250}, std::nullopt, kDragBounds), {{100, 100}, {300, 150}});
    expectSameRect(constrained({400, 250}, {100, 100}, std::nullopt, kDragBounds), {{100, 100}, {300, 150}});
    expectSameRect(constrained({100, 250}, {400, 100}, std::nullopt, kDragBounds), {{100, 100}, {300, 150}});
    expectSameRect(constrained({1400, 850}, {2000, 2000}, std::nullopt, kDragBounds),
                   {{1400, 850}, {40, 50}});
}

TEST(ConstrainedTest, theLargerSideDrivesTheSize) {
    // 320 wide and 100 high is wider than 16:9, 320 wide and 200 high isn't.
    expectSameRect(constrained({100, 100}, {420, 200}, kWide, kDragBounds), {{100, 100}, {320, 180}});
    expectSameRect(constrained({100, 100}, {420, 460}, kWide, kDragBounds), {{100, 100}, {640, 360}});
    expectSameRect(constrained({800, 600}, {480, 500}, kWide, kDragBounds), {{480, 420}, {320, 180}});
    expectSameRect(constrained({100, 100}, {150, 400}, 1, kDragBounds), {{100, 100}, {300, 300}});
}

TEST(ConstrainedTest, aDragAlongOneLineIsDrivenByIt) {
    expectSameRect(constrained({100, 100}, {420, 100}, kWide, kDragBounds), {{100, 100}, {320, 180}});
    expectSameRect(constrained({100, 100}, {100, 280}, kWide, kDragBounds), {{100, 100}, {320, 180}});
    EXPECT_EQ(constrained({100, 100}, {100, 100}, kWide, kDragBounds).size.width, 0);
}

TEST(ConstrainedTest, itStopsAtTheEdgeWithItsRatioKept) {
    // To the lower right: 160 points to the right edge, so 90 high.
    expectSameRect(constrained({1280, 500}, {1440, 0}, kWide, kDragBounds), {{1280, 410}, {160, 90}});
    // 90 points to the lower edge, so 160 wide.
    expectSameRect(constrained({200, 90}, {1400, 0}, kWide, kDragBounds), {{200, 0}, {160, 90}});
    // Both edges are passed, first the width's, then the height's.
    expectSameRect(constrained({1120, 90}, {3000, -900}, kWide, kDragBounds), {{1120, 0}, {160, 90}});
    // Tall on a landscape display: 900 high is 506.25 wide.
    expectSameRect(constrained({0, 0}, {1440, 900}, 18.0 / 32, kDragBounds), {{0, 0}, {506.25, 900}});
}

/// The largest scale at which a rectangle of the ratio covers the drag on one side and fits the room.
CGRect spannedByScale(CGPoint from, CGPoint to, double ratio, const CGRect& bounds) {
    const double towardsX = to.x < from.x ? -1 : 1;
    const double towardsY = to.y < from.y ? -1 : 1;
    const double roomX = towardsX < 0 ? from.x - bounds.minX() : bounds.maxX() - from.x;
    const double roomY = towardsY < 0 ? from.y - bounds.minY() : bounds.maxY() - from.y;
    // As multiples of a rectangle that is 1 high.
    const double wanted = std::max(std::abs(to.x - from.x) / ratio, std::abs(to.y - from.y));
    const double scale = std::min({wanted, roomX / ratio, roomY});
    const CGPoint far{from.x + towardsX * scale * ratio, from.y + towardsY * scale};
    return {{std::min(from.x, far.x), std::min(from.y, far.y)},
            {std::abs(far.x - from.x), std::abs(far.y - from.y)}};
}

TEST(ConstrainedTest, randomDragsFollowAnotherGeometry) {
    const unsigned seed = std::random_device()();
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    const auto between = [&](double low, double high) {
        return std::uniform_real_distribution<double>(low, high)(random);
    };
    const double ratios[] = {32.0 / 18, 18.0 / 32, 1};
    for (int n = 0; n < 3000 && !::testing::Test::HasFailure(); ++n) {
        const CGPoint from{between(0, 1440), between(0, 900)};
        const CGPoint to{between(-500, 2000), between(-500, 1400)};
        const double ratio = ratios[n % 3];
        expectSameRect(constrained(from, to, ratio, kDragBounds),
                       spannedByScale(from, to, ratio, kDragBounds));
    }
}

TEST(CornerTest, eachHasItsPointAndItsOpposite) {
    const CGRect rect{{10, 20}, {100, 50}};
    EXPECT_EQ(cornerPoint(rect, Corner::bottomLeft), (CGPoint{10, 20}));
    EXPECT_EQ(cornerPoint(rect, Corner::bottomRight), (CGPoint{110, 20}));
    EXPECT_EQ(cornerPoint(rect, Corner::topLeft), (CGPoint{10, 70}));
    EXPECT_EQ(cornerPoint(rect, Corner::topRight), (CGPoint{110, 70}));
    EXPECT_EQ(opposite(Corner::bottomLeft), Corner::topRight);
    EXPECT_EQ(opposite(Corner::bottomRight), Corner::topLeft);
    EXPECT_EQ(opposite(Corner::topLeft), Corner::bottomRight);
    EXPECT_EQ(opposite(Corner::topRight), Corner::bottomLeft);
}

TEST(MovedInsideTest, itStopsAtEachEdge) {
    EXPECT_EQ(movedInside({{-30, 1000}, {100, 50}}, kDragBounds), (CGRect{{0, 850}, {100, 50}}));
    EXPECT_EQ(movedInside({{1400, -5}, {100, 50}}, kDragBounds), (CGRect{{1340, 0}, {100, 50}}));
    EXPECT_EQ(movedInside({{30, 40}, {100, 50}}, kDragBounds), (CGRect{{30, 40}, {100, 50}}));
}

TEST(FlippedTest, twiceIsTheSame) {
    EXPECT_EQ(flipped(CGRect{{10, 20}, {100, 50}}, 900), (CGRect{{10, 830}, {100, 50}}));
    EXPECT_EQ(flipped(CGRect{{10, 830}, {100, 50}}, 900), (CGRect{{10, 20}, {100, 50}}));
    EXPECT_EQ(flipped(CGPoint{10, 20}, 900), (CGPoint{10, 880}));
}

} // namespace
} // namespace vintra
