// A take of the program itself whose sound server ends and begins anew, and one whose server stays away.

#include "tests/programs/ComputerAudioFixture.h"
#include "tests/support/PrivatePipeWireServer.h"
#include "tests/support/PublishedMicrophone.h"

#include <algorithm>
#include <csignal>
#include <nlohmann/json.hpp>
#include <sstream>

namespace vintra {
namespace {

class LostServerTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (!std::getenv("DISPLAY")) GTEST_SKIP() << "there is no X server";
        ASSERT_TRUE(server.isReady());
        plugIn();
    }
    void plugIn() {
        microphone = std::make_unique<PublishedMicrophone>("lost.mic", std::vector<std::string>{},
                                                           server.environment());
        ASSERT_TRUE(microphone->isPublished());
    }
    std::unique_ptr<ChildProcess> begin() {
        const std::string errors = errorsPath();
        auto take = std::make_unique<ChildProcess>(
            std::vector<std::string>{"sh", "-c", R"(exec "$0" "$@" 2>)" + errors,
                                     VINTRA_BIN_DIR "/vintra-take", "--folder", folder.url().path(), "--name",
                                     "lost", "--timeline", "none", "--json", "--fps", "30", "--mic",
                                     "lost.mic", "--computer-audio"},
            server.environment());
        const URL wav = folder.file("lost_mic.wav");
        for (int look = 0; look < 3000 && sizeOf(wav) < 96'000; ++look)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        EXPECT_GE(sizeOf(wav), 96'000u) << errorsText();
        return take;
    }
    static uintmax_t sizeOf(const URL& url) {
        std::error_code missing;
        const auto size = std::filesystem::file_size(url.path(), missing);
        return missing ? 0 : size;
    }
    std::string errorsPath() const { return folder.file("errors.txt").path(); }
    std::string errorsText() const {
        std::ifstream stream(errorsPath());
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
    static bool awaitGrowth(std::vector<std::pair<URL, uintmax_t>> files) {
        for (auto& [url, bytes] : files)
            bytes += sizeOf(url);
        const auto hasGrown = [](const auto& file) { return sizeOf(file.first) >= file.second; };
        for (int look = 0; look < 2500; ++look) {
            if (std::ranges::all_of(files, hasGrown)) return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return false;
    }
    bool awaitEvent() const {
        for (int look = 0; look < 1000 && events().empty(); ++look)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        return !events().empty();
    }
    nlohmann::json end(ChildProcess& take) {
        take.signal(SIGINT);
        const std::string text = take.restOfOutput();
        EXPECT_EQ(take.wait(), 0) << text << errorsText();
        return nlohmann::json::parse(text, nullptr, false);
    }
    /// Every file is as long as the take, but for what a busy machine's stop takes.
    static void expectWhole(const nlohmann::json& outcome) {
        ASSERT_EQ(outcome["files"].size(), 3u) << outcome;
        const double movie = outcome["files"][0]["seconds"];
        for (const auto& file : outcome["files"]) {
            EXPECT_FALSE(file.contains("problem")) << file;
            EXPECT_NEAR(file["seconds"].get<double>(), movie, 0.8) << file;
        }
    }

    static constexpr const char* kSentence =
        "Your computer's sound service stopped mid-recording, so Mic and Virtual input stopped receiving data until "
        "it is back — other tracks are still recording.";
    PrivatePipeWireServer server;
    std::unique_ptr<PublishedMicrophone> microphone;
    TemporaryFolder folder;
};

TEST_F(LostServerTest, aTakeGoesOnAndItsSoundWhenTheServerIsBack) {
    const auto take = begin();
    server.kill();
    ASSERT_TRUE(awaitEvent()) << errorsText();
    ASSERT_TRUE(server.startAgain());
    plugIn();
    // Their files take up again: first the silence in the place of what was missed comes, then sound.
    EXPECT_TRUE(awaitGrowth(
        {{folder.file("lost_mic.wav"), 500'000}, {folder.file("lost_computer-audio.wav"), 1'000'000}}));
    const auto outcome = end(*take);
    EXPECT_EQ(outcome["status"], "Saved with warnings") << outcome;
    ASSERT_EQ(events().size(), 1u) << errorsText();
    EXPECT_EQ(events()[0]["text"], kSentence);
    EXPECT_EQ(outcome["events"].size(), 1u) << outcome;
    expectWhole(outcome);
    for (const auto& file : {outcome["files"][1], outcome["files"][2]}) {
        double end = 0;
        for (const auto& gap : file["sync"]["gaps"]) {
            if (gap["seconds"].get<double>() > 0.5)
                end = gap["at"].get<double>() + gap["seconds"].get<double>();
        }
        EXPECT_GT(end, 0.5) << file;
        EXPECT_GT(file["seconds"].get<double>(), end + 0.2) << "it was heard again: " << file;
    }
}

TEST_F(LostServerTest, aServerThatStaysAwayEndsItsTracksAndTheTakeIsSaved) {
    const auto take = begin();
    server.kill();
    ASSERT_TRUE(awaitEvent()) << errorsText();
    EXPECT_TRUE(awaitGrowth({{folder.file("lost_video.mov"), 1}})) << "the screen goes on";
    std::this_thread::sleep_for(std::chrono::milliseconds(1500)); // the take goes on for so long
    const auto outcome = end(*take);
    EXPECT_EQ(outcome["status"], "Saved with warnings") << outcome;
    EXPECT_EQ(events().size(), 1u) << errorsText();
    expectWhole(outcome);
    EXPECT_FALSE(outcome["warnings"].empty());
}

} // namespace
} // namespace vintra
