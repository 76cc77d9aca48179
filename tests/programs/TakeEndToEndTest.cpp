// Takes by the program itself, from a real X screen and a real PipeWire microphone, looked at with other
// eyes.

#include "tests/platform/linux/x11/X11Painter.h"
#include "tests/programs/RecordedWav.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/MediaProbe.h"
#include "tests/support/PublishedMicrophone.h"
#include "tests/support/SoundServerWatch.h"
#include "tests/support/TemporaryFolder.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <thread>

namespace vintra {
namespace {

using Json = nlohmann::json;

constexpr const char* kMicrophone = "vintra.test.end-to-end";
/// How a run of vintra-take ended.
struct Outcome {
    int code = 0;
    std::string text;
    Json json;
};

Outcome outcomeOf(ChildProcess& take) {
    Outcome outcome;
    outcome.text = take.restOfOutput();
    outcome.code = take.wait();
    outcome.json = Json::parse(outcome.text, nullptr, false);
    return outcome;
}

class TakeEndToEndTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (!std::getenv("DISPLAY")) GTEST_SKIP() << "there is no X server";
    }

    std::vector<std::string> takeCommand(const std::vector<std::string>& options) const {
        std::vector<std::string> command{
            VINTRA_BIN_DIR "/vintra-take", "--folder", folder.url().path(), "--timeline", "none", "--json"};
        command.insert(command.end(), options.begin(), options.end());
        return command;
    }
    /// A take that must be saved.
    Json take(const std::vector<std::string>& options) const {
        ChildProcess process(takeCommand(options));
        const Outcome outcome = outcomeOf(process);
        EXPECT_EQ(outcome.code, 0) << outcome.text;
        return outcome.json;
    }
    URL movie(const std::string& name) const { return folder.file(name + "_video.mov"); }
    URL sound(const std::string& name) const { return folder.file(name + "_mic.wav"); }

    /// Every picture on the grid of the rate, counted from the first, which stands on a 600th of a second.
    static void expectOnGrid(const MediaProbe::Track& track, int rate) {
        ASSERT_FALSE(track.packets.empty());
        const CMTime phase = track.packets.front().time;
        EXPECT_EQ(CMTimeConvertScale(phase, 600 * rate), phase);
        for (const auto& packet : track.packets) {
            const CMTime slots = packet.time - phase;
            ASSERT_EQ(CMTimeConvertScale(slots, rate), slots) << describe(packet.time);
        }
    }

    TemporaryFolder folder;
};

TEST_F(TakeEndToEndTest, aTakeIsSavedAndToldOf) {
    const PublishedMicrophone microphone(kMicrophone);
    ASSERT_TRUE(microphone.isPublished());
    SoundServerWatch server;
    const Json json = take({"--seconds", "3", "--name", "one", "--fps", "30", "--mic", kMicrophone});
    // Sound that a busy machine's sound server loses is told, and told alone.
    if (server.losses().none()) {
        EXPECT_EQ(json["status"], "Saved") << json;
        EXPECT_TRUE(json["warnings"].empty()) << json;
    }
    for (const auto& warning : json["warnings"]) {
        EXPECT_TRUE(warning.get<std::string>().starts_with("The microphone lost ") ||
                    warning.get<std::string>().starts_with("The system refused to run sound "))
            << json;
    }
    ASSERT_EQ(json["files"].size(), 2u) << json;

    const MediaProbe probe(movie("one"));
    const MediaProbe::Track& track = probe.track(0);
    EXPECT_EQ(track.codec, "h264");
    EXPECT_EQ(track.width, 1920);
    EXPECT_EQ(track.height, 1080);
    EXPECT_TRUE(track.isRec709VideoRange);
    EXPECT_FALSE(track.hasReorderedPictures);
    ASSERT_EQ(probe.tracks().size(), 2u) << "the picture and the reference of the microphone";
    EXPECT_EQ(probe.track(1).codec, "aac");
    expectOnGrid(track, 30);
    EXPECT_NEAR(static_cast<double>(track.packets.size()), 90, 4);
    for (size_t i = 1; i < track.packets.size(); ++i) {
        EXPECT_EQ(track.packets[i].time - track.packets[i - 1].time, CMTimeMake(1, 30));
        EXPECT_EQ(track.packets[i - 1].duration, CMTimeMake(1, 30));
    }
    // The microphone plays from before the take on; the first 0.3 s are silent whatever it plays.
    const auto heard = firstSound(sound("one"), 0.01);
    ASSERT_TRUE(heard.has_value());
    EXPECT_GE(*heard,
              0.27); // a gap of up to 10 ms before the first sample stays, and a busy server may lose a cycle
    EXPECT_LE(*heard, 0.6);
}

TEST_F(TakeEndToEndTest, aKeyPictureComesAtLeastOnceASecond) {
    take({"--seconds", "4", "--name", "keys", "--fps", "30"});
    const MediaProbe probe(movie("keys"));
    std::optional<CMTime> last;
    for (const auto& packet : probe.track(0).packets) {
        if (last && packet.isKey) {
            EXPECT_LE(packet.time - *last, CMTimeMake(1, 1)) << describe(packet.time);
        }
        if (packet.isKey) last = packet.time;
        ASSERT_TRUE(last.has_value()) << "the first picture is a key picture";
        EXPECT_LT(packet.time - *last, CMTimeMake(1, 1)) << describe(packet.time);
    }
}

