#include "tests/platform/linux/x11/X11ScreenFixture.h"
#include "tests/platform/linux/x11/X11TestWindow.h"

#include "tests/support/ChildProcess.h"

#include <cmath>
#include <random>

namespace vintra {

/// Servers whose pixels aren't 8 bits of each colour, and what another program's screenshots show of them.
struct X11Depth {
    const char* screen;
    bool hasSharedMemory;
    uint32_t most[3]; ///< of red, green and blue: the value that is full
};

class X11DepthsTest : public X11ScreenFixture, public ::testing::WithParamInterface<X11Depth> {
protected:
    X11DepthsTest()
        : X11ScreenFixture(GetParam().screen, GetParam().hasSharedMemory
                                                  ? std::vector<std::string>{}
                                                  : std::vector<std::string>{"-extension", "MIT-SHM"}) {}
    int upTo(int end) { return static_cast<int>(random() % static_cast<unsigned>(end)); }
    /// ImageMagick's import cuts to 8 bits instead of rounding. With 16 it is exact: it cuts a colour's share of 65535, from
    /// which the value follows, and so its share of 255.
    ScreenPicture roundedScreenshot() const {
        ChildProcess import({"import", "-silent", "-window", "root", "-depth", "16", "ppm:-"},
                            {"DISPLAY=" + server.displayName()});
        const std::string file = import.restOfOutput();
        ScreenPicture picture(320, 240);
        const size_t length = picture.pixels.size() * 6;
        if (file.size() < length) {
            ADD_FAILURE() << "import gave no picture";
            return picture;
        }
        const auto* byte = reinterpret_cast<const unsigned char*>(file.data()) + file.size() - length;
        for (uint32_t& pixel : picture.pixels) {
            pixel = 0;
            for (const uint32_t most : GetParam().most) {
                const double value = std::ceil((byte[0] * 256 + byte[1]) * (most / 65535.0) - 1e-6);
                pixel = pixel << 8 | static_cast<uint32_t>(std::lround(value * 255 / most));
                byte += 2;
            }
        }
        return picture;
    }
    /// Any bits there are.
    void fillSomewhere() {
        painter.fill(upTo(320), upTo(240), 1 + upTo(60), 1 + upTo(60), static_cast<uint32_t>(random()));
    }

    const unsigned seed = std::random_device{}();
    std::mt19937 random{seed};
};

TEST_P(X11DepthsTest, theDisplayIsThatOfTheScreenshotAlsoAfterChanges) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    for (int i = 0; i < 200; ++i)
        fillSomewhere();
    const auto stream = run();
    EXPECT_EQ(newestPicture(), roundedScreenshot());
    for (int round = 0; round < 5; ++round) {
        for (int i = 0; i < 20; ++i)
            fillSomewhere();
        const ScreenPicture expected = roundedScreenshot();
        EXPECT_TRUE(waitForPicture(expected)) << "round " << round;
    }
    stop(*stream);
}

TEST_P(X11DepthsTest, everyValueOfEveryColourIsThatOfTheScreenshot) {
    for (uint32_t value = 0; value < 1024; ++value)
        painter.fill(static_cast<int>(value % 32) * 10, static_cast<int>(value / 32) * 7, 10, 7,
                     value | value << 10 | value << 20);
    const auto stream = run();
    EXPECT_EQ(newestPicture(), roundedScreenshot());
    stop(*stream);
}

TEST_P(X11DepthsTest, aRegionIsThatPartOfTheScreenshot) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    for (int i = 0; i < 200; ++i)
        fillSomewhere();
    configuration.sourceRect = CGRect{{33, 17}, {102, 58}};
    const auto stream = run();
    EXPECT_EQ(newestPicture(), roundedScreenshot().part(33, 17, 102, 58));
    stop(*stream);
}

TEST_P(X11DepthsTest, thePointerLiesOnThePictureAndLeavesNoTrace) {
    configuration.showsCursor = true;
    painter.setSquarePointer(9, 0xff0099ff);
    painter.movePointer(200, 100);
    const ScreenPicture bare = roundedScreenshot();
    ScreenPicture expected = bare;
    expected.fill(200, 100, 9, 9, 0x0099ff);
    const auto stream = run();
    EXPECT_EQ(newestPicture(), expected);
    painter.movePointer(20, 30);
    expected = bare;
    expected.fill(20, 30, 9, 9, 0x0099ff);
    EXPECT_TRUE(waitForPicture(expected));
    stop(*stream);
}

TEST_P(X11DepthsTest, aWindowOfTheDisplaysPixelsIsThatOfTheScreenshot) {
    X11TestWindow window(
        server.displayName(),
        {.x = 20, .y = 30, .width = 120, .height = 80, .ground = 0x2345, .isOfDisplay = true});
    window.fill(7, 9, 50, 40, 0x1abcdef);
    const auto stream = run({SCContentFilter::DesktopIndependentWindow{content().content.windows.at(0)}});
    EXPECT_EQ(newestPicture(), roundedScreenshot().part(20, 30, 120, 80));
    window.fill(0, 0, 5, 5, 0x3fedcba9);
    EXPECT_TRUE(waitForPicture(roundedScreenshot().part(20, 30, 120, 80)));
    stop(*stream);
}

TEST_P(X11DepthsTest, aWindowOfOtherPixelsThanTheDisplaysIsRecordedInItsOwn) {
    X11TestWindow window(
        server.displayName(),
        {.x = 20, .y = 30, .width = 120, .height = 80, .ground = 0xff336699, .hasAlpha = true});
    window.fill(7, 9, 50, 40, 0xfffedcba);
    const auto stream = run({SCContentFilter::DesktopIndependentWindow{content().content.windows.at(0)}});
    ScreenPicture expected(120, 80);
    expected.fill(0, 0, 120, 80, 0x336699);
    expected.fill(7, 9, 50, 40, 0xfedcba);
    EXPECT_EQ(newestPicture(), expected);
    EXPECT_EQ(expected, screenshot(std::to_string(window.id())));
    stop(*stream);
}

INSTANTIATE_TEST_SUITE_P(Servers, X11DepthsTest,
                         ::testing::Values(X11Depth{"320x240x30", true, {1023, 1023, 1023}},
                                           X11Depth{"320x240x30", false, {1023, 1023, 1023}},
                                           X11Depth{"320x240x16", true, {31, 63, 31}},
                                           X11Depth{"320x240x15", false, {31, 31, 31}}),
                         [](const auto& of) {
                             std::string name = of.param.screen;
                             return name.substr(name.rfind('x') + 1) + "Bits" +
                                    (of.param.hasSharedMemory ? "" : "OverTheConnection");
                         });

} // namespace vintra
