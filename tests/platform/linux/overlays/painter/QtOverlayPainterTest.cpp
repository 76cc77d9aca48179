#include "Vintra/platform/linux/overlays/painter/QtOverlayPainter.h"

#include "Vintra/platform/linux/overlays/OverlayPixels.h"
#include "Vintra/platform/linux/overlays/painter/OverlayFonts.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace vintra {
namespace {

constexpr NSFont kMediumFont{.size = 12, .weight = NSFontWeight::medium, .family = {}};

/// An overlay of 100 × 60 points.
class QtOverlayPainterTest : public ::testing::TestWithParam<double> {
protected:
    void paint(const DrawList& list) { paint(list, {grid.whole()}); }
    void paint(const DrawList& list, const std::vector<PixelRect>& within) {
        painter.paint(list, {pixels.data(), grid.width, grid.height, scale}, within);
    }
    uint32_t at(int x, int y) const { return pixels.at(static_cast<size_t>(y * grid.width + x)); }
    /// At a place in points from the top left; its middle pixel.
    uint32_t atPoint(double x, double y) const {
        return at(static_cast<int>(x * scale), static_cast<int>(y * scale));
    }
    int alphaAt(double x, double y) const { return static_cast<int>(atPoint(x, y) >> 24); }
    /// Of all that is drawn.
    PixelRect bounds() const {
        PixelRect result;
        for (int y = 0; y < grid.height; ++y) {
            for (int x = 0; x < grid.width; ++x) {
                if (at(x, y) >> 24 > 20) result = boundingBox(result, {x, y, 1, 1});
            }
        }
        return result;
    }

