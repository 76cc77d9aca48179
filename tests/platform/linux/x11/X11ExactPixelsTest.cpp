#include "tests/platform/linux/x11/X11ScreenFixture.h"
#include "tests/platform/linux/x11/X11TestWindow.h"

#include "Vintra/capturearea/CaptureRegion.h"

#include <cmath>
#include <random>

namespace vintra {

// What a stream delivers beside what another program's screenshot shows, with the sizes that a take asks for.
class X11ExactPixelsTest : public X11ScreenFixture, public ::testing::WithParamInterface<double> {
protected:
    X11ExactPixelsTest()
        : X11ScreenFixture("803x601x24") {
        painter.setResources("Xft.dpi: " + std::to_string(96 * scale) + "\n");
        for (int i = 0; i < 400; ++i) {
            painter.fill(upTo(803), upTo(601), 1 + upTo(60), 1 + upTo(60),
                         static_cast<uint32_t>(random()) & 0xffffff);
        }
    }
    int upTo(int end) { return static_cast<int>(random() % static_cast<unsigned>(end)); }
    static int evenSide(double pixels) { return std::max(static_cast<int>(std::floor(pixels)) & ~1, 2); }
    /// The newest picture of a stream that shows this part of the display.
    ScreenPicture picture(const SCDisplay& display, const CaptureRegion& region) {
        const auto size = region.pixelSize(scale, AspectPreset::freeform);
        configuration.sourceRect = CGRect{region.rect.origin, {size.width / scale, size.height / scale}};
        configuration.width = size.width;
        configuration.height = size.height;
        collector->forget();
        const auto stream = run(display);
        stop(*stream);
        return *newestPicture();
    }

    const double scale = GetParam();
    const unsigned seed = std::random_device{}();
    std::mt19937 random{seed};
};

TEST_P(X11ExactPixelsTest, theWholeDisplayIsThatOfTheScreenshot) {
    const SCDisplay display = content().content.displays.at(0);
    EXPECT_GE(static_cast<int>(scale * display.width), 803);
    EXPECT_LT(scale * display.width, 803 + scale);
    EXPECT_GE(static_cast<int>(scale * display.height), 601);
    const auto stream = run(display);
    EXPECT_EQ(newestPicture(), screenshot().part(0, 0, 802, 600));
    stop(*stream);
}

TEST_P(X11ExactPixelsTest, everyRegionIsThatPartOfTheScreenshotInThePixelsAskedFor) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    const SCDisplay display = content().content.displays.at(0);
    const ScreenPicture whole = screenshot();
    for (int i = 0; i < 25; ++i) {
        // Where a hand drew it: in fractions of a point.
        const double x = upTo(7000) / 10.0 / scale;
        const double y = upTo(5000) / 10.0 / scale;
        const double width = (30 + upTo(static_cast<int>(773 - x * scale) * 10) / 10.0) / scale;
        const double height = (30 + upTo(static_cast<int>(571 - y * scale) * 10) / 10.0) / scale;
        const CaptureRegion region{display.displayID, {{x, y}, {width, height}}};
        SCOPED_TRACE(std::to_string(x) + " " + std::to_string(y) + " " + std::to_string(width) + " " +
                     std::to_string(height));
        const ScreenPicture shown = picture(display, region);
        ASSERT_EQ(shown.width, configuration.width);
        ASSERT_EQ(shown.height, configuration.height);
        const int left = static_cast<int>(std::lround(x * scale));
        const int top = static_cast<int>(std::lround(y * scale));
        ASSERT_EQ(shown, whole.part(left, top, shown.width, shown.height));
    }
}

TEST_P(X11ExactPixelsTest, aRegionThatRoundingPushesOverTheEdgeKeepsItsSize) {
    const SCDisplay display = content().content.displays.at(0);
    // 16:9 has 32 × 18 pixels as its smallest size, also of a region of fewer at the very corner.
    configuration.sourceRect = CGRect{{790 / scale, 590 / scale}, {32 / scale, 18 / scale}};
    const auto stream = run(display);
    EXPECT_EQ(newestPicture(), screenshot().part(803 - 32, 601 - 18, 32, 18));
    stop(*stream);
}

TEST_P(X11ExactPixelsTest, aRegionOfAnotherDisplayIsThatOfTheScreenshot) {
    ASSERT_TRUE(server.xrandr({"--setmonitor", "LEFT", "401/401x601/601+0+0", "screen"}));
    ASSERT_TRUE(server.xrandr({"--setmonitor", "RIGHT", "402/402x555/555+401+33", "none"}));
    const auto displays = content().content.displays;
    ASSERT_EQ(displays.size(), 2u);
    const CaptureRegion region{displays[1].displayID, {{21 / scale, 17 / scale}, {333 / scale, 222 / scale}}};
    EXPECT_EQ(picture(displays[1], region), screenshot().part(401 + 21, 33 + 17, 332, 222));
}

TEST_P(X11ExactPixelsTest, aWindowHasThePixelsThatItsPointsAskFor) {
    // 101 × 77 points where that is whole pixels.
    const int width = static_cast<int>(101 * scale);
    const int height = static_cast<int>(77 * scale);
    X11TestWindow window(server.displayName(),
                         {.x = 33, .y = 17, .width = width, .height = height, .ground = 0x336699});
    window.fill(7, 9, 50, 40, 0xfedcba);
    const auto windows = content().content.windows;
    ASSERT_EQ(windows.size(), 1u);
    const CGSize points = windows[0].frame.size;
    const auto stream = run({SCContentFilter::DesktopIndependentWindow{windows[0]}});
    const ScreenPicture shown = *newestPicture();
    EXPECT_EQ(shown.width, evenSide(scale * points.width));
    EXPECT_EQ(shown.height, evenSide(scale * points.height));
    EXPECT_EQ(shown.width, scale == 2 ? 202 : scale == 1.5 ? 150 : 100);
    EXPECT_EQ(shown.height, scale == 2 ? 154 : scale == 1.5 ? 114 : 76);
    EXPECT_EQ(shown, screenshot(std::to_string(window.id())).part(0, 0, shown.width, shown.height));
    EXPECT_EQ(shown, screenshot().part(33, 17, shown.width, shown.height));
    stop(*stream);
}

INSTANTIATE_TEST_SUITE_P(Scales, X11ExactPixelsTest, ::testing::Values(1.0, 1.5, 2.0));

} // namespace vintra
