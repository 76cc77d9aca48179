#include "tests/platform/linux/x11/X11ScreenFixture.h"
#include "tests/platform/linux/x11/X11TestWindow.h"

namespace vintra {

class X11WindowStreamTest : public X11ScreenFixture {
protected:
    explicit X11WindowStreamTest(std::vector<std::string> options = {})
        : X11ScreenFixture("640x480x24", std::move(options)) {}

    X11TestWindow open(const X11TestWindow::Settings& settings) {
        return X11TestWindow(server.displayName(), settings);
    }
    static SCContentFilter only(uint32_t window) {
        return {SCContentFilter::DesktopIndependentWindow{{window, {}, {}}}};
    }
    /// The sentence of a start that is refused.
    std::string refusal(uint32_t window) {
        const auto error = start(*makeStream(only(window)));
        EXPECT_TRUE(collector->samples().empty());
        return error ? error->localizedDescription() : "not refused";
    }
    static X11TestWindow::Settings usual() {
        return {.x = 100, .y = 100, .width = 200, .height = 120, .ground = 0x336699};
    }
    static ScreenPicture usualPicture() { return plain(200, 120, 0x336699); }
    /// What is drawn into the window shows in its picture, and nothing else.
    void drawAndExpect(X11TestWindow& window, ScreenPicture& expected, int x, int y, int width, int height,
                       uint32_t colour) {
        window.fill(x, y, width, height, colour);
        expected.fill(x, y, width, height, colour);
        EXPECT_TRUE(waitForPicture(expected));
    }
    static ScreenPicture plain(int width, int height, uint32_t colour) {
        ScreenPicture picture(width, height);
        picture.fill(0, 0, width, height, colour);
        return picture;
    }
};

TEST_F(X11WindowStreamTest, aWindowArrivesWithTheExactPixelsThatAScreenshotHas) {
    X11TestWindow window = open({.x = 37, .y = 51, .width = 200, .height = 120, .ground = 0x336699});
    window.fill(0, 0, 1, 1, 0xff0000);
    window.fill(199, 119, 1, 1, 0x00ff00);
    window.fill(17, 23, 61, 31, 0x123456);
    const auto stream = run(only(window.id()));
    const ScreenPicture reference = screenshot(std::to_string(window.id()));
    ASSERT_EQ(reference.width, 200);
    EXPECT_EQ(reference.at(199, 119), 0x00ff00u);
    EXPECT_EQ(newestPicture(), reference);
    stop(*stream);
}

TEST_F(X11WindowStreamTest, whatIsDrawnArrivesAndWhatIsDrawnBesideItIsNoFrame) {
    X11TestWindow window = open(usual());
    const auto stream = run(only(window.id()));
    painter.fill(0, 0, 90, 480, 0xffffff);
    ScreenPicture expected = usualPicture();
    drawAndExpect(window, expected, 5, 6, 7, 8, 0xabcdef);
    EXPECT_EQ(collector->samples().size(), 2u);
    stop(*stream);
}

TEST_F(X11WindowStreamTest, aStillWindowWakesNobody) {
    configuration.showsCursor = true;
    X11TestWindow window = open({.x = 100, .y = 100, .width = 200, .height = 120});
    const auto stream = run(only(window.id()));
    window.fill(0, 0, 1, 1, 0xffffff);
    ASSERT_TRUE(waitForColour(0, 0, 0xffffff));
    clock.sleep(100'000); // the look that follows the newest frame by an interval
    const uint64_t before = stream->wakeUps();
    painter.fill(0, 0, 90, 90, 0xffffff);
    clock.sleep(1'000'000);
    EXPECT_EQ(stream->wakeUps(), before);
    stop(*stream);
}

TEST_F(X11WindowStreamTest, aCoveredWindowShowsItsOwnContentsAndWhatIsDrawnBeneath) {
    X11TestWindow window = open(usual());
    window.fill(50, 50, 20, 20, 0x00ff00);
    const auto stream = run(only(window.id()));
    ScreenPicture expected = usualPicture();
    expected.fill(50, 50, 20, 20, 0x00ff00);
    EXPECT_EQ(newestPicture(), expected);
    X11TestWindow cover = open({.x = 0, .y = 0, .width = 640, .height = 480, .ground = 0xff0000});
    EXPECT_EQ(screenshot().at(150, 150), 0xff0000u);
    drawAndExpect(window, expected, 0, 0, 10, 10, 0x0000ff);
    EXPECT_EQ(screenshot().at(105, 105), 0xff0000u); // what the user sees is left as it was
    stop(*stream);
}

TEST_F(X11WindowStreamTest, aWindowThatIsCoveredFromTheStartShowsWhatItDraws) {
    X11TestWindow window = open(usual());
    X11TestWindow cover = open({.x = 50, .y = 50, .width = 300, .height = 300, .ground = 0xff0000});
    const auto stream = run(only(window.id()));
    ScreenPicture expected = usualPicture();
    drawAndExpect(window, expected, 10, 10, 50, 50, 0x123456);
    stop(*stream);
}

TEST_F(X11WindowStreamTest, aWindowPartlyOutsideOfTheScreenIsWhole) {
    X11TestWindow window = open({.x = -50, .y = 440, .width = 200, .height = 120, .ground = 0x336699});
    const auto stream = run(only(window.id()));
    ScreenPicture expected = usualPicture();
    drawAndExpect(window, expected, 0, 100, 20, 20, 0x123456);
    stop(*stream);
}

TEST_F(X11WindowStreamTest, aMoveIsNoFrameAndTheContentsStay) {
    X11TestWindow window = open(usual());
    const auto stream = run(only(window.id()));
    for (int x = 0; x < 300; x += 50)
        window.move(x, 200);
    ScreenPicture expected = usualPicture();
    drawAndExpect(window, expected, 1, 2, 3, 4, 0x654321);
    stop(*stream);
}

TEST_F(X11WindowStreamTest, aResizeGivesFramesOfTheNewSize) {
    X11TestWindow window = open(usual());
    const auto stream = run(only(window.id()));
    for (const auto& [width, height] : {std::pair{300, 200}, {300, 90}, {44, 22}, {640, 480}}) {
        window.resize(width, height);
        window.fill(width - 5, height - 5, 5, 5, 0xfedcba);
        ASSERT_TRUE(waitUntil([&] { return newestPicture()->width == width; }));
        EXPECT_TRUE(waitForColour(width - 1, height - 1, 0xfedcba)) << width << "x" << height;
        EXPECT_EQ(newestPicture()->height, height);
        EXPECT_EQ(newestPicture()->at(0, 0), 0x336699u);
    }
    EXPECT_TRUE(listener->errors().empty());
    stop(*stream);
}

TEST_F(X11WindowStreamTest, oddSidesLoseTheirLastRowAndColumn) {
    X11TestWindow window = open({.x = 33, .y = 35, .width = 101, .height = 77, .ground = 0x336699});
    window.fill(99, 75, 2, 2, 0xffff00);
    const auto stream = run(only(window.id()));
    ScreenPicture expected = plain(100, 76, 0x336699);
    expected.fill(99, 75, 1, 1, 0xffff00);
    EXPECT_EQ(newestPicture(), expected);
    stop(*stream);
}

TEST_F(X11WindowStreamTest, aBorderIsNotPartOfThePicture) {
    X11TestWindow window =
        open({.x = 100, .y = 100, .width = 50, .height = 40, .border = 7, .ground = 0x336699});
    const auto stream = run(only(window.id()));
    EXPECT_EQ(newestPicture(), plain(50, 40, 0x336699));
    window.fill(49, 39, 1, 1, 0xffffff);
    EXPECT_TRUE(waitForColour(49, 39, 0xffffff));
    window.resize(60, 50);
    ASSERT_TRUE(waitUntil([&] { return newestPicture()->width == 60; }));
    EXPECT_EQ(newestPicture()->at(0, 0), 0x336699u);
    stop(*stream);
}

TEST_F(X11WindowStreamTest, aShadowThatTheProgramDrawsIsNotPartOfThePicture) {
    configuration.showsCursor = true;
    painter.setSquarePointer(8, 0xffff0000);
    painter.movePointer(10, 10);
    X11TestWindow window = open(usual());
    window.setShadow(10, 14, 6, 20);
    window.fill(10, 6, 176, 94, 0x00ff00);
    const auto stream = run(only(window.id()));
    ScreenPicture expected = plain(176, 94, 0x00ff00);
    EXPECT_TRUE(waitForPicture(expected));
    window.fill(12, 7, 5, 5, 0xabcdef);
    expected.fill(2, 1, 5, 5, 0xabcdef);
    EXPECT_TRUE(waitForPicture(expected));
    window.fill(0, 0, 8, 5, 0x123456); // the shadow
    painter.movePointer(100 + 10 + 40, 100 + 6 + 30);
    ScreenPicture pointed = expected;
    pointed.fill(40, 30, 8, 8, 0xff0000);
    EXPECT_TRUE(waitForPicture(pointed));
    painter.movePointer(10, 10);
    EXPECT_TRUE(waitForPicture(expected));
    // As when it is maximised.
    window.setShadow(0, 0, 0, 0);
    ScreenPicture whole = plain(200, 120, 0x336699);
    whole.fill(10, 6, 176, 94, 0x00ff00);
    whole.fill(12, 7, 5, 5, 0xabcdef);
    whole.fill(0, 0, 8, 5, 0x123456);
    EXPECT_TRUE(waitForPicture(whole));
    // More than there is, and less than nothing.
    window.setShadow(150, 50, 0, 0);
    window.setShadow(-1, -1, 4, 0);
    window.setShadow(0, 0, 0, 20);
    whole = plain(200, 100, 0x336699);
    whole.fill(10, 6, 176, 94, 0x00ff00);
    whole.fill(12, 7, 5, 5, 0xabcdef);
    whole.fill(0, 0, 8, 5, 0x123456);
    EXPECT_TRUE(waitForPicture(whole));
    stop(*stream);
}

TEST_F(X11WindowStreamTest, aWindowInAFrameIsCapturedWithoutTheFrame) {
    X11TestWindow window =
        open({.x = 100, .y = 100, .width = 200, .height = 120, .ground = 0x336699, .hasFrame = true});
    const auto stream = run(only(window.id()));
    EXPECT_EQ(newestPicture(), usualPicture());
    X11TestWindow cover = open({.x = 0, .y = 0, .width = 640, .height = 480, .ground = 0xff0000});
    window.fill(3, 3, 30, 30, 0x00ff00);
    ASSERT_TRUE(waitForColour(5, 5, 0x00ff00));
    EXPECT_EQ(newestPicture()->at(199, 119), 0x336699u);
    stop(*stream);
}

TEST_F(X11WindowStreamTest, aTranslucentWindowHasItsOwnColours) {
    X11TestWindow window =
        open({.x = 100, .y = 100, .width = 100, .height = 80, .ground = 0xff336699, .hasAlpha = true});
    window.fill(10, 10, 20, 20, 0x80402010); // half of 0x804020, premultiplied
    const auto stream = run(only(window.id()));
    ScreenPicture expected = plain(100, 80, 0x336699);
    expected.fill(10, 10, 20, 20, 0x402010);
    EXPECT_EQ(newestPicture(), expected);
    window.fill(50, 50, 10, 10, 0x00ffffff);
    expected.fill(50, 50, 10, 10, 0xffffff);
    EXPECT_TRUE(waitForPicture(expected));
    stop(*stream);
}

TEST_F(X11WindowStreamTest, thePointerShowsWhereItIsOverTheWindow) {
    configuration.showsCursor = true;
    painter.setSquarePointer(8, 0xffffffff);
    painter.movePointer(20, 20);
    X11TestWindow window =
        open({.x = 100, .y = 100, .width = 200, .height = 120, .ground = 0x336699, .hasFrame = true});
    const int left = 101 + X11TestWindow::kFrameLeft; // the frame has a border of 1
    const int top = 101 + X11TestWindow::kFrameTop;
    const auto stream = run(only(window.id()));
    const ScreenPicture bare = usualPicture();
    EXPECT_EQ(newestPicture(), bare);
    const auto with = [&bare](int x, int y) {
        ScreenPicture picture = bare;
        picture.fill(x, y, 8, 8, 0xffffff);
        return picture;
    };
    painter.movePointer(left + 50, top + 60);
    EXPECT_TRUE(waitForPicture(with(50, 60)));
    window.move(110, 130);
    EXPECT_TRUE(waitForPicture(with(40, 30)));
    painter.movePointer(left + 10 + 199, top + 30 + 119);
    EXPECT_TRUE(waitForPicture(with(199, 119)));
    painter.movePointer(20, 20);
    EXPECT_TRUE(waitForPicture(bare));
    stop(*stream);
}

TEST_F(X11WindowStreamTest, aPointerOverAnotherWindowInFrontIsNotInThePicture) {
    configuration.showsCursor = true;
    painter.setSquarePointer(8, 0xffffffff);
    painter.movePointer(120, 120);
    X11TestWindow window = open(usual());
    X11TestWindow cover = open({.x = 100, .y = 100, .width = 50, .height = 50, .ground = 0xff0000});
    const auto stream = run(only(window.id()));
    EXPECT_EQ(newestPicture(), usualPicture());
    painter.movePointer(250, 180);
    ScreenPicture expected = usualPicture();
    expected.fill(150, 80, 8, 8, 0xffffff);
    EXPECT_TRUE(waitForPicture(expected));
    painter.movePointer(120, 120);
    EXPECT_TRUE(waitForPicture(usualPicture()));
    stop(*stream);
}

TEST_F(X11WindowStreamTest, aWindowThatClosesEndsTheStreamWithASentence) {
    X11TestWindow window = open({.x = 100, .y = 100, .width = 200, .height = 120});
    const auto stream = run(only(window.id()));
    window.close();
    ASSERT_TRUE(waitUntil([&] { return !listener->errors().empty(); }));
    EXPECT_EQ(listener->errors().front().localizedDescription(),
              "The window to record isn't there: it was closed.");
    stop(*stream);
    EXPECT_EQ(listener->errors().size(), 1u);
    EXPECT_EQ(collector->samples().size(), 1u);
}

TEST_F(X11WindowStreamTest, aProgramThatEndsWithItsWindowEndsTheStream) {
    auto window = std::make_unique<X11TestWindow>(
        server.displayName(),
        X11TestWindow::Settings{.x = 1, .y = 1, .width = 200, .height = 120, .hasFrame = true});
    const auto stream = run(only(window->id()));
    window.reset();
    EXPECT_TRUE(waitUntil([&] { return listener->errors().size() == 1; }));
}

TEST_F(X11WindowStreamTest, aHiddenWindowKeepsItsLastPictureAndGoesOnWhenItIsShown) {
    for (const bool hasFrame : {false, true}) {
        collector->forget();
        X11TestWindow window =
            open({.x = 100, .y = 100, .width = 200, .height = 120, .ground = 0x336699, .hasFrame = hasFrame});
        const auto stream = run(only(window.id()));
        window.fill(0, 0, 200, 120, 0x111111);
        ASSERT_TRUE(waitForColour(199, 119, 0x111111));
        const size_t frames = collector->samples().size();
        window.hide();
        painter.fill(0, 0, 640, 480, 0xffffff);
        clock.sleep(300'000);
        EXPECT_EQ(collector->samples().size(), frames);
        EXPECT_TRUE(listener->errors().empty());
        window.show();
        window.fill(0, 0, 200, 120, 0x222222);
        EXPECT_TRUE(waitForPicture(plain(200, 120, 0x222222)));
        stop(*stream);
    }
}

TEST_F(X11WindowStreamTest, aWindowThatIsResizedWhileHiddenComesBackInItsNewSize) {
    X11TestWindow window = open(usual());
    const auto stream = run(only(window.id()));
    window.hide();
    window.resize(90, 70);
    window.show();
    EXPECT_TRUE(waitForPicture(plain(90, 70, 0x336699)))
        << newestPicture()->width << "x" << newestPicture()->height << " " << std::hex
        << newestPicture()->at(0, 0) << std::dec << ", " << listener->errors().size() << " errors, "
        << stream->wakeUps() << " wake-ups";
    stop(*stream);
}

TEST_F(X11WindowStreamTest, aHiddenWindowCostsNothingWhileThePointerLiesStill) {
    configuration.showsCursor = true;
    X11TestWindow window = open({.x = 100, .y = 100, .width = 200, .height = 120});
    const auto stream = run(only(window.id()));
    window.hide();
    clock.sleep(200'000);
    const uint64_t before = stream->wakeUps();
    clock.sleep(500'000);
    EXPECT_EQ(stream->wakeUps(), before);
    stop(*stream);
}

TEST_F(X11WindowStreamTest, theServerGoingEndsTheStream) {
    auto window = std::make_unique<X11TestWindow>(server.displayName(), X11TestWindow::Settings{});
    const auto stream = run(only(window->id()));
    window.reset();
    server.kill();
    EXPECT_TRUE(waitUntil([&] { return listener->errors().size() == 1; }));
}

TEST_F(X11WindowStreamTest, afterTheStreamTheWindowIsOnTheScreenAsBefore) {
    X11TestWindow window = open(usual());
    auto stream = run(only(window.id()));
    window.fill(0, 0, 200, 120, 0x445566);
    ASSERT_TRUE(waitForColour(0, 0, 0x445566));
    stop(*stream);
    stream.reset();
    ScreenPicture expected(640, 480);
    expected.fill(100, 100, 200, 120, 0x445566);
    EXPECT_EQ(screenshot(), expected);
}

TEST_F(X11WindowStreamTest, twoStreamsOfOneWindowShowTheSame) {
    X11TestWindow window = open(usual());
    const auto first = run(only(window.id()));
    const auto second = run(only(window.id()));
    stop(*first);
    window.fill(0, 0, 10, 10, 0x010203);
    EXPECT_TRUE(waitForColour(9, 9, 0x010203));
    stop(*second);
}

TEST_F(X11WindowStreamTest, aWindowThatNeverWasOrHasClosedIsRefused) {
    EXPECT_EQ(refusal(0x7654321), "The window to record isn't there: it was closed.");
    X11TestWindow window = open({});
    window.close();
    EXPECT_EQ(refusal(window.id()), "The window to record isn't there: it was closed.");
}

TEST_F(X11WindowStreamTest, aWindowThatIsntShownIsRefused) {
    X11TestWindow window = open({});
    window.hide();
    EXPECT_EQ(refusal(window.id()),
              "The window to record isn't shown: it is minimised or hidden. Bring it up, and start again.");
}

TEST_F(X11WindowStreamTest, aWindowWithoutPixelsIsRefused) {
    X11TestWindow window = open({.isInputOnly = true});
    EXPECT_EQ(
        refusal(window.id()),
        "This window can't be recorded: its pixels aren't red, green and blue. Record the display, or a region "
        "of it.");
}

class X11WindowWithoutCompositeTest : public X11WindowStreamTest {
protected:
    X11WindowWithoutCompositeTest()
        : X11WindowStreamTest({"-extension", "Composite"}) {}
};

TEST_F(X11WindowWithoutCompositeTest, isRefusedInASentenceAndTheDisplayIsNot) {
    X11TestWindow window = open(usual());
    EXPECT_EQ(refusal(window.id()),
              "A single window can't be recorded on this X server: it lacks the extension Composite. Turn "
              "that on in the server's configuration, or record the display or a region of it.");
    const auto stream = run();
    EXPECT_EQ(newestPicture()->at(150, 150), 0x336699u);
    stop(*stream);
}

class X11WindowWithoutSharedMemoryTest : public X11WindowStreamTest {
protected:
    X11WindowWithoutSharedMemoryTest()
        : X11WindowStreamTest({"-extension", "MIT-SHM"}) {}
};

TEST_F(X11WindowWithoutSharedMemoryTest, arrivesWithItsExactPixels) {
    X11TestWindow window = open({.x = -10, .y = 100, .width = 200, .height = 120, .ground = 0x336699});
    const auto stream = run(only(window.id()));
    EXPECT_EQ(newestPicture(), usualPicture());
    window.fill(0, 0, 5, 5, 0x0f0f0f);
    EXPECT_TRUE(waitForColour(4, 4, 0x0f0f0f));
    stop(*stream);
}

} // namespace vintra
