#include "tests/platform/linux/x11/X11ScreenFixture.h"

#include "Vintra/platform/linux/x11/X11CursorImage.h"

#include <cmath>

namespace vintra {

class X11CursorTest : public X11ScreenFixture {
protected:
    X11CursorTest() { configuration.showsCursor = true; }

    /// The pointer's picture over a screen of one colour.
    ScreenPicture expectedPicture(uint32_t background) {
        const auto pointer = painter.pointerPicture();
        ScreenPicture picture(640, 480);
        picture.fill(0, 0, 640, 480, background);
        for (int y = 0; y < pointer.height; ++y) {
            for (int x = 0; x < pointer.width; ++x) {
                const uint32_t over = pointer.pixels[static_cast<size_t>(y * pointer.width + x)];
                const double uncovered = 1 - (over >> 24) / 255.0;
                uint32_t colour = 0;
                for (const unsigned shift : {0u, 8u, 16u}) {
                    const double sum = ((over >> shift) & 0xff) + ((background >> shift) & 0xff) * uncovered;
                    colour |= static_cast<uint32_t>(std::lround(std::min(sum, 255.0))) << shift;
                }
                picture.fill(pointer.x + x, pointer.y + y, 1, 1, colour);
            }
        }
        return picture;
    }
};

TEST_F(X11CursorTest, theArrowLiesOnThePictureWithItsHotSpotAtThePointer) {
    painter.setArrowPointer();
    painter.fill(0, 0, 640, 480, 0x3377bb);
    painter.movePointer(200, 100);
    const auto stream = run();
    const ScreenPicture expected = expectedPicture(0x3377bb);
    EXPECT_EQ(newestPicture(), expected);
    ScreenPicture bare(640, 480);
    bare.fill(0, 0, 640, 480, 0x3377bb);
    EXPECT_NE(expected, bare);
    stop(*stream);
}

TEST_F(X11CursorTest, aMoveIsAFrameAndLeavesNoTrace) {
    painter.setArrowPointer();
    painter.fill(0, 0, 640, 480, 0x808080);
    painter.movePointer(200, 100);
    const auto stream = run();
    for (const auto& [x, y] : {std::pair{300, 100}, {301, 100}, {0, 0}, {639, 479}, {320, 479}}) {
        painter.movePointer(x, y);
        EXPECT_TRUE(waitForPicture(expectedPicture(0x808080))) << x << " " << y;
    }
    stop(*stream);
}

TEST_F(X11CursorTest, anotherShapeIsAFrame) {
    painter.setArrowPointer();
    painter.movePointer(200, 100);
    const auto stream = run();
    painter.setSquarePointer(9, 0xff0099ff);
    ScreenPicture expected(640, 480);
    expected.fill(200, 100, 9, 9, 0x0099ff);
    EXPECT_TRUE(waitForPicture(expected));
    stop(*stream);
}

TEST_F(X11CursorTest, aTranslucentPointerLetsTheScreenThrough) {
    // Half of 0x80 over each channel: 0x80 + 0x10 * 127/255 = 128 + 7.97; 0x40 + 0xff * 127/255 = 64 + 127;
    // 0 + 0x64 * 127/255 = 49.8.
    painter.fill(0, 0, 640, 480, 0x10ff64);
    painter.setSquarePointer(4, 0x80804000);
    painter.movePointer(50, 60);
    ScreenPicture expected(640, 480);
    expected.fill(0, 0, 640, 480, 0x10ff64);
    expected.fill(50, 60, 4, 4, 0x88bf32);
    const auto stream = run();
    EXPECT_EQ(newestPicture(), expected);
    stop(*stream);
}

TEST_F(X11CursorTest, withoutThePointerItsMovesAreNoFramesAndCostNothing) {
    configuration.showsCursor = false;
    painter.setArrowPointer();
    painter.movePointer(200, 100);
    const auto stream = run();
    EXPECT_EQ(newestPicture(), ScreenPicture(640, 480));
    const uint64_t wakeUps = stream->wakeUps();
    for (int x = 0; x < 100; ++x)
        painter.movePointer(x, 100);
    clock.sleep(200'000);
    EXPECT_EQ(collector->samples().size(), 1u);
    EXPECT_LE(stream->wakeUps(), wakeUps + 1);
    stop(*stream);
}

TEST_F(X11CursorTest, aPointerOutsideOfTheAreaIsNoFrameButItsComingAndGoingAre) {
    configuration.sourceRect = CGRect{{0, 0}, {320, 480}};
    painter.setSquarePointer(10, 0xffffffff);
    painter.movePointer(500, 100);
    const auto stream = run();
    for (int x = 400; x < 500; ++x)
        painter.movePointer(x, 100);
    clock.sleep(200'000);
    EXPECT_EQ(collector->samples().size(), 1u);
    painter.movePointer(315, 100);
    ScreenPicture expected(320, 480);
    expected.fill(315, 100, 5, 10, 0xffffff);
    EXPECT_TRUE(waitForPicture(expected));
    painter.movePointer(400, 100);
    EXPECT_TRUE(waitForPicture(ScreenPicture(320, 480)));
    EXPECT_EQ(collector->samples().size(), 3u);
    stop(*stream);
}

// A window that shrinks may go before it is asked where it stands.
TEST_F(X11CursorTest, thePointerNeverGoesBeyondAPictureThatIsSmallerThanWhatItIsSaidToShow) {
    painter.setSquarePointer(30, 0xff00ff00);
    painter.movePointer(15, 25);
    const auto connection = X11Display::open(server.displayName());
    X11CursorImage cursor;
    cursor.watch(*connection);
    cursor.update(*connection);
    // 20 × 30 pixels of 20 each row, and more memory around them.
    constexpr size_t kAround = 100 * 100;
    std::vector<uint32_t> memory(2 * kAround + 20 * 30, 0x5a5a5a);
    cursor.blend({reinterpret_cast<uint8_t*>(memory.data() + kAround), 20, 30, 20 * 4}, {0, 0, 640, 480});
    std::vector<uint32_t> expected(memory.size(), 0x5a5a5a);
    for (size_t y = 25; y < 30; ++y)
        std::fill_n(expected.begin() + static_cast<ptrdiff_t>(kAround + y * 20 + 15), 5, 0x00ff00u);
    EXPECT_EQ(memory, expected);
}

} // namespace vintra
