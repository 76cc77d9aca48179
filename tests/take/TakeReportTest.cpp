#include "Vintra/take/TakeReport.h"

#include "Vintra/platform/simulated/SimulatedMachine.h"
#include "tests/video/CameraPartsFixture.h"

#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vintra {
namespace {

/// The report of a take that a test puts together: which tracks it has and what they received.
class TakeReportTest : public ::testing::Test {
protected:
    void SetUp() override {
        machine.fileManager->createDirectory(URL::fileURL("/takes"));
        track->begin(start);
    }
    /// A track of sound that received `seconds` of it from the start on.
    template <typename Track>
    std::shared_ptr<Track> sound(const std::string& name, double seconds, bool sawSignal = true) {
        auto made = std::make_shared<Track>();
        made->writer = machine.assetWriters->makeWriter(URL::fileURL("/takes/" + name), AVFileType::wave);
        made->input = machine.assetWriters->makeInput(AVAudioSettings{}, true);
        made->sawSignal = sawSignal;
        if (seconds <= 0) return made;
        made->firstSamplePTS = start;
        made->lastSamplePTS = start + CMTimeMakeWithSeconds(seconds, kHostTimescale);
        return made;
    }
    ExtraCameraRecording camera(int number, const std::string& name, int64_t frames, int64_t drops) {
        const auto tap = std::make_shared<ExtraCameraTap>(nullptr, machine.hostClock);
        tap->begin(start, 30);
        tap->count({.written = frames, .dropped = drops});
        return {.tap = tap,
                .writer = nullptr,
                .input = nullptr,
                .label = "webcam " + std::to_string(number) + " (" + name + ")",
                .name = name,
                .deviceID = name};
    }
    TakeObservations observe(bool capturesSystemAudio = false) {
        return observeTake({.take = take,
                            .cameras = cameras,
                            .screenTrack = *track,
                            .log = *machine.log,
                            .capturesSystemAudio = capturesSystemAudio,
                            .screenFrameRate = 30,
                            .windowSize = windowSize},
                           machine.now(), status);
    }

