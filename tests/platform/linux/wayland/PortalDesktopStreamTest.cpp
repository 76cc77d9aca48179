// What GNOME's and KDE's own portals hand out, to the pixel.

#include "tests/platform/linux/wayland/PortalDesktopFixture.h"

namespace vintra {
namespace {

using PortalDesktopStreamTest = PortalDesktopFixture;

TEST_F(PortalDesktopStreamTest, aDisplayArrivesWithItsExactPixels) {
    paintPicture(*window);
    const auto stream = run();
    ScreenPicture expected = picture(window->width(), window->height());
    EXPECT_TRUE(shows(expected)) << "a still display";
    window->fill({101, 53, 77, 31}, 0x12abef);
    window->show();
    expected.fill(101, 53, 77, 31, 0x12abef);
    EXPECT_TRUE(shows(expected));
    window->fill({0, window->height() - 1, window->width(), 1}, 0xff0000);
    window->show();
    expected.fill(0, window->height() - 1, window->width(), 1, 0xff0000);
    EXPECT_TRUE(shows(expected));
    stop(*stream);
}

TEST_F(PortalDesktopStreamTest, onlyThePartAskedForIsCaptured) {
    paintPicture(*window);
    configuration.sourceRect = CGRect{{101, 51}, {199, 99}};
    const auto stream = run();
    EXPECT_TRUE(shows(picture(window->width(), window->height()).part(101, 51, 199, 99)));
    stop(*stream);
}

TEST_F(PortalDesktopStreamTest, theOtherDisplayIsTheOtherDisplay) {
    paintPicture(*window);
    WaylandWindow beside(PortalDesktop::display(1));
    ASSERT_TRUE(beside.isOpen());
    paintPicture(beside, 85);
    const auto stream = run(PortalDesktop::display(1));
    EXPECT_TRUE(shows(picture(beside.width(), beside.height(), 85)));
    stop(*stream);
}

TEST_F(PortalDesktopStreamTest, aTurnedDisplayIsUpright) {
    for (const int degrees : {90, 180, 270}) {
        SCOPED_TRACE(degrees);
        ASSERT_TRUE(turn(degrees));
        paintPicture(*window, degrees);
        const auto stream = run();
        EXPECT_TRUE(shows(picture(window->width(), window->height(), degrees)));
        stop(*stream);
    }
    ASSERT_TRUE(turn(0));
}

TEST_F(PortalDesktopStreamTest, onADenseDisplayARegionIsInPoints) {
    const SCDisplay plain = display(PortalDesktop::display());
    ASSERT_TRUE(turn(0, 2));
    const SCDisplay dense = display(PortalDesktop::display());
    EXPECT_EQ(dense.width, plain.width / 2);
    EXPECT_EQ(dense.pixelWidth, plain.pixelWidth);
    window->fill({0, 0, window->width(), window->height()}, 0x203040);
    window->fill({10, 20, 100, 50}, 0xc08040);
    window->showAndAwaitFrame();
    configuration.sourceRect = CGRect{{10, 20}, {100, 50}};
    const auto stream = run();
    ASSERT_TRUE(waitForColour(100, 50, 0xc08040));
    EXPECT_EQ(newestPicture()->width, 200);
    EXPECT_EQ(newestPicture()->height, 100);
    // The compositor may smooth the two rows and columns at the edges.
    EXPECT_EQ(newestPicture()->part(2, 2, 196, 96).pixels, std::vector<uint32_t>(196 * 96, 0xc08040));
    stop(*stream);
    EXPECT_TRUE(turn(0));
}

TEST_F(PortalDesktopStreamTest, aDisplayThatWasGrantedOnceIsNotAskedForAgain) {
    stop(*run());
    WaylandScreenCapture capture(desktop);
    for (int number = 1; number <= 2; ++number) {
        const auto stream =
            makeStream(capture, {SCContentFilter::Display{display(PortalDesktop::display()), {}, {}}});
        ASSERT_EQ(start(*stream), std::nullopt) << "the token of the take before";
        paintPicture(*window, number);
        EXPECT_TRUE(shows(picture(window->width(), window->height(), number)));
        stop(*stream);
    }
}

} // namespace
} // namespace vintra
