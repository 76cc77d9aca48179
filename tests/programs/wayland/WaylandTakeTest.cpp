// Takes by the program itself on a Wayland desktop, looked at with other eyes.

#include "tests/platform/linux/wayland/WaylandScreenFixture.h"
#include "tests/platform/linux/wayland/WindowSharingPortal.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/MediaProbe.h"
#include "tests/support/MuteBus.h"
#include "tests/support/ProgramRun.h"

#include <chrono>
#include <csignal>
#include <nlohmann/json.hpp>

namespace vintra {
namespace {

using Json = nlohmann::json;

class WaylandTakeTest : public WaylandScreenFixture {
protected:
    std::vector<std::string> command(const std::string& name, const std::vector<std::string>& options) const {
        std::vector<std::string> words{WaylandSession::program("vintra-take"),
                                       "--folder",
                                       folder.url().path(),
                                       "--timeline",
                                       "none",
                                       "--json",
                                       "--fps",
                                       "30",
                                       "--name",
                                       name};
        words.insert(words.end(), options.begin(), options.end());
        return words;
    }
    std::vector<std::string> environment() const { return {"XDG_STATE_HOME=" + folder.url().path()}; }
    URL movie(const std::string& name) const { return folder.file(name + "_video.mov"); }

    /// Every picture on the grid of 30 a second, counted from the first.
    static void expectConstantRate(const MediaProbe::Track& track) {
        ASSERT_FALSE(track.packets.empty());
        for (size_t i = 1; i < track.packets.size(); ++i)
            ASSERT_EQ(track.packets[i].time - track.packets[i - 1].time, CMTimeMake(1, 30)) << i;
    }
};

TEST_F(WaylandTakeTest, aTakeOfAMovingPictureIsAConstantRateMovieOfTheDisplay) {
    window.reset();
    ASSERT_TRUE(WaylandSession::resize(kDisplay, 1280, 720));
    ChildProcess film({WaylandSession::program("painted-window"), "square"});
    ASSERT_EQ(film.readLine(), "ready");
    ChildProcess take(command("moving", {"--seconds", "3"}), environment());
    const std::string text = take.restOfOutput();
    ASSERT_EQ(take.wait(), 0) << text;
    const Json json = Json::parse(text, nullptr, false);
    EXPECT_EQ(json["status"], "Saved") << text;
    const MediaProbe probe(movie("moving"));
    EXPECT_EQ(probe.track(0).codec, "h264");
    EXPECT_EQ(probe.track(0).width, 1280);
    EXPECT_EQ(probe.track(0).height, 720);
    EXPECT_NEAR(static_cast<double>(probe.track(0).packets.size()), 90, 6);
    expectConstantRate(probe.track(0));
}

TEST_F(WaylandTakeTest, aSharedScreenIsNoCamera) {
    ChildProcess take(command("shared", {}), environment());
    const auto isShared = [] {
        return runProgram({"pw-dump"}).output.find("\"Video/Source\"") != std::string::npos;
    };
    const auto giveUp = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!isShared() && std::chrono::steady_clock::now() < giveUp)
        keepShowing();
    EXPECT_TRUE(isShared()) << "the desktop's picture is a node as a camera's is";
    const Json list =
        Json::parse(runProgram({WaylandSession::program("vintra-take"), "--list", "--json"}).output);
    EXPECT_EQ(list["cameras"], Json::array()) << list;
    keepShowing();
    take.signal(SIGINT);
    const std::string text = take.restOfOutput();
    EXPECT_EQ(take.wait(), 0) << text;
}

/// An ordinary user's real-time rights are asked for on a bus, as the screen is.
TEST_F(WaylandTakeTest, aBusThatSaysNothingEndsTheTakeInTime) {
    const MuteBus bus;
    ASSERT_TRUE(bus.isListening());
    auto surroundings = environment();
    surroundings.push_back("DBUS_SESSION_BUS_ADDRESS=" + bus.address());
    const auto begin = std::chrono::steady_clock::now();
    ChildProcess take(command("mute", {"--seconds", "1"}), surroundings);
    const std::string text = take.restOfOutput();
    EXPECT_NE(take.wait(), 0);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(30));
    EXPECT_NE(text.find("the session bus doesn't answer"), std::string::npos) << text;
}

