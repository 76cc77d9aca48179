// Programs that are killed in a take, and what the next one makes of their files.

#include "tests/programs/RecordedWav.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/MediaProbe.h"
#include "tests/support/ProgramRun.h"
#include "tests/support/StallWatch.h"
#include "tests/support/TemporaryFolder.h"

#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <optional>
#include <thread>

namespace vintra {
namespace {

constexpr const char* kClicks = "vintra.headless.flash-and-click";
/// Seconds: a frame, or what a sanitizer's slowness adds to it; and the stall that a measurement bears.
constexpr double kCutOffTolerance = VINTRA_FLASH_TAKES == 10 ? 1.0 / 30 : 0.25;
constexpr double kCutOffStall = VINTRA_FLASH_TAKES == 10 ? 0.01 : 0.2;

class CutOffTakeTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (!std::getenv("DISPLAY")) GTEST_SKIP() << "there is no X server";
        ::setenv("XDG_STATE_HOME", folder.file("state").path().c_str(), 1);
    }
    void TearDown() override {
        if (stateHome) ::setenv("XDG_STATE_HOME", stateHome->c_str(), 1);
    }

    URL films() const { return folder.file("films"); }
    std::string film(const std::string& name) const { return films().appendingPathComponent(name).path(); }
    bool isThere(const std::string& name) const { return std::filesystem::exists(film(name)); }
    std::vector<std::string> command(const std::vector<std::string>& options) const {
        std::vector<std::string> command{VINTRA_BIN_DIR "/vintra-take", "--folder", films().path(), "--json"};
        command.insert(command.end(), options.begin(), options.end());
        return command;
    }
    /// Starts a take and kills it once its files are that old.
    void recordAndKill(const std::string& name, double seconds,
                       const std::vector<std::string>& options) const {
        std::vector<std::string> all{"--name", name, "--timeline", "resolve"};
        all.insert(all.end(), options.begin(), options.end());
        ChildProcess take(command(all));
        while (!isThere(name + "_video.mov"))
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        std::this_thread::sleep_for(std::chrono::duration<double>(seconds)); // the moment is what is tested
        take.kill();
    }
    /// Nothing hidden is left, neither in the folder nor in the state folder.
    void expectTidy() const {
        for (const auto& entry : std::filesystem::directory_iterator(films().path()))
            EXPECT_NE(entry.path().filename().string()[0], '.') << entry.path();
        EXPECT_TRUE(std::filesystem::is_empty(folder.file("state/vintra/unfinished-takes").path()));
    }
    /// Seconds from the flash to the click that were made at one instant; nothing if one isn't there.
    std::optional<double> clickAfterFlash(const std::string& name) const {
        const RecordedWav sound(URL::fileURL(film(name + "_mic.wav")), 1);
        const MediaProbe probe(URL::fileURL(film(name + "_video.mov")));
        const auto luma = MediaProbe::meanLuma(URL::fileURL(film(name + "_video.mov")));
        std::optional<double> click;
        for (int64_t frame = 0; frame < sound.frames() && !click; ++frame)
            if (std::abs(sound.at(frame, 0)) > 800'000)
                click = static_cast<double>(frame) / sound.sampleRate();
        std::optional<double> flash; // the one nearest to the click
        for (size_t i = 1; click && i < std::min(luma.size(), probe.track(0).packets.size()); ++i) {
            if (luma[i] <= 128 || luma[i - 1] > 128) continue;
            const double at = CMTimeGetSeconds(probe.track(0).packets[i].time);
            if (!flash || std::fabs(at - *click) < std::fabs(*flash - *click)) flash = at;
        }
        return flash ? std::optional(*click - *flash) : std::nullopt;
    }

    TemporaryFolder folder;
    const std::optional<std::string> stateHome =
        std::getenv("XDG_STATE_HOME") ? std::optional<std::string>(std::getenv("XDG_STATE_HOME"))
                                      : std::nullopt;
};

TEST_F(CutOffTakeTest, theNextProgramLinesUpWhatAKilledOneHasRecorded) {
    for (const double seconds : {2.6, 3.3}) {
        const StallWatch stalls;
        ChildProcess signal({VINTRA_BIN_DIR "/flash-and-click", "--first", "1", "--interval", "0.7"});
        ASSERT_EQ(signal.readLine(), "ready");
        const std::string name = "killed" + std::to_string(static_cast<int>(10 * seconds));
        recordAndKill(name, seconds, {"--fps", "30", "--mic", kClicks});
        signal.stop();
        ASSERT_TRUE(isThere("." + name + ".vintra"));

        const ProgramRun next = runProgram({VINTRA_BIN_DIR "/vintra-take", "--list"});
        EXPECT_EQ(next.exitCode, 0) << next.errors;
        EXPECT_NE(next.errors.find(
                      "vintra-take: Your last take was cut off; what was recorded until then is “" + name +
                      "” in “" + films().path() + "”: 2 files, lined up, and a timeline for Resolve."),
                  std::string::npos)
            << next.errors;
        expectTidy();
        const std::string timeline = [&] {
            std::ifstream file(film(name + ".otio"));
            return std::string(std::istreambuf_iterator<char>(file), {});
        }();
        EXPECT_NE(timeline.find(film(name + "_video.mov")), std::string::npos);
        EXPECT_NE(timeline.find(film(name + "_mic.wav")), std::string::npos);
        const MediaProbe movie(URL::fileURL(film(name + "_video.mov")));
        EXPECT_GE(movie.duration(), seconds - 2.5);
        const auto offset = clickAfterFlash(name);
        ASSERT_TRUE(offset.has_value() || stalls.longest() > kCutOffStall)
            << "neither flash nor click in " << name;
        if (offset && stalls.longest() <= kCutOffStall) {
            EXPECT_NEAR(*offset, 0, kCutOffTolerance);
            std::printf("killed after %.1f s: the click lies %+.1f ms from the flash\n", seconds,
                        *offset * 1000);
        }
        EXPECT_EQ(runProgram({VINTRA_BIN_DIR "/vintra-take", "--list"}).errors.find("cut off"),
                  std::string::npos);
    }
}

TEST_F(CutOffTakeTest, filesThatWereMovedAreRecoveredByHand) {
    ChildProcess signal({VINTRA_BIN_DIR "/flash-and-click", "--first", "1", "--interval", "0.7"});
    ASSERT_EQ(signal.readLine(), "ready");
    recordAndKill("moved", 2.2, {"--fps", "30", "--mic", kClicks});
    signal.stop();
    const std::string away = folder.file("away").path();
    std::filesystem::rename(films().path(), away);
    const ProgramRun wrong = runProgram({VINTRA_BIN_DIR "/vintra-take", "--recover", folder.url().path()});
    EXPECT_EQ(wrong.exitCode, 1);
    EXPECT_EQ(wrong.errors,
              "vintra-take: The folder “" + folder.url().path() +
                  "” holds no take that was cut off. Give the one in which its files lie now.\n");
    const ProgramRun right = runProgram({VINTRA_BIN_DIR "/vintra-take", "--recover", away});
    EXPECT_EQ(right.exitCode, 0) << right.errors;
    EXPECT_TRUE(right.output.starts_with(
        "Your last take was cut off; what was recorded until then is “moved” in “" + away + "”: "))
        << right.output;
    EXPECT_TRUE(std::filesystem::exists(away + "/moved.otio"));
    EXPECT_FALSE(std::filesystem::exists(away + "/.moved.vintra"));
    const ProgramRun missing = runProgram({VINTRA_BIN_DIR "/vintra-take", "--recover", away + "/nowhere"});
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_NE(missing.errors.find("it isn't there. Check the path."), std::string::npos) << missing.errors;
}

TEST_F(CutOffTakeTest, aTakeThatRunsIsLeftAloneByEveryOtherProgram) {
    ChildProcess take(command({"--name", "running", "--fps", "30", "--timeline", "resolve"}));
    while (!isThere("running_video.mov"))
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    EXPECT_EQ(runProgram({VINTRA_BIN_DIR "/vintra-take", "--list"}).errors.find("cut off"),
              std::string::npos);
    const ProgramRun other = runProgram({VINTRA_BIN_DIR "/vintra-take", "--recover", films().path()});
    EXPECT_EQ(other.exitCode, 1);
    EXPECT_NE(other.errors.find("is still being recorded, or recovered by another program."),
              std::string::npos)
        << other.errors;
    take.signal(SIGINT);
    const auto json = nlohmann::json::parse(take.restOfOutput(), nullptr, false);
    EXPECT_EQ(take.wait(), 0) << json;
    EXPECT_TRUE(json.value("status", "").starts_with("Saved")) << json;
    expectTidy();
}

} // namespace
} // namespace vintra
