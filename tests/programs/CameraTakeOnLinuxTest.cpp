// Takes of cameras by the program itself, judged by what their pictures show.

#include "tests/support/ChildProcess.h"
#include "tests/support/MediaProbe.h"
#include "tests/support/ProgramRun.h"
#include "tests/support/PublishedCamera.h"
#include "tests/support/PublishedMicrophone.h"
#include "tests/support/TemporaryFolder.h"
#include "tools/testsignals/CameraPattern.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <iterator>
#include <memory>
#include <nlohmann/json.hpp>
#include <thread>

namespace vintra {
namespace {

namespace fs = std::filesystem;
using TakeJson = nlohmann::json;

/// A camera is no clock for sound, so the microphone has a timer of its own.
const std::vector<std::string> kOwnClock = {"PIPEWIRE_PROPS={ node.group = pipewire.dummy }"};

/// What the grid allows a picture to be early or late by.
constexpr double kMostSlotsOff = 0.65;
constexpr double kPhaseRounding = 1.0 / 600; // seconds

/// A picture of a movie, by what it shows and where it stands.
struct SeenPicture {
    double seconds = 0; ///< in the movie
    CameraPattern pattern;
    double host() const { return static_cast<double>(pattern.nanoseconds) * 1e-9; }
};

class CameraTakeOnLinuxTest : public ::testing::Test {
protected:
    static std::vector<SeenPicture> seen(const URL& movie) {
        const MediaProbe probe(movie);
        const MediaProbe::Track& track = probe.track(0);
        const auto pictures = MediaProbe::luma(movie);
        EXPECT_EQ(pictures.size(), track.packets.size());
        std::vector<SeenPicture> result;
        const auto width = static_cast<size_t>(track.width);
        const auto height = static_cast<size_t>(track.height);
        for (size_t i = 0; i < std::min(pictures.size(), track.packets.size()); ++i) {
            const auto pattern = CameraPattern::read({pictures[i].data(), width, height, width});
            EXPECT_TRUE(pattern) << movie.path() << " picture " << i;
            if (pattern) result.push_back({CMTimeGetSeconds(track.packets[i].time), *pattern});
        }
        return result;
    }

    /// Each picture stands in a slot that the grid allows it, and none comes twice but as the copy in a slot that
    /// has none of its own. Gives the host time of the movie's zero: the first picture lies on the grid but for the
    /// rounding of its phase.
    static double expectAtTheirSlots(const std::vector<SeenPicture>& pictures, double rate) {
        if (pictures.empty()) {
            ADD_FAILURE() << "there is no picture";
            return 0;
        }
        const double zero = pictures.front().host() - pictures.front().seconds;
        size_t copies = 0;
        for (size_t i = 1; i < pictures.size(); ++i) {
            const SeenPicture& one = pictures[i];
            EXPECT_NEAR(one.seconds - pictures[i - 1].seconds, 1 / rate, 1e-6) << "a slot is empty";
            if (one.pattern.number == pictures[i - 1].pattern.number) {
                ++copies;
                continue;
            }
            EXPECT_GT(one.pattern.number, pictures[i - 1].pattern.number);
            EXPECT_LE(std::fabs(one.host() - one.seconds - zero), kMostSlotsOff / rate + kPhaseRounding)
                << "picture " << one.pattern.number << " at " << one.seconds;
        }
        EXPECT_LE(copies, pictures.size() / 2) << "of " << pictures.size() << " pictures";
        return zero;
    }

    std::vector<std::string> command(const std::vector<std::string>& options) const {
        std::vector<std::string> all{VINTRA_BIN_DIR "/vintra-take",
                                     "--folder",
                                     folder.url().path(),
                                     "--no-screen",
                                     "--json",
                                     "--name",
                                     "take"};
        all.insert(all.end(), options.begin(), options.end());
        return all;
    }
    TakeJson take(const std::vector<std::string>& options, int exitCode = 0) const {
        const ProgramRun run = runProgram(command(options));
        EXPECT_EQ(run.exitCode, exitCode) << run.output << run.errors;
        return TakeJson::parse(run.output, nullptr, false);
    }
    std::string refused(const std::vector<std::string>& options, int exitCode) const {
        const ProgramRun run = runProgram(command(options));
        EXPECT_EQ(run.exitCode, exitCode) << run.output << run.errors;
        return run.output + run.errors;
    }

