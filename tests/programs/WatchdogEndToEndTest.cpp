// Faults that a take sees by watching, on a sound server of the test's own.

#include "tests/programs/ComputerAudioFixture.h"
#include "tests/support/PrivatePipeWireServer.h"
#include "tests/support/PublishedCamera.h"
#include "tests/support/PublishedMicrophone.h"

#include <algorithm>
#include <csignal>
#include <nlohmann/json.hpp>
#include <optional>
#include <sstream>

namespace vintra {
namespace {

/// Seconds from a fault to its sentence. Sound has 4 s of patience and a camera 2, each is looked at every 2 s, and
/// the machine may be busy.
constexpr double kSoonest = 3;
constexpr double kSoonestOfCamera = 1.5;
constexpr double kLatest = 15;

class WatchdogEndToEndTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (!std::getenv("XDG_RUNTIME_DIR")) GTEST_SKIP() << "there is no session";
        ASSERT_TRUE(server.isReady());
        microphone.emplace("watched.mic", std::vector<std::string>{}, server.environment());
        ASSERT_TRUE(microphone->isPublished());
    }
    std::string errorsText() const {
        std::ifstream stream(folder.file("errors.txt").path());
        return {std::istreambuf_iterator<char>(stream), {}};
    }
    std::vector<nlohmann::json> events() const {
        std::vector<nlohmann::json> found;
        std::istringstream lines(errorsText());
        for (std::string line; std::getline(lines, line);) {
            if (line.starts_with("{")) found.push_back(nlohmann::json::parse(line));
        }
        return found;
    }
    /// Seconds of the take at which it said what contains this, each time.
    std::vector<double> saidAt(const std::string& text) const {
        std::vector<double> times;
        for (const auto& event : events()) {
            if (event["text"].get<std::string>().find(text) != std::string::npos)
                times.push_back(event["seconds"]);
        }
        return times;
    }
    uintmax_t wavSize() const {
        std::error_code missing;
        const auto size = std::filesystem::file_size(folder.file("watched_mic.wav").path(), missing);
        return missing ? 0 : size;
    }
    std::unique_ptr<PublishedCamera> camera(const std::string& name) const {
        return std::make_unique<PublishedCamera>(
            name, std::vector<std::string>{"--format", "NV12:320x180@30"}, server.environment());
    }
    /// A take named "watched", on this server, with what it says on stderr in a file.
    std::vector<std::string> takeCommand(const std::vector<std::string>& options) const {
        std::vector<std::string> command{"sh",
                                         "-c",
                                         R"(exec "$0" "$@" 2>)" + folder.file("errors.txt").path(),
                                         VINTRA_BIN_DIR "/vintra-take",
                                         "--folder",
                                         folder.url().path(),
                                         "--name",
                                         "watched",
                                         "--timeline",
                                         "none",
                                         "--json",
                                         "--mic",
                                         "watched.mic",
                                         "--computer-audio"};
        command.insert(command.end(), options.begin(), options.end());
        return command;
    }
    template <typename Condition>
    static bool awaits(Condition condition) {
        for (int look = 0; look < 4000; ++look) {
            if (condition()) return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return false;
    }
    void cutTheRelaysOutput() const {
        for (const std::string channel : {"FL", "FR"}) {
            const ProgramRun run =
                runProgram({"pw-link", "-r", server.name(), "-d", "vintra.io.output:output_" + channel,
                            std::string(kOutput) + ":playback_" + channel});
            EXPECT_EQ(run.exitCode, 0) << run.errors;
        }
    }

    PrivatePipeWireServer server;
    std::optional<PublishedMicrophone> microphone;
    TemporaryFolder folder;
};

TEST_F(WatchdogEndToEndTest, aTakeTellsOfWhateverFailsQuietlyAndGoesOn) {
    constexpr const char* kMicStopped =
        "Your microphone has stopped recording — everything from this point is missing from the mic track. Stop and "
        "start a new recording; the other tracks are unaffected.";
    constexpr const char* kRelayStopped =
        "Computer audio stopped reaching your output device mid-recording. The recording is still running — restart it "
        "after this recording to fix monitoring.";
    constexpr const char* kFrozen = " has frozen since ";
    constexpr const char* kStopped = " stopped sending a picture at ";
    constexpr const char* kNeverBegan = " hasn't sent a picture since the recording began.";
    const auto freezing = camera("watched.freezing");
    const auto blackening = camera("watched.blackening");
    const auto stopping = camera("watched.stopping");
    const auto missing = camera("watched.missing");
    ASSERT_TRUE(freezing->isPublished() && blackening->isPublished() && stopping->isPublished() &&
                missing->isPublished());
    EXPECT_TRUE(missing->tell("stop"));
    ChildProcess take(
        takeCommand({"--no-screen", "--camera", "watched.freezing", "--camera", "watched.blackening",
                     "--camera", "watched.stopping", "--camera", "watched.missing"}),
        server.environment());
    ASSERT_TRUE(awaits([&] { return wavSize() > 96'000; })) << errorsText();
    microphone->freeze();
    cutTheRelaysOutput();
    EXPECT_TRUE(freezing->tell("freeze") && blackening->tell("black") && stopping->tell("stop"));
    EXPECT_TRUE(awaits([&] { return events().size() >= 6; })) << errorsText();
    const uintmax_t before = wavSize();
    microphone->thaw();
    EXPECT_TRUE(awaits([&] { return wavSize() > before + 600'000; }))
        << "it goes on, behind the silence for what it missed";

    take.signal(SIGINT);
    const std::string text = take.restOfOutput();
    EXPECT_EQ(take.wait(), 0) << text << errorsText();
    const auto outcome = nlohmann::json::parse(text, nullptr, false);
    EXPECT_EQ(outcome["status"], "Saved with warnings") << outcome;
    EXPECT_EQ(outcome["events"].size(), 6u) << "each is told once: " << outcome;
    ASSERT_EQ(outcome["files"].size(), 6u) << outcome;
    for (const auto& file : outcome["files"])
        EXPECT_FALSE(file.contains("problem")) << file;
    EXPECT_EQ(outcome["files"][3]["frames"], 0);
    const auto& mic = outcome["files"][4];
    const auto& computer = outcome["files"][5];
    EXPECT_NEAR(computer["seconds"].get<double>(), mic["seconds"].get<double>(), 0.2);
    double stoodStillFor = 0;
    double stoodStillAt = 0;
    for (const auto& gap : mic["sync"]["gaps"]) {
        if (gap["seconds"].get<double>() < stoodStillFor) continue;
        stoodStillFor = gap["seconds"];
        stoodStillAt = gap["at"];
    }
    EXPECT_GT(stoodStillFor, kSoonest) << mic;
    const auto expectTold = [&](const char* sentence, size_t times, double soonest) {
        const auto said = saidAt(sentence);
        EXPECT_EQ(said.size(), times) << sentence << errorsText();
        for (const double at : said) {
            EXPECT_GT(at - stoodStillAt, soonest) << sentence;
            EXPECT_LT(at - stoodStillAt, kLatest) << sentence;
        }
    };
    expectTold(kMicStopped, 1, kSoonest);
    expectTold(kRelayStopped, 1, kSoonest);
    expectTold(kFrozen, 2, kSoonestOfCamera);
    expectTold(kStopped, 1, kSoonestOfCamera);
    const auto neverBegan = saidAt(kNeverBegan);
    ASSERT_EQ(neverBegan.size(), 1u) << errorsText();
    EXPECT_GE(neverBegan[0], kSoonestOfCamera);
    EXPECT_LT(neverBegan[0], kLatest);
}

/// With VINTRA_LONG_SECONDS in the environment for so long.
TEST_F(WatchdogEndToEndTest, aHealthyTakeIsWarnedOfNothing) {
    const char* const seconds = std::getenv("VINTRA_LONG_SECONDS");
    const PublishedMicrophone input("watched.input", {}, server.environment());
    const auto first = camera("watched.first");
    const auto second = camera("watched.second");
    ASSERT_TRUE(input.isPublished() && first->isPublished() && second->isPublished());
    ChildProcess film({VINTRA_BIN_DIR "/moving-picture", "--content", "terminal", "--window", "640x360+0+0"});
    ASSERT_EQ(film.readLine().substr(0, 5), "ready");
    ChildProcess take(
        takeCommand({"--seconds", seconds != nullptr ? seconds : std::to_string(VINTRA_SOAK_SECONDS),
                     "--region", "0,0,640,360", "--fps", "30", "--input", "watched.input", "--camera",
                     "watched.first", "--camera", "watched.second"}),
        server.environment());
    const std::string text = take.restOfOutput();
    EXPECT_EQ(take.wait(), 0) << text << errorsText();
    const auto outcome = nlohmann::json::parse(text, nullptr, false);
    EXPECT_EQ(outcome["files"].size(), 6u) << outcome;
    // What a busy machine loses indeed is told as that, and isn't meant here.
    for (const auto& event : events())
        EXPECT_NE(event["text"].get<std::string>().find("can't keep up"), std::string::npos) << event;
}

} // namespace
} // namespace vintra
