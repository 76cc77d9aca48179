// Takes of one window by the program itself.

#include "tests/platform/linux/x11/X11TestWindow.h"
#include "tests/programs/AreaTakeFixture.h"
#include "tests/support/MediaProbe.h"

#include <cstdio>

namespace vintra {
namespace {

class WindowTakeTest : public AreaTakeFixture {
protected:
    static std::string hex(uint32_t number) {
        char text[16];
        std::snprintf(text, sizeof text, "0x%x", number);
        return text;
    }
    void expectColour(const std::string& name, MediaProbe::Area area, uint32_t colour) {
        const auto mean = MediaProbe::meanColour(movie(name), 0, area);
        EXPECT_NEAR(mean[0], colour >> 16, 2);
        EXPECT_NEAR(mean[1], colour >> 8 & 255, 2);
        EXPECT_NEAR(mean[2], colour & 255, 2);
    }
};

TEST_F(WindowTakeTest, windowsAreListedFromTheFront) {
    const auto back = painter.openWindow(100, 50, 301, 200, "Notes", 4321);
    const auto front = painter.openWindow(150, 80, 200, 150, "", 4321);
    painter.openWindow(10, 10, 40, 300, "too narrow", 4321);
    const Json windows = list()["windows"];
    ASSERT_EQ(windows.size(), 2u) << windows;
    EXPECT_EQ(windows[0]["id"], front);
    EXPECT_EQ(windows[0]["title"], "");
    EXPECT_EQ(windows[1]["id"], back);
    EXPECT_EQ(windows[1]["application"], "painter");
    EXPECT_EQ(windows[1]["title"], "Notes");
    EXPECT_EQ(windows[1]["points"]["width"], 301);
    EXPECT_EQ(windows[1]["points"]["height"], 200);
}

TEST_F(WindowTakeTest, theMovieIsNamedAfterTheWindow) {
    const auto window = painter.openWindow(100, 50, 300, 200, "Notes", 4321);
    EXPECT_EQ(take("named", {"--window", std::to_string(window)}).json.value("screen", ""), "Window · Notes");
}

TEST_F(WindowTakeTest, aWindowIsRecordedByItselfUnderAnother) {
    X11TestWindow window(server.displayName(),
                         {.x = 60, .y = 40, .width = 301, .height = 201, .ground = 0x336699});
    window.fill(200, 100, 101, 101, 0x20c040);
    X11TestWindow cover(server.displayName(),
                        {.x = 100, .y = 80, .width = 400, .height = 300, .ground = 0xff0000});
    cover.raise();
    const Outcome outcome = take("window", {"--window", hex(window.id())});
    EXPECT_EQ(outcome.code, 0) << outcome.json;
    const MediaProbe probe(movie("window"));
    EXPECT_EQ(probe.track(0).width, 300);
    EXPECT_EQ(probe.track(0).height, 200);
    expectColour("window", {16, 16, 160, 160}, 0x336699);
}

TEST_F(WindowTakeTest, whatIsDrawnUnderTheCoverIsRecordedToo) {
    X11TestWindow window(server.displayName(),
                         {.x = 60, .y = 40, .width = 300, .height = 200, .ground = 0x336699});
    X11TestWindow cover(server.displayName(),
                        {.x = 100, .y = 80, .width = 400, .height = 300, .ground = 0xff0000});
    cover.raise();
    const auto process = startTake("drawn", {"--window", hex(window.id())}, "2");
    ASSERT_TRUE(awaitMovie("drawn"));
    // Again and again: the server keeps nothing of what is drawn under a cover before the capture has begun.
    for (int i = 0; i < 15; ++i) {
        window.fill(0, 0, 300, 200, 0x20c040);
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    EXPECT_EQ(outcomeOf(*process).code, 0);
    const auto pictures = static_cast<int>(MediaProbe(movie("drawn")).track(0).packets.size());
    const auto mean = MediaProbe::meanColour(movie("drawn"), pictures - 1, {100, 80, 150, 100});
    EXPECT_NEAR(mean[1], 0xc0, 2) << "the cover is red";
}

TEST_F(WindowTakeTest, aWindowThatGrowsDuringItsTakeIsToldOf) {
    X11TestWindow window(server.displayName(), {.width = 300, .height = 200, .ground = 0x336699});
    const auto process = startTake("grown", {"--window", hex(window.id())}, "1.5");
    ASSERT_TRUE(awaitMovie("grown"));
    window.resize(404, 300);
    const Outcome outcome = outcomeOf(*process);
    EXPECT_EQ(outcome.code, 0) << outcome.json;
    EXPECT_EQ(
        outcome.json["warnings"],
        Json::array({"The window changed size during recording (300×200 → 404×300). The video keeps the "
                     "dimensions it started with, so the picture was scaled to fit."}));
    EXPECT_EQ(MediaProbe(movie("grown")).track(0).width, 300);
}

TEST_F(WindowTakeTest, aWindowThatClosesDuringItsTakeLeavesAMovie) {
    X11TestWindow window(server.displayName(), {.width = 300, .height = 200, .ground = 0x336699});
    const auto process = startTake("closed", {"--window", hex(window.id())}, "30");
    ASSERT_TRUE(awaitMovie("closed"));
    std::this_thread::sleep_for(std::chrono::milliseconds(500)); // of picture
    window.close();
    const Outcome outcome = outcomeOf(*process);
    EXPECT_EQ(outcome.code, 1) << outcome.json;
    EXPECT_EQ(outcome.json.value("status", ""), "Stopped unexpectedly");
    EXPECT_TRUE(outcome.json.value("lastError", "").starts_with("Screen capture stopped unexpectedly ("))
        << outcome.json;
    EXPECT_FALSE(MediaProbe(movie("closed")).track(0).packets.empty());
}

TEST_F(WindowTakeTest, aWindowThatNeverWasIsRefused) {
    expectRefused({"--window", "0x7ffffff0"},
                  "There is no window 2147483632. --list shows the ones there are.");
}

} // namespace
} // namespace vintra