TEST_F(WaylandTakeTest, aColourOnTheScreenIsThatColourInTheMovie) {
    for (const uint32_t colour : {0xFF0000u, 0x00FF00u, 0x0000FFu, 0xC86432u}) {
        window->fill({0, 0, 640, 480}, colour);
        window->showAndAwaitFrame();
        const std::string name = "colour" + std::to_string(colour);
        ChildProcess take(command(name, {"--seconds", "1.5"}), environment());
        keepShowing();
        const std::string text = take.restOfOutput();
        ASSERT_EQ(take.wait(), 0) << text;
        const auto mean = MediaProbe::meanColour(movie(name), 0, {20, 20, 600, 440});
        EXPECT_NEAR(mean[0], colour >> 16, 2) << std::hex << colour;
        EXPECT_NEAR(mean[1], colour >> 8 & 255, 2) << std::hex << colour;
        EXPECT_NEAR(mean[2], colour & 255, 2) << std::hex << colour;
    }
}

TEST_F(WaylandTakeTest, aRegionShowsItsEvenPartOfTheDisplay) {
    window->fill({0, 0, 640, 480}, 0xC02020);
    window->fill({101, 53, 200, 176}, 0x20A040);
    window->showAndAwaitFrame();
    ChildProcess take(command("region", {"--seconds", "0.5", "--region", "101,53,201,177"}), environment());
    keepShowing();
    const std::string text = take.restOfOutput();
    ASSERT_EQ(take.wait(), 0) << text;
    const MediaProbe probe(movie("region"));
    EXPECT_EQ(probe.track(0).width, 200);
    EXPECT_EQ(probe.track(0).height, 176);
    // The outermost two rows or columns of each side: one off, and half of them would be red.
    for (const MediaProbe::Area edge :
         {MediaProbe::Area{0, 0, 200, 2}, {0, 174, 200, 2}, {0, 0, 2, 176}, {198, 0, 2, 176}}) {
        const auto mean = MediaProbe::meanColour(movie("region"), 0, edge);
        EXPECT_NEAR(mean[0], 0x20, 12) << edge.x << ", " << edge.y;
        EXPECT_NEAR(mean[1], 0xA0, 12) << edge.x << ", " << edge.y;
        EXPECT_NEAR(mean[2], 0x40, 12) << edge.x << ", " << edge.y;
    }
}

TEST_F(WaylandTakeTest, aWindowCannotBeNamed) {
    ChildProcess list({WaylandSession::program("vintra-take"), "--list", "--json"}, environment());
    const Json machine = Json::parse(list.restOfOutput(), nullptr, false);
    const std::string reason =
        "This desktop doesn't tell programs of its windows: record a display, a region of it, or with --window 0 "
        "what you choose in the desktop's own question.";
    EXPECT_TRUE(machine["windows"].empty());
    EXPECT_EQ(machine["windowProblem"], reason);
    ChildProcess take(command("window", {"--seconds", "1", "--window", "5"}), environment());
    const Json json = Json::parse(take.restOfOutput(), nullptr, false);
    EXPECT_EQ(take.wait(), 1);
    EXPECT_EQ(json["lastError"], "There is no window 5. " + reason);
    EXPECT_FALSE(std::filesystem::exists(movie("window").path()));
}

TEST_F(WaylandTakeTest, aWindowThatTheUserChoosesIsTheWholePicture) {
    window->fill({0, 0, 640, 480}, 0xC86432);
    window->fill({0, 0, 20, 480}, 0x3264C8);
    window->showAndAwaitFrame();
    const WindowSharingPortal portal({.restoreToken = "again"});
    auto surroundings = environment();
    surroundings.push_back("DBUS_SESSION_BUS_ADDRESS=" + portal.busAddress());
    ChildProcess take(command("chosen", {"--seconds", "1", "--window", "0"}), surroundings);
    keepShowing();
    const std::string text = take.restOfOutput();
    ASSERT_EQ(take.wait(), 0) << text;
    const MediaProbe probe(movie("chosen"));
    EXPECT_EQ(probe.track(0).width, 640);
    EXPECT_EQ(probe.track(0).height, 480);
    EXPECT_NEAR(MediaProbe::meanColour(movie("chosen"), 0, {0, 0, 20, 480})[2], 0xC8, 12);
    EXPECT_NEAR(MediaProbe::meanColour(movie("chosen"), 0, {20, 0, 620, 480})[0], 0xC8, 12);
    EXPECT_EQ(std::get<uint32_t>(portal.calls().options("SelectSources")["types"]), 2u);
}

TEST_F(WaylandTakeTest, whereThePortalSharesNoWindowsTheStartSaysSo) {
    ChildProcess take(command("none", {"--seconds", "1", "--window", "0"}), environment());
    const Json json = Json::parse(take.restOfOutput(), nullptr, false);
    EXPECT_EQ(take.wait(), 1);
    EXPECT_EQ(json["lastError"],
              "A single window can't be recorded: the portal of this desktop shares only whole "
              "displays. Record the display, or a region of it.");
    EXPECT_FALSE(std::filesystem::exists(movie("none").path())) << "and never the display instead";
}

