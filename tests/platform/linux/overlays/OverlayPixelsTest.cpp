#include "Vintra/platform/linux/overlays/OverlayPixels.h"

#include "tests/platform/linux/overlays/SolidPainter.h"

#include <gtest/gtest.h>
#include <random>

namespace vintra {
namespace {

using OverlayPixels::Grid;

TEST(OverlayPixelsTest, edgesLieBetweenPixelsCountedFromTheTop) {
    const Grid grid{300, 150, 1.5};
    EXPECT_EQ(OverlayPixels::pixelsOf({{0, 0}, {200, 100}}, grid), (PixelRect{0, 0, 300, 150}));
    // 10 points are 15 pixels; 11 are 16.5, which is nearer to neither and rounds up.
    EXPECT_EQ(OverlayPixels::pixelsOf({{10, 0}, {1, 100}}, grid), (PixelRect{15, 0, 2, 150}));
    // From the top: 100 - 21 = 79 points are 118.5 pixels.
    EXPECT_EQ(OverlayPixels::pixelsOf({{0, 0}, {2, 21}}, grid), (PixelRect{0, 119, 3, 31}));
}

TEST(OverlayPixelsTest, aLineBesideAHoleNeverReachesIntoItAndIsNeverLost) {
    std::mt19937 random(4); // the same every time
    std::uniform_real_distribution<double> place(5, 90);
    for (const double scale : {1.0, 1.25, 1.5, 1.75, 2.0, 3.0}) {
        const Grid grid{static_cast<int>(200 * scale), static_cast<int>(200 * scale), scale};
        for (int n = 0; n < 200; ++n) {
            const CGRect hole{{place(random), place(random)}, {place(random), place(random)}};
            const PixelRect inside = OverlayPixels::pixelsOf(hole, grid);
            const auto sides = OverlayPixels::sidesOf({hole.insetBy(-0.5, -0.5), 1, {}}, grid);
            for (const PixelRect& side : {sides.top, sides.bottom, sides.left, sides.right}) {
                EXPECT_TRUE(intersection(side, inside).isEmpty());
                EXPECT_FALSE(side.isEmpty());
            }
            EXPECT_EQ(sides.top.bottom(), inside.y);
            EXPECT_EQ(sides.left.right(), inside.x);
            EXPECT_EQ(sides.right.x, inside.right());
            EXPECT_EQ(sides.bottom.y, inside.bottom());
        }
    }
}

/// Random lists: what was painted in parts must look like what is painted at once.
class OverlayChangesTest : public ::testing::Test {
protected:
    double number(double least, double most) {
        return std::uniform_real_distribution<double>(least, most)(random);
    }
    CGRect rect() { return {{number(-10, 100), number(-10, 80)}, {number(0, 60), number(0, 50)}}; }
    DrawList::Shape shape() {
        const NSColor color{number(0, 1), number(0, 1), number(0, 1), number(0.2, 1)};
        switch (std::uniform_int_distribution<int>(0, 3)(random)) {
        case 0:
            return DrawList::FilledRect{rect(), 4, color};
        case 1:
            return DrawList::StrokedRect{rect(), 1, color};
        case 2:
            return DrawList::Text{"ab", {number(0, 90), number(0, 70)}, {}, color};
        default: {
            const double side = number(4, 40);
            return DrawList::StrokedEllipse{{{number(0, 90), number(0, 60)}, {side, side}}, 3, color};
        }
        }
    }
    DrawList changed(DrawList list) {
        auto& shapes = list.shapes;
        const auto index = [&] {
            return static_cast<std::ptrdiff_t>(
                std::uniform_int_distribution<size_t>(0, shapes.size() - 1)(random));
        };
        switch (std::uniform_int_distribution<int>(0, 4)(random)) {
        case 0:
            shapes.insert(shapes.begin() + index(), shape());
            break;
        case 1:
            if (shapes.size() > 1) shapes.erase(shapes.begin() + index());
            break;
        case 2:
            shapes[static_cast<size_t>(index())] = shape();
            break;
        case 3:
            std::swap(shapes.front(), shapes[static_cast<size_t>(index())]);
            break;
        default:
            for (auto& each : shapes) {
                if (auto* surround = std::get_if<DrawList::FilledSurround>(&each)) surround->hole = rect();
            }
        }
        return list;
    }
    std::vector<uint32_t> painted(const DrawList& list) {
        std::vector<uint32_t> pixels(static_cast<size_t>(grid.width * grid.height));
        painter.paint(list, {pixels.data(), grid.width, grid.height, grid.scale}, {grid.whole()});
        return pixels;
    }

    std::mt19937 random{7}; // the same every time
    SolidPainter painter;
    Grid grid{150, 120, 1.25};
};

TEST_F(OverlayChangesTest, whatIsPaintedInPartsLooksAsIfItWerePaintedAtOnce) {
    DrawList list{
        {DrawList::FilledSurround{rect(), {{0, 0}, {120, 96}}, NSColor::black(0.55)}, shape(), shape()}};
    std::vector<uint32_t> pixels = painted(list);
    for (int step = 0; step < 400; ++step) {
        const DrawList next = changed(list);
        const auto region = OverlayPixels::changedPixels(list, next, grid, painter);
        painter.paint(next, {pixels.data(), grid.width, grid.height, grid.scale}, region.rects());
        ASSERT_EQ(pixels, painted(next)) << "step " << step;
        list = next;
    }
}

TEST_F(OverlayChangesTest, aHoleThatMovesALittlePaintsStripsAndEqualListsNothing) {
    const Grid large{1920, 1080, 1};
    const auto guide = [](double x) {
        const CGRect hole{{x, 200}, {1280, 720}};
        return DrawList{{DrawList::FilledSurround{hole, {{0, 0}, {1920, 1080}}, NSColor::black(0.55)},
                         DrawList::StrokedRect{hole.insetBy(-0.5, -0.5), 1, NSColor::white()}}};
    };
    EXPECT_TRUE(OverlayPixels::changedPixels(guide(300), guide(300), large, painter).isEmpty());
    // Two upright sides, and the lines above and below.
    EXPECT_LT(OverlayPixels::changedPixels(guide(300), guide(304), large, painter).area(), 40'000);
}

} // namespace
} // namespace vintra