    TemporaryFolder folder;
};

TEST_F(CameraTakeOnLinuxTest, twoCamerasAndAMicrophoneHaveOneTimeline) {
    const PublishedMicrophone microphone("camera-take-mic", {}, kOwnClock);
    const PublishedCamera first("camera-take-1", {"--format", "MJPG:320x180@30", "--jitter", "4"});
    const PublishedCamera second("camera-take-2",
                                 {"--format", "YUY2:256x144@25", "--format", "YUY2:640x480@30"});
    ASSERT_TRUE(microphone.isPublished() && first.isPublished() && second.isPublished());
    const TakeJson json = take({"--seconds", "3", "--camera", "camera-take-1:Face", "--camera",
                                "camera-take-2", "--mic", "camera-take-mic", "--timeline", "resolve"});
    ASSERT_EQ(json["files"].size(), 3u) << json;
    EXPECT_EQ(json["files"][0]["kind"], "camera");
    EXPECT_EQ(json["files"][0]["camera"], "Face");
    EXPECT_EQ(json["files"][0]["rate"], 30);
    EXPECT_EQ(json["files"][1]["camera"], "Headless Camera");
    EXPECT_EQ(json["files"][1]["rate"], 25);
    EXPECT_EQ(json["files"][2]["kind"], "sound");
    EXPECT_NEAR(json["files"][2]["seconds"].get<double>(), 3, 0.25);

    const double zero = expectAtTheirSlots(seen(URL::fileURL(json["files"][0]["path"])), 30);
    const double other = expectAtTheirSlots(seen(URL::fileURL(json["files"][1]["path"])), 25);
    EXPECT_NEAR(zero, other, kPhaseRounding) << "both movies begin at one instant";

    const auto timeline = TakeJson::parse(folder.read("take.otio"), nullptr, false);
    std::string text = timeline.dump();
    for (const auto& file : json["files"]) {
        const std::string name = fs::path(file["path"].get<std::string>()).filename();
        EXPECT_NE(text.find(name), std::string::npos) << name;
    }
}

/// With VINTRA_LONG_SECONDS in the environment for so long.
TEST_F(CameraTakeOnLinuxTest, camerasOfEveryRateKeepTheirGridsWhateverTheirClocks) {
    const struct {
        const char* rate;
        double expected;
        const char* jitter; // milliseconds: half a slot, a third of the shortest
        const char* drift;
    } cases[] = {{"30000/1001", 30, "20", "200"},
                 {"25", 25, "20", "-200"},
                 {"24", 24, "20", "200"},
                 {"60", 60, "5", "-200"}};
    std::vector<std::unique_ptr<PublishedCamera>> cameras;
    const char* const seconds = std::getenv("VINTRA_LONG_SECONDS");
    std::vector<std::string> options{"--seconds", seconds != nullptr ? seconds : "3"};
    for (const auto& one : cases) {
        const std::string name = "camera-rate-" + std::to_string(cameras.size());
        cameras.push_back(std::make_unique<PublishedCamera>(
            name, std::vector<std::string>{"--format", std::string("YUY2:256x144@") + one.rate, "--jitter",
                                           one.jitter, "--drift", one.drift}));
        ASSERT_TRUE(cameras.back()->isPublished());
        options.insert(options.end(), {"--camera", name});
    }
    const TakeJson json = take(options);
    ASSERT_EQ(json["files"].size(), std::size(cases)) << json;
    std::vector<double> zeros;
    for (size_t i = 0; i < std::size(cases); ++i) {
        SCOPED_TRACE(cases[i].rate);
        EXPECT_EQ(json["files"][i]["rate"], cases[i].expected);
        zeros.push_back(expectAtTheirSlots(seen(URL::fileURL(json["files"][i]["path"])), cases[i].expected));
        EXPECT_NEAR(zeros[i], zeros[0], kPhaseRounding) << "all movies begin at one instant";
    }
}

TEST_F(CameraTakeOnLinuxTest, aCameraThatIsUnpluggedInTheTakeCostsNothingElse) {
    const PublishedMicrophone microphone("camera-loss-mic", {}, kOwnClock);
    PublishedCamera camera("camera-loss", {"--format", "NV12:320x180@30", "--description", "Desk"});
    ASSERT_TRUE(microphone.isPublished() && camera.isPublished());
    ChildProcess process(command({"--camera", "camera-loss", "--mic", "camera-loss-mic"}));
    const fs::path movie = folder.file("take_webcam.mov").path();
    while (!fs::exists(movie) || fs::file_size(movie) < 20'000)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    camera.unplug();
    PublishedCamera again("camera-loss", {"--format", "NV12:320x180@30", "--description", "Desk"});
    ASSERT_TRUE(again.isPublished());
    std::this_thread::sleep_for(std::chrono::milliseconds(500)); // the take goes on for so long
    process.signal(SIGINT);
    const std::string output = process.restOfOutput();
    EXPECT_EQ(process.wait(), 0) << output;
    const auto json = TakeJson::parse(output, nullptr, false);
    ASSERT_FALSE(json["events"].empty()) << output;
    EXPECT_EQ(
        json["events"][0]["text"],
        "Webcam device (Desk) disconnected mid-recording. That track stopped receiving data — other tracks "
        "are still recording.");
    ASSERT_EQ(json["files"].size(), 2u);
    EXPECT_FALSE(json["files"][0].contains("problem")) << output;
    EXPECT_FALSE(json["files"][1].contains("problem")) << output;
    const auto ofPictures = json["files"][0]["frames"].get<double>() / 30;
    EXPECT_GT(json["files"][1]["seconds"].get<double>(), ofPictures + 0.4) << "the sound goes on";
    expectAtTheirSlots(seen(URL::fileURL(json["files"][0]["path"])), 30);
}

TEST_F(CameraTakeOnLinuxTest, whatCannotBeRecordedIsRefusedWithASentence) {
    const PublishedCamera camera("camera-refused", {"--format", "YUY2:320x240@15"});
    ASSERT_TRUE(camera.isPublished());
    EXPECT_NE(refused({"--camera", "camera-refused", "--camera", "camera-refused:Twice"}, 2)
                  .find("“camera-refused” is named twice: a take records a camera once."),
              std::string::npos);
    EXPECT_NE(refused({"--camera", "nobody"}, 1)
                  .find("There is no camera “nobody”. --list shows the ones there are."),
              std::string::npos);
    EXPECT_TRUE(fs::is_empty(folder.url().path()));
}

TEST_F(CameraTakeOnLinuxTest, aCameraWithoutAGoodFormatIsRecordedAsItIsAndTold) {
    const PublishedCamera camera("camera-odd",
                                 {"--format", "YUY2:320x240@15", "--description", "Odd Camera"});
    ASSERT_TRUE(camera.isPublished());
    const ProgramRun run = runProgram(command({"--seconds", "1.5", "--camera", "camera-odd"}));
    EXPECT_EQ(run.exitCode, 0) << run.output << run.errors;
    EXPECT_NE(
        run.errors.find("“Odd Camera” has no format of 16:9 with 24 frames a second, so it is recorded in "
                        "the format that it is in."),
        std::string::npos)
        << run.errors;
    const MediaProbe probe(folder.file("take_webcam.mov"));
    EXPECT_EQ(probe.track(0).width, 320);
    EXPECT_EQ(probe.track(0).height, 240);
    expectAtTheirSlots(seen(folder.file("take_webcam.mov")), 15);
}

} // namespace
} // namespace vintra