TEST_F(WaylandTakeTest, aRegionIsJustThatPartOfTheDisplay) {
    window->fill({0, 0, 640, 480}, 0xC86432);
    window->fill({101, 51, 202, 101}, 0x3264C8);
    window->showAndAwaitFrame();
    ChildProcess take(command("region", {"--seconds", "0.5", "--region", "101,51,201,101"}), environment());
    keepShowing();
    const std::string text = take.restOfOutput();
    ASSERT_EQ(take.wait(), 0) << text;
    const MediaProbe probe(movie("region"));
    EXPECT_EQ(probe.track(0).width, 200); // even, as the encoder wants it
    EXPECT_EQ(probe.track(0).height, 100);
    const auto mean = MediaProbe::meanColour(movie("region"), 0, {0, 0, 200, 100});
    EXPECT_NEAR(mean[0], 0x32, 2);
    EXPECT_NEAR(mean[1], 0x64, 2);
    EXPECT_NEAR(mean[2], 0xC8, 2);
}

TEST_F(WaylandTakeTest, aDisplayThatChangesItsSizeIsScaledIntoTheMovie) {
    ChildProcess take(command("resized", {"--seconds", "3"}), environment());
    ASSERT_TRUE(waitUntil([this] { return std::filesystem::exists(movie("resized").path()); }));
    ASSERT_TRUE(WaylandSession::resize(kDisplay, 1280, 720));
    const std::string text = take.restOfOutput();
    EXPECT_EQ(take.wait(), 0) << text;
    const MediaProbe probe(movie("resized"));
    EXPECT_EQ(probe.track(0).width, 640);
    EXPECT_EQ(probe.track(0).height, 480);
    expectConstantRate(probe.track(0));
    EXPECT_NEAR(static_cast<double>(probe.track(0).packets.size()), 90, 6);
}

TEST_F(WaylandTakeTest, aDisplayThatGoesEndsTheTakeWhichIsSaved) {
    ChildProcess take(command("gone", {}), environment());
    // A movie that has grown holds pictures.
    ASSERT_TRUE(waitUntil([this] {
        paint({0, 0, 100, 100}, 0x123456);
        std::error_code none;
        return std::filesystem::file_size(movie("gone").path(), none) > 2000 && !none;
    }));
    ASSERT_TRUE(WaylandSession::endSharing());
    const std::string text = take.restOfOutput();
    take.wait();
    const Json json = Json::parse(text, nullptr, false);
    ASSERT_TRUE(json.is_object()) << text;
    EXPECT_EQ(json["status"], "Stopped unexpectedly") << text;
    EXPECT_NE(json.value("lastError", "").find("The desktop no longer shares the screen"), std::string::npos)
        << text;
    const MediaProbe probe(movie("gone"));
    EXPECT_GT(probe.track(0).packets.size(), 5u);
    expectConstantRate(probe.track(0));
}

TEST_F(WaylandTakeTest, aRefusalFailsTheStartWithItsSentence) {
    WaylandSession::choose("");
    ChildProcess take(command("refused", {"--seconds", "1"}), environment());
    const std::string text = take.restOfOutput();
    EXPECT_EQ(take.wait(), 1);
    const Json json = Json::parse(text, nullptr, false);
    ASSERT_TRUE(json.is_object()) << text;
    EXPECT_EQ(json["status"], "Failed to start");
    EXPECT_TRUE(json.value("lastError", "").starts_with("The screen wasn't shared")) << text;
    EXPECT_FALSE(std::filesystem::exists(movie("refused").path()));
}

TEST_F(WaylandTakeTest, anInterruptDuringTheDesktopsQuestionEndsTheStart) {
    WaylandSession::OpenQuestion question;
    ChildProcess take(command("asked", {"--seconds", "1"}), environment());
    ASSERT_TRUE(question.awaitAsked());
    take.signal(SIGINT);
    const std::string text = take.restOfOutput();
    EXPECT_EQ(take.wait(), 1);
    const Json json = Json::parse(text, nullptr, false);
    ASSERT_TRUE(json.is_object()) << text;
    EXPECT_EQ(json["status"], "Interrupted");
    EXPECT_EQ(json["lastError"], "The recording was ended before the desktop had granted the screen.");
    EXPECT_FALSE(std::filesystem::exists(movie("asked").path()));
}

} // namespace
} // namespace vintra