TEST_F(TakeEndToEndTest, aColourOnTheScreenIsThatColourInTheMovie) {
    X11Painter painter(std::getenv("DISPLAY"));
    for (const uint32_t colour : {0xFF0000u, 0x00FF00u, 0x0000FFu, 0xC86432u, 0x808080u, 0x123456u}) {
        painter.fill(0, 0, 1920, 1080, colour);
        const std::string name = "colour" + std::to_string(colour);
        take({"--seconds", "0.5", "--name", name, "--fps", "30"});
        // Away from the middle, where the pointer may be.
        const auto mean = MediaProbe::meanColour(movie(name), 0, {100, 100, 600, 300});
        EXPECT_NEAR(mean[0], colour >> 16, 2) << std::hex << colour;
        EXPECT_NEAR(mean[1], colour >> 8 & 255, 2) << std::hex << colour;
        EXPECT_NEAR(mean[2], colour & 255, 2) << std::hex << colour;
    }
}

TEST_F(TakeEndToEndTest, anInterruptAtAnyMomentFinishesTheFiles) {
    const PublishedMicrophone microphone(kMicrophone);
    ASSERT_TRUE(microphone.isPublished());
    for (const int milliseconds : {20, 60, 100, 150, 200, 300, 450, 700, 1200}) {
        const std::string name = "interrupted" + std::to_string(milliseconds);
        ChildProcess process(takeCommand({"--name", name, "--fps", "30", "--mic", kMicrophone}));
        std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds)); // the moment is what is tested
        process.signal(SIGINT);
        const Outcome outcome = outcomeOf(process);
        SCOPED_TRACE(std::to_string(milliseconds) + " ms: " + outcome.text);
        const bool hasMovie = std::filesystem::exists(movie(name).path());
        // Before the program has come to its signals they end it, and there is nothing to finish.
        if (outcome.code == 128 + SIGINT) {
            EXPECT_FALSE(hasMovie);
            continue;
        }
        if (!hasMovie) {
            EXPECT_EQ(outcome.code, 1);
            EXPECT_EQ(outcome.json.value("status", ""), "Interrupted");
            continue;
        }
        EXPECT_EQ(outcome.code, 0);
        EXPECT_NO_THROW(MediaProbe{movie(name)});
        EXPECT_TRUE(outcome.json.value("status", "").starts_with("Saved"));
    }
}

TEST_F(TakeEndToEndTest, aKilledProgramLeavesAMovieThatPlays) {
    ChildProcess process(takeCommand({"--name", "killed", "--fps", "30"}));
    std::this_thread::sleep_for(std::chrono::seconds(5)); // of picture, less what the start takes
    process.kill();
    const MediaProbe probe(movie("killed"));
    EXPECT_GT(probe.track(0).packets.size(), 30u);
    expectOnGrid(probe.track(0), 30);
}

TEST_F(TakeEndToEndTest, aDiskThatFillsLosesItsOwnFileAlone) {
    const PublishedMicrophone microphone(kMicrophone);
    ASSERT_TRUE(microphone.isPublished());
    ChildProcess film({VINTRA_BIN_DIR "/moving-picture", "--content", "video"});
    ASSERT_EQ(film.readLine(), "ready");
    // A file may grow to 700 kB. The film's movie outgrows that at once; 3 s of the WAV are 432 kB.
    std::vector<std::string> command{"prlimit", "--fsize=700000"};
    const auto recorder =
        takeCommand({"--seconds", "3", "--name", "full", "--fps", "30", "--mic", kMicrophone});
    command.insert(command.end(), recorder.begin(), recorder.end());
    ChildProcess process(command);
    const Outcome outcome = outcomeOf(process);
    EXPECT_EQ(outcome.code, 1) << outcome.text;
    ASSERT_TRUE(outcome.json.is_object()) << outcome.text;
    EXPECT_EQ(outcome.json["status"], "Save failed");
    const std::string error = outcome.json.value("lastError", "");
    EXPECT_TRUE(error.starts_with("Some tracks failed to save: screen recording (")) << error;
    EXPECT_EQ(error.find("mic track"), std::string::npos) << error;
    EXPECT_TRUE(firstSound(sound("full"), 0.01).has_value());
}

TEST_F(TakeEndToEndTest, aTakeThatExistsIsNotTouched) {
    folder.write("again_video.mov", "an earlier take");
    ChildProcess process(takeCommand({"--seconds", "1", "--name", "again"}));
    const Outcome outcome = outcomeOf(process);
    EXPECT_EQ(outcome.code, 1);
    EXPECT_EQ(outcome.json["lastError"],
              "Output files already exist: again_video.mov. Choose a different session name — "
              "recording over them would fail silently.");
    EXPECT_EQ(folder.read("again_video.mov"), "an earlier take");
}

TEST_F(TakeEndToEndTest, namesOfAllKindsBecomeFiles) {
    for (const std::string name : {"it's a \"take\" & more", "Überraschung – 日本", "a/b:c", "  .hidden  "}) {
        const Json json = take({"--seconds", "0.5", "--name", name, "--fps", "30"});
        ASSERT_EQ(json["files"].size(), 1u) << json;
        EXPECT_NO_THROW(MediaProbe{URL::fileURL(json["files"][0]["path"])}) << json;
    }
    EXPECT_TRUE(std::filesystem::exists(movie("a-b-c").path()));
    EXPECT_TRUE(std::filesystem::exists(movie("hidden").path()));
}

} // namespace
} // namespace vintra
