// Takes of a window and of a region by the program itself, on an X server of their own.

#include "tests/platform/linux/x11/X11Painter.h"
#include "tests/platform/linux/x11/X11TestWindow.h"
#include "tests/platform/linux/x11/XvfbServer.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/MediaProbe.h"
#include "tests/support/TemporaryFolder.h"

#include <chrono>
#include <csignal>
#include <filesystem>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <thread>

namespace vintra {

class X11AreaTakeTest : public ::testing::Test {
protected:
    std::unique_ptr<ChildProcess> startTake(std::vector<std::string> options) {
        std::vector<std::string> command{VINTRA_BIN_DIR "/vintra-take",
                                         "--folder",
                                         folder.url().path(),
                                         "--name",
                                         "take",
                                         "--timeline",
                                         "none",
                                         "--fps",
                                         "30",
                                         "--json"};
        command.insert(command.end(), options.begin(), options.end());
        auto take = std::make_unique<ChildProcess>(
            command, std::vector<std::string>{"DISPLAY=" + server.displayName(),
                                              "WAYLAND_DISPLAY=", "XDG_SESSION_TYPE=x11"});
        // The first pictures are in the file.
        for (int i = 0; i < 2000 && movieSize() < 2000; ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        EXPECT_GE(movieSize(), 2000u);
        return take;
    }
    uintmax_t movieSize() const {
        std::error_code none;
        const auto size = std::filesystem::file_size(movie.path(), none);
        return none ? 0 : size;
    }
    nlohmann::json finish(ChildProcess& take) {
        take.signal(SIGINT);
        return resultOf(take);
    }
    static nlohmann::json resultOf(ChildProcess& take) {
        const std::string text = take.restOfOutput();
        take.wait();
        auto result = nlohmann::json::parse(text, nullptr, false);
        EXPECT_TRUE(result.is_object()) << text;
        return result;
    }
    void expectColour(int picture, MediaProbe::Area area, std::array<double, 3> expected) const {
        const auto colour = MediaProbe::meanColour(movie, picture, area);
        for (size_t i = 0; i < 3; ++i)
            EXPECT_NEAR(colour[i], expected[i], 3) << i;
    }
    int lastPicture() const { return static_cast<int>(MediaProbe(movie).track(0).packets.size()) - 1; }

    XvfbServer server{"640x480x24"};
    X11Painter painter{server.displayName()};
    TemporaryFolder folder;
    const URL movie = folder.file("take_video.mov");
};

TEST_F(X11AreaTakeTest, aWindowIsTheMoviesSizeAndKeepsItWhenTheWindowGrows) {
    X11TestWindow window(server.displayName(),
                         {.x = 40, .y = 30, .width = 201, .height = 121, .ground = 0x3060c0});
    const auto take = startTake({"--window", std::to_string(window.id())});
    X11TestWindow cover(server.displayName(),
                        {.x = 0, .y = 0, .width = 640, .height = 480, .ground = 0xff0000});
    window.resize(400, 240);
    window.fill(0, 0, 200, 240, 0x20a040);
    std::this_thread::sleep_for(std::chrono::milliseconds(500)); // of the take
    const auto result = finish(*take);
    EXPECT_EQ(result["status"], "Saved with warnings") << result;
    ASSERT_EQ(result["warnings"].size(), 1u) << result;
    EXPECT_EQ(
        result["warnings"][0],
        "The window changed size during recording (201×121 → 400×240). The video keeps the dimensions it "
        "started with, so the picture was scaled to fit.");
    const auto track = MediaProbe(movie).track(0);
    EXPECT_EQ(track.width, 200);
    EXPECT_EQ(track.height, 120);
    expectColour(0, {20, 20, 160, 80}, {0x30, 0x60, 0xc0});
    expectColour(lastPicture(), {10, 10, 80, 100}, {0x20, 0xa0, 0x40});
    expectColour(lastPicture(), {110, 10, 80, 100}, {0x30, 0x60, 0xc0});
}

TEST_F(X11AreaTakeTest, aWindowThatClosesEndsTheTakeWithWhatThereIs) {
    X11TestWindow window(server.displayName(),
                         {.x = 40, .y = 30, .width = 200, .height = 120, .ground = 0x3060c0});
    const auto take = startTake({"--window", std::to_string(window.id())});
    window.close();
    const auto result = resultOf(*take); // by itself
    EXPECT_EQ(result["status"], "Stopped unexpectedly") << result;
    expectColour(0, {20, 20, 160, 80}, {0x30, 0x60, 0xc0});
}

TEST_F(X11AreaTakeTest, aTakeGoesOnWithoutItsDisplayUntilThatIsBack) {
    ASSERT_TRUE(server.xrandr({"--setmonitor", "LEFT", "400/400x480/480+0+0", "screen"}));
    ASSERT_TRUE(server.xrandr({"--setmonitor", "RIGHT", "240/240x480/480+400+0", "none"}));
    painter.fill(0, 0, 640, 480, 0x20a040);
    const auto take = startTake({});
    ASSERT_TRUE(server.xrandr({"--delmonitor", "LEFT"}));
    // Longer than a display is off that changes its mode.
    std::this_thread::sleep_for(std::chrono::milliseconds(1500));
    painter.fill(0, 0, 640, 480, 0xc03060);
    ASSERT_TRUE(server.xrandr({"--setmonitor", "LEFT", "400/400x480/480+0+0", "screen"}));
    std::this_thread::sleep_for(
        std::chrono::milliseconds(2500)); // for the new picture, on a slow machine too
    const auto result = finish(*take);
    EXPECT_NE(result["status"], "Stopped unexpectedly") << result;
    EXPECT_NE(result.dump().find("of the recording the movie shows the last picture."), std::string::npos)
        << result;
    expectColour(0, {10, 10, 380, 460}, {0x20, 0xa0, 0x40});
    const auto track = MediaProbe(movie).track(0);
    const auto pictures = static_cast<int>(track.packets.size());
    ASSERT_GT(pictures, 0);
    expectColour(pictures - 1, {10, 10, 380, 460}, {0xc0, 0x30, 0x60});
}

TEST_F(X11AreaTakeTest, aRegionShowsThatPartOfTheDisplay) {
    painter.fill(0, 0, 640, 480, 0x404040);
    painter.fill(101, 51, 160, 90, 0xc03060);
    const auto take = startTake({"--region", "101,51,161,91"});
    const auto result = finish(*take);
    EXPECT_EQ(result["status"], "Saved") << result;
    const auto track = MediaProbe(movie).track(0);
    EXPECT_EQ(track.width, 160);
    EXPECT_EQ(track.height, 90);
    expectColour(0, {0, 0, 160, 90}, {0xc0, 0x30, 0x60});
}

} // namespace vintra
