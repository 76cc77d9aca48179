// What GNOME's and KDE's own portals hand out, to the pixel.

#include "tests/platform/linux/wayland/PortalDesktopFixture.h"

#include "Vintra/platform/linux/screen/PixelRegion.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

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

TEST_F(PortalDesktopStreamTest, aDisplayIsNotTakenForTheOther) {
    const std::string wanted = PortalDesktop::display(), granted = PortalDesktop::display(1);
    ASSERT_TRUE(PortalDesktop::grant(tokensFile(), wanted, granted));
    WaylandScreenCapture capture(desktop);
    const auto error = start(*makeStream(capture, {SCContentFilter::Display{display(wanted), {}, {}}}));
    ASSERT_TRUE(error);
    EXPECT_EQ(error->localizedDescription(),
              "The desktop was told to share the display " + granted + ", but " + wanted +
                  " is to be recorded. Choose the same one in Vintra and in the "
                  "desktop's question.");
    EXPECT_EQ(folder.read("tokens").find(wanted), std::string::npos) << "the next take asks";
}

/// Around all that isn't of that colour; empty if all of it is.
PixelRect boundsOfOthers(const ScreenPicture& picture, uint32_t colour) {
    int left = picture.width, top = picture.height, right = 0, bottom = 0;
    for (int y = 0; y < picture.height; ++y) {
        for (int x = 0; x < picture.width; ++x) {
            if (picture.at(x, y) == colour) continue;
            left = std::min(left, x);
            top = std::min(top, y);
            right = std::max(right, x + 1);
            bottom = std::max(bottom, y + 1);
        }
    }
    return {left, top, right - left, bottom - top};
}

TEST_F(PortalDesktopStreamTest, aPointerThatMovesOverAStillPictureIsSeenAtEachPlaceWhereItIsWanted) {
    constexpr uint32_t kBelow = 0x206080, kPointer = 0xff4020;
    constexpr int kSide = 16;
    // GNOME has no pointer but the window's; KDE's own is 24 pixels large, and points with one near its top left.
    if (PortalDesktop::isGnome()) window->givePointer(kSide, kPointer);
    constexpr int kLargest = 48, kHotSpot = 12;
    window->fill({0, 0, window->width(), window->height()}, kBelow);
    window->showAndAwaitFrame();
    ScreenPicture below(window->width(), window->height());
    below.fill(0, 0, below.width, below.height, kBelow);
    PortalDesktop::Pointer pointer;
    ASSERT_TRUE(pointer.isThere());
    configuration.showsCursor = true;
    auto stream = run();
    std::shared_ptr<CVPixelBuffer> looked;
    PixelRect seen;
    const auto isSeenAt = [&](int x, int y) {
        const auto samples = collector->samples();
        if (samples.empty()) return false;
        if (samples.back().imageBuffer() != looked) {
            looked = samples.back().imageBuffer();
            seen = boundsOfOthers(ScreenPicture(*looked), kBelow);
        }
        if (PortalDesktop::isGnome()) return seen == PixelRect{x, y, kSide, kSide};
        return !seen.isEmpty() && seen.width <= kLargest && seen.height <= kLargest &&
               std::abs(seen.x - x) <= kHotSpot && std::abs(seen.y - y) <= kHotSpot;
    };
    // A desktop that had no pointer takes its time to have one.
    const auto giveUp = clock.now() + CMTimeMake(10, 1);
    for (CMTime again = clock.now(); clock.now() < giveUp; clock.sleep(10'000)) {
        window->handleEvents();
        if (isSeenAt(100, 50)) break;
        if (clock.now() < again) continue;
        ASSERT_TRUE(pointer.moveTo(100, 50));
        again = clock.now() + CMTimeMake(1, 2);
    }
    for (const auto& [x, y] : {std::pair{100, 50}, {300, 200}, {301, 203}, {900, 600}, {500, 40}}) {
        if (x > 100) {
            ASSERT_TRUE(pointer.moveTo(x, y));
        }
        EXPECT_TRUE(waitUntil([&] { return isSeenAt(x, y); })) << x << ", " << y;
    }
    stop(*stream);

    configuration.showsCursor = false;
    collector->forget();
    stream = run();
    EXPECT_TRUE(shows(below)) << "not wanted";
    ASSERT_TRUE(pointer.moveTo(800, 500));
    window->fill({0, 0, 1, 1}, kPointer);
    window->show();
    below.fill(0, 0, 1, 1, kPointer);
    EXPECT_TRUE(shows(below)) << "not wanted";
    stop(*stream);
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