    const double scale = GetParam();
    const OverlayPixels::Grid grid{static_cast<int>(100 * scale), static_cast<int>(60 * scale), scale};
    std::vector<uint32_t> pixels =
        std::vector<uint32_t>(static_cast<size_t>(grid.width * grid.height), 0x12345678);
    QtOverlayPainter painter;
};

INSTANTIATE_TEST_SUITE_P(, QtOverlayPainterTest, ::testing::Values(1.0, 1.5, 2.0), [](const auto& instance) {
    return "scale" + std::to_string(static_cast<int>(instance.param * 100));
});

TEST_P(QtOverlayPainterTest, rectanglesFillWholePixelsAndNothingElseIsThere) {
    paint({{DrawList::FilledRect{{{10, 20}, {30, 10}}, 0, {1, 0, 0, 1}}}});
    const PixelRect expected{static_cast<int>(10 * scale), static_cast<int>(30 * scale),
                             static_cast<int>(30 * scale), static_cast<int>(10 * scale)};
    for (int y = 0; y < grid.height; ++y) {
        for (int x = 0; x < grid.width; ++x) {
            const bool isInside = !intersection(expected, {x, y, 1, 1}).isEmpty();
            ASSERT_EQ(at(x, y), isInside ? 0xffff0000u : 0u) << x << ", " << y;
        }
    }
}

TEST_P(QtOverlayPainterTest, coloursArePremultipliedAndMixInTheirOrder) {
    const CGRect all{{0, 0}, {100, 60}};
    paint({{DrawList::FilledRect{all, 0, NSColor::white(0.4)}}});
    EXPECT_EQ(atPoint(50, 30), 0x66666666u);
    paint({{DrawList::FilledRect{all, 0, NSColor::white()},
            DrawList::FilledRect{all, 0, NSColor::black(0.6)}}});
    EXPECT_EQ(atPoint(50, 30), 0xff666666u);
}

TEST_P(QtOverlayPainterTest, theHoleOfASurroundStaysClearWhereverItLies) {
    const CGRect all{{0, 0}, {100, 60}};
    const auto dim = [&](const CGRect& hole) {
        paint({{DrawList::FilledSurround{hole, all, NSColor::black()}}});
    };
    dim({{20, 10}, {40, 20}});
    EXPECT_EQ(atPoint(19.3, 40), 0xff000000u);
    EXPECT_EQ(atPoint(20, 40), 0u);
    EXPECT_EQ(atPoint(59.3, 49.3), 0u);
    EXPECT_EQ(atPoint(60, 49.3), 0xff000000u);
    EXPECT_EQ(atPoint(40, 50), 0xff000000u);
    dim({});
    EXPECT_EQ(std::ranges::count(pixels, 0xff000000u), static_cast<std::ptrdiff_t>(pixels.size()));
    dim({{90, 50}, {40, 40}});
    EXPECT_EQ(atPoint(95, 5), 0u);
    EXPECT_EQ(atPoint(89, 5), 0xff000000u);
    dim({{200, 10}, {40, 40}});
    EXPECT_EQ(std::ranges::count(pixels, 0xff000000u), static_cast<std::ptrdiff_t>(pixels.size()));
}

TEST_P(QtOverlayPainterTest, aFrameIsFourLinesAroundItsHole) {
    const CGRect hole{{20, 10}, {40, 20}};
    paint({{DrawList::StrokedRect{hole.insetBy(-0.5, -0.5), 1, NSColor::white()}}});
    const PixelRect inside = OverlayPixels::pixelsOf(hole, grid);
    for (int y = inside.y; y < inside.bottom(); ++y) {
        for (int x = inside.x; x < inside.right(); ++x)
            ASSERT_EQ(at(x, y), 0u) << x << ", " << y;
        EXPECT_EQ(at(inside.x - 1, y), 0xffffffffu);
        EXPECT_EQ(at(inside.right(), y), 0xffffffffu);
    }
    EXPECT_EQ(at(inside.x - 1, inside.y - 1), 0xffffffffu) << "the corner belongs to it";
    EXPECT_EQ(at(inside.right(), inside.bottom()), 0xffffffffu);
    EXPECT_EQ(at(inside.x - 4, inside.y), 0u);
}

TEST_P(QtOverlayPainterTest, aCardHasRoundCornersAndStraightSides) {
    paint({{DrawList::FilledRect{{{10, 10}, {80, 40}}, 10, NSColor::black()}}});
    EXPECT_EQ(alphaAt(10.3, 10.3), 0) << "the corner is cut";
    EXPECT_EQ(alphaAt(89.3, 49.3), 0);
    EXPECT_EQ(alphaAt(14, 14), 255) << "10 points of radius leave 4.2 of the diagonal out";
    EXPECT_EQ(alphaAt(10.3, 30), 255);
    EXPECT_EQ(alphaAt(50, 10.3), 255);
    EXPECT_EQ(alphaAt(9.3, 30), 0);
}

TEST_P(QtOverlayPainterTest, aRingHasItsRadiusAndWidthAndADiscIsFull) {
    paint({{DrawList::StrokedEllipse{{{30, 10}, {40, 40}}, 4, {0, 0, 1, 1}}}});
    EXPECT_EQ(atPoint(30, 30), 0xff0000ffu);
    EXPECT_EQ(atPoint(69.5, 30), 0xff0000ffu);
    EXPECT_EQ(atPoint(50, 50), 0xff0000ffu);
    EXPECT_EQ(atPoint(50, 30), 0u);
    EXPECT_EQ(alphaAt(33.5, 30), 0) << "28 to 32 is the line";
    EXPECT_EQ(alphaAt(26.5, 30), 0);
    paint({{DrawList::FilledEllipse{{{30, 10}, {40, 40}}, {0, 0, 1, 1}}}});
    EXPECT_EQ(atPoint(50, 30), 0xff0000ffu);
    EXPECT_EQ(alphaAt(31, 11), 0);
}

TEST_P(QtOverlayPainterTest, textStandsOnItsMeasuredPlace) {
    const CGSize size = painter.textSize("Hdpg", kMediumFont);
    paint({{DrawList::Text{"Hdpg", {20, 15}, kMediumFont, {0, 1, 0, 1}}}});
    const PixelRect drawn = bounds();
    EXPECT_NEAR(drawn.x, 20 * scale, 2 * scale);
    EXPECT_NEAR(drawn.right(), (20 + size.width) * scale, 2 * scale);
    // Letters reach from above the middle to below the line, inside of the measured height.
    EXPECT_GE(drawn.y, (60 - 15 - size.height) * scale);
    EXPECT_LE(drawn.bottom(), (60 - 15) * scale);
    EXPECT_GT(drawn.height, size.height * scale * 0.6);
    for (const uint32_t pixel : pixels)
        ASSERT_EQ(pixel & 0x00ff00ff, 0u) << "green alone";
}

TEST_P(QtOverlayPainterTest, pixelsOutsideOfThoseAskedForAreLeftAlone) {
    paint({{DrawList::FilledRect{{{0, 0}, {100, 60}}, 8, NSColor::white()},
            DrawList::Text{"text", {5, 5}, {}, {}}}},
          {{10, 12, 20, 8}, {50, 30, 5, 5}});
    int changed = 0;
    for (int y = 0; y < grid.height; ++y) {
        for (int x = 0; x < grid.width; ++x) {
            const PixelRect pixel{x, y, 1, 1};
            const bool isAsked = !intersection(pixel, {10, 12, 20, 8}).isEmpty() ||
                                 !intersection(pixel, {50, 30, 5, 5}).isEmpty();
            ASSERT_TRUE(isAsked || at(x, y) == 0x12345678u) << x << ", " << y;
            changed += at(x, y) != 0x12345678u;
        }
    }
    EXPECT_EQ(changed, 20 * 8 + 5 * 5);
}

TEST_P(QtOverlayPainterTest, aChangeIsPaintedAsIfAllHadBeen) {
    const auto screen = [](const CGRect& hole, const std::string& size) {
        DrawList list{
            {DrawList::FilledSurround{hole, {{0, 0}, {100, 60}}, NSColor::black(0.55)},
             DrawList::StrokedRect{hole.insetBy(-0.5, -0.5), 1, NSColor::white()},
             DrawList::FilledRect{{{hole.minX() - 5, hole.minY() - 5}, {10, 10}}, 0, NSColor::white()},
             DrawList::FilledRect{{{10, 2}, {80, 18}}, 5, NSColor::black(0.8)},
             DrawList::FilledEllipse{{{70, 4}, {14, 14}}, {1, 0.8, 0, 1}},
             DrawList::StrokedEllipse{{{70, 4}, {14, 14}}, 1, NSColor::white()},
             DrawList::Text{size, {hole.minX(), hole.maxY() + 2}, kMediumFont, NSColor::white()}}};
        return list;
    };
    DrawList before = screen({{20, 25}, {40, 20}}, "40 × 20");
    paint(before);
    for (int step = 1; step < 20; ++step) {
        const DrawList after =
            screen({{20.0 + step % 7, 25.0 - step}, {40.0 + step, 20.0 + step % 5}}, std::to_string(step));
        paint(after, OverlayPixels::changedPixels(before, after, grid, painter).rects());
        const auto inParts = pixels;
        paint(after);
        ASSERT_EQ(inParts, pixels) << "step " << step;
        before = after;
    }
}

TEST(OverlayFontsTest, aNumberThatChangesKeepsItsWidthWhereItsDigitsAreEqual) {
    const OverlayFonts fonts;
    NSFont font = kMediumFont;
    EXPECT_LT(fonts.textSize("1111 × 111", font).width, fonts.textSize("4000 × 000", font).width - 5)
        << "a one is narrow in this font";
    font.hasEqualDigits = true;
    EXPECT_EQ(fonts.textSize("1111 × 111", font).width, fonts.textSize("4000 × 000", font).width);
    const auto pieces = fonts.pieces("11 × 7", font);
    ASSERT_EQ(pieces.size(), 4u);
    EXPECT_EQ(pieces[2].text, " × ");
    const double zero = fonts.textSize("0", font).width;
    EXPECT_DOUBLE_EQ(pieces[2].x, 2 * zero);
    EXPECT_GT(pieces[0].x, 0) << "in the middle of its cell";
    EXPECT_DOUBLE_EQ(pieces[1].x - pieces[0].x, zero);
    EXPECT_EQ(fonts.pieces("11 × 7", kMediumFont).size(), 1u);
}

/// Widths as a browser has them on the same font: the buttons and the tag of the drawn screens, without their
/// padding.
TEST(OverlayFontsTest, textIsAsWideAsInTheDrawnScreens) {
    const OverlayFonts fonts;
    ASSERT_EQ(fonts.family(), "Inter") << "fonts-inter is needed, and none that comes before it";
    EXPECT_NEAR(fonts.textSize("Full screen", kMediumFont).width, 62, 1);
    EXPECT_NEAR(fonts.textSize("Selected area", kMediumFont).width, 79, 1);
    EXPECT_NEAR(fonts.textSize("Done", kMediumFont).width, 31, 1);
    EXPECT_NEAR(fonts.textSize("Show clicks", kMediumFont).width, 68, 1);
    EXPECT_EQ(fonts.textSize("1280 × 720", kMediumFont).height, 15);
    const NSFont bold{.size = 14, .weight = NSFontWeight::bold, .family = "HelveticaNeue-Bold"};
    EXPECT_GT(fonts.textSize("Done", bold).width, fonts.textSize("Done", kMediumFont).width * 14 / 12);
    EXPECT_EQ(fonts.textSize("", kMediumFont).width, 0);
}

} // namespace
} // namespace vintra