    SimulatedMachine machine;
    const CMTime start = machine.now();
    const Platform platform = machine.platform();
    CameraTestState cameraState{machine};
    Cameras cameras{cameraState.surroundings()};
    std::shared_ptr<ScreenTrack> track = ScreenTrack::make(platform);
    RunningTake take{URL::fileURL("/takes/take_video.mov")};
    std::optional<CGSize> windowSize;
    TakeStatus status;
};

TEST_F(TakeReportTest, everySoundIsNamedAsTheUserKnowsIt) {
    take.micTrack = sound<AudioTrack>("take_Voice.wav", 5);
    take.dawTrack = sound<AudioTrack>("take_computer-audio.wav", 4, false);
    const auto group = std::make_shared<ExtraInputDeviceGroup>();
    group->tracks = {sound<ExtraInputTrack>("take_Left.wav", 0, false)};
    take.extraInputGroups = {group};
    take.micTrack->droppedBufferCount = 2;
    group->tracks[0]->droppedBufferCount = 3;
    const TakeObservations seen = observe();
    ASSERT_EQ(seen.sounds.size(), 3u);
    EXPECT_EQ(seen.sounds[0].name, "microphone");
    EXPECT_EQ(seen.sounds[0].lastSamplePTS, start + CMTimeMake(5, 1));
    EXPECT_TRUE(seen.sounds[0].sawSignal);
    EXPECT_EQ(seen.sounds[1].name, "virtual input");
    EXPECT_FALSE(seen.sounds[1].sawSignal);
    EXPECT_EQ(seen.sounds[2].name, "take_Left");
    EXPECT_FALSE(seen.sounds[2].firstSamplePTS.has_value());
    EXPECT_EQ(seen.droppedAudioBuffers, 5);
    EXPECT_EQ(observe(true).sounds[1].name, "computer audio");
}

TEST_F(TakeReportTest, extraCamerasWithoutAPictureAreNamedAndLossesAddedUp) {
    take.extraCameraRecordings = {camera(2, "Side", 0, 0), camera(3, "Top", 10, 4), camera(4, "Back", 0, 1)};
    const TakeObservations seen = observe();
    EXPECT_EQ(seen.extraCamerasWithoutVideo, (std::vector<std::string>{"Side", "Back"}));
    EXPECT_EQ(seen.droppedWebcamFrames, 5);
    EXPECT_FALSE(seen.webcamWithoutVideo) << "there is no first camera";
    EXPECT_EQ(status.lastCameraTakeSummary,
              (std::vector<std::string>{"last take · webcam 2 (Side): no frames",
                                        "last take · webcam 3 (Top): no frames",
                                        "last take · webcam 4 (Back): no frames"}));
}

TEST_F(TakeReportTest, aFirstCameraWithoutAPictureIsNoticed) {
    take.webcamWriter =
        machine.assetWriters->makeWriter(URL::fileURL("/takes/take_webcam.mov"), AVFileType::quickTimeMovie);
    EXPECT_TRUE(observe().webcamWithoutVideo);
    cameras.webcam().frames->add(1);
    EXPECT_FALSE(observe().webcamWithoutVideo);
}

TEST_F(TakeReportTest, aCameraThatFrozeIsToldAndLoggedOneThatSentNothingIsNot) {
    take.extraCameraRecordings = {camera(2, "Side", 0, 0), camera(3, "Top", 10, 0)};
    machine.run(30); // neither watch has seen a picture
    const TakeObservations seen = observe();
    ASSERT_EQ(seen.pictureStalls.size(), 1u);
    EXPECT_EQ(seen.pictureStalls[0], "Webcam 3 (Top) froze from 0:00 to the end of the recording.");
    const auto lines = machine.log->texts("audio-health");
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_TRUE(lines[0].starts_with("camera picture on webcam 3 (Top): froze ")) << lines[0];
}

TEST_F(TakeReportTest, theScreensLossesAreSummedUpBehindItsBeat) {
    status.lastScreenBeatSummary =
        "on a 30 fps beat: 0 repeated, 0 left out, 0 skipped while the writer was behind";
    observe();
    EXPECT_EQ(status.lastScreenDropSummary,
              "last take dropped no screen frames · " + status.lastScreenBeatSummary);
}

TEST_F(TakeReportTest, aWindowIsToldOfFromMoreThanFourPointsOn) {
    const CGSize before{300, 200};
    EXPECT_EQ(windowSizeNote(before, CGSize{304, 196}), std::nullopt);
    EXPECT_EQ(
        windowSizeNote(before, CGSize{300, 204.5}),
        "The window changed size during recording (300×200 → 300×204). The video keeps the dimensions it "
        "started with, so the picture was scaled to fit.");
    EXPECT_TRUE(windowSizeNote(before, CGSize{295.9, 200}));
    EXPECT_EQ(windowSizeNote(before, std::nullopt), std::nullopt) << "it has gone";
    EXPECT_EQ(windowSizeNote(std::nullopt, before), std::nullopt) << "no window was recorded";
    take.recordingWindowSize = before;
    windowSize = CGSize{400, 200};
    EXPECT_TRUE(observe().windowNote);
}

/// What is advised, by the pictures of a take.
class FrameLossAdviceTest : public TakeReportTest {
protected:
    void addCamera(const std::string& name, CMVideoDimensions size) {
        const auto tap = std::make_shared<CameraTap>(machine.hostClock);
        tap->frameSize->set(size);
        list.push_back({"webcam (" + name + ")", name, name, tap});
    }
    std::string advice(int frameRate, std::optional<CMVideoDimensions> screen) {
        const auto input = screen
                               ? machine.assetWriters->makeInput(
                                     AVVideoSettings{.width = screen->width, .height = screen->height}, true)
                               : nullptr;
        return frameLossRemedy(list, input.get(), frameRate);
    }
    std::vector<RecordingCamera> list;
    static constexpr CMVideoDimensions kFullHD{1920, 1080};
    static constexpr CMVideoDimensions k4K{3840, 2160};
};

TEST_F(FrameLossAdviceTest, nothingWouldHelpASmallTake) {
    EXPECT_EQ(advice(30, kFullHD), "");
    EXPECT_EQ(advice(60, std::nullopt), "") << "there is no screen to slow down";
    addCamera("Desk", kFullHD);
    EXPECT_EQ(advice(30, kFullHD), "");
}

TEST_F(FrameLossAdviceTest, largeCamerasAreNamed) {
    addCamera("Desk", k4K);
    EXPECT_EQ(advice(30, std::nullopt), "To keep every frame, switch Desk to 1080p.");
    addCamera("Small", kFullHD);
    addCamera("Side", k4K);
    EXPECT_EQ(advice(30, std::nullopt), "To keep every frame, switch Desk and Side to 1080p.");
    addCamera("Top", k4K);
    EXPECT_EQ(advice(30, std::nullopt), "To keep every frame, switch Desk, Side and Top to 1080p.");
}

TEST_F(FrameLossAdviceTest, aCameraIsLargeAboveTwiceFullHD) {
    addCamera("Desk", {2880, 1440}); // 4,147,200 pixels, which is just that
    EXPECT_EQ(advice(30, std::nullopt), "");
    addCamera("Side", {2880, 1442});
    EXPECT_EQ(advice(30, std::nullopt), "To keep every frame, switch Side to 1080p.");
}

TEST_F(FrameLossAdviceTest, aCameraOfUnknownSizeIsNotLarge) {
    addCamera("Desk", {0, 0});
    EXPECT_EQ(advice(30, std::nullopt), "");
}

TEST_F(FrameLossAdviceTest, severalSmallCamerasAreTooMany) {
    addCamera("Desk", kFullHD);
    addCamera("Side", kFullHD);
    EXPECT_EQ(advice(30, std::nullopt), "To keep every frame, use fewer cameras.");
}

TEST_F(FrameLossAdviceTest, theScreenIsLargeAboveFullHDAndFastAbove30) {
    EXPECT_EQ(advice(30, CMVideoDimensions{1922, 1080}),
              "To keep every frame, capture a smaller part of the screen.");
    EXPECT_EQ(advice(31, kFullHD), "To keep every frame, set the screen to 30 fps.");
}

TEST_F(FrameLossAdviceTest, allOfItStandsInOneOrder) {
    addCamera("Desk", kFullHD);
    addCamera("Side", kFullHD);
    EXPECT_EQ(advice(60, k4K),
              "To keep every frame, capture a smaller part of the screen, use fewer cameras or set "
              "the screen to 30 fps.");
    addCamera("Top", k4K);
    EXPECT_EQ(advice(60, k4K),
              "To keep every frame, switch Top to 1080p, capture a smaller part of the screen or "
              "set the screen to 30 fps.");
}

} // namespace
} // namespace vintra
