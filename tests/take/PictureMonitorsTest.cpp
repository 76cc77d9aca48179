#include "tests/take/RecorderFixture.h"

#include "Vintra/platform/simulated/SimulatedPictures.h"
#include "Vintra/take/PictureMonitors.h"
#include "Vintra/video/ExtraCameraTap.h"
#include "tests/video/CameraPartsFixture.h"

#include <string>
#include <vector>

namespace vintra {
namespace {

using Lines = std::vector<std::string>;

/// The monitors over a take that a test puts together: cameras whose pictures and losses it makes itself.
class PictureMonitorsTest : public ::testing::Test {
protected:
    void SetUp() override {
        take = std::make_unique<RunningTake>(URL::fileURL("/takes/take_video.mov"));
        isRecording.set(true);
        monitors.begin();
    }
    std::shared_ptr<ExtraCameraTap> addCamera(int number, const std::string& name,
                                              CMVideoDimensions size = {1920, 1080}) {
        auto tap = std::make_shared<ExtraCameraTap>(nullptr, machine.hostClock);
        tap->begin(start, 30);
        tap->frameSize->set(size);
        take->extraCameraRecordings.push_back(
            {.tap = tap,
             .writer = nullptr,
             .input = nullptr,
             .label = "webcam " + std::to_string(number) + " (" + name + ")",
             .name = name,
             .deviceID = name});
        return tap;
    }
    /// A picture of one shade at a time since the start.
    void picture(ExtraCameraTap& tap, double seconds, uint8_t shade) {
        auto image = pictures.make(kCVPixelFormatType_32BGRA, 16, 16, shade);
        tap.picture->record(CMSampleBuffer::makeVideo(
            std::move(image), {.duration = kCMTimeInvalid,
                               .presentationTimeStamp = start + CMTimeMakeWithSeconds(seconds, 600),
                               .decodeTimeStamp = kCMTimeInvalid}));
    }
    /// What a camera loses from one check to the next.
    void lose(ExtraCameraTap& tap, int64_t frames) { tap.count({.written = 0, .dropped = frames}); }
    void checkAt(double seconds) {
        machine.time->advanceTo(startNanoseconds + static_cast<int64_t>(seconds * 1e9));
        monitors.check();
    }
    std::string told() const { return lastError->value_or(""); }
    Lines healthLines() const { return machine.log->texts("audio-health"); }

    SimulatedMachine machine;
    SimulatedPictures pictures;
    const Platform platform = machine.platform();
    const CMTime start = machine.now();
    const int64_t startNanoseconds = machine.time->nowNanoseconds();
    CameraTestState cameraState{machine};
    Cameras cameras{cameraState.surroundings()};
    std::shared_ptr<ScreenTrack> screen = ScreenTrack::make(platform);
    std::unique_ptr<RunningTake> take;
    Published<bool> isRecording{false};
    Published<int> screenFrameRate{30};
    Published<std::optional<std::string>> lastError;
    PictureMonitors monitors{{.platform = platform,
                              .cameras = cameras,
                              .screenTrack = *screen,
                              .take = take,
                              .isRecording = isRecording,
                              .screenFrameRate = screenFrameRate,
                              .lastError = lastError}};
};

TEST_F(PictureMonitorsTest, aCameraThatSendsNothingIsToldOnceAfterTwoSeconds) {
    addCamera(2, "Cam");
    checkAt(1.9);
    EXPECT_EQ(told(), "");
    checkAt(2);
    const std::string sentence =
        "Webcam 2 (Cam) hasn't sent a picture since the recording began. Check it's "
        "switched on and in a mode that sends video. The recording is still running.";
    EXPECT_EQ(told(), sentence);
    ASSERT_EQ(healthLines().size(), 1u);
    EXPECT_EQ(healthLines()[0], "camera picture stalled mid-take on webcam 2 (Cam): nothing yet");
    checkAt(10);
    EXPECT_EQ(told(), sentence);
    EXPECT_EQ(healthLines().size(), 1u);
}

TEST_F(PictureMonitorsTest, aPictureThatStandsStillIsToldWithItsTime) {
    const auto tap = addCamera(2, "Cam");
    for (int n = 0; n <= 75; ++n)
        picture(*tap, n, static_cast<uint8_t>(n));
    for (int n = 76; n <= 77; ++n)
        picture(*tap, n, 75);
    checkAt(77);
    EXPECT_EQ(told(), "Webcam 2 (Cam) has frozen since 1:15. If it's a camera, it may have switched off or "
                      "lost its signal. The recording is still running.");
}

TEST_F(PictureMonitorsTest, aCameraThatStopsIsToldWithItsTime) {
    const auto tap = addCamera(2, "Cam");
    for (int n = 0; n <= 8; ++n)
        picture(*tap, n, static_cast<uint8_t>(n));
    checkAt(9.9);
    EXPECT_EQ(told(), "");
    checkAt(10);
    EXPECT_EQ(told(), "Webcam 2 (Cam) stopped sending a picture at 0:08. The recording is still running.");
}

TEST_F(PictureMonitorsTest, aPictureThatChangesEvery1Point9SecondsIsLive) {
    const auto tap = addCamera(2, "Cam");
    for (int n = 0; n < 20; ++n) {
        picture(*tap, n * 1.9, static_cast<uint8_t>(n));
        checkAt(n * 1.9 + 1.8);
    }
    EXPECT_EQ(told(), "");
}

TEST_F(PictureMonitorsTest, aDisplayThatHasGoneIsToldOnceATake) {
    take->stream = machine.screenCapture->makeStream({}, {}, {});
    const auto stream = machine.screenCapture->stream();
    checkAt(2);
    EXPECT_EQ(told(), "");
    stream->interruptedBecause = "The display to record isn't there.";
    checkAt(4);
    const std::string sentence =
        "The display to record isn't there. The movie shows its last picture until it is back. "
        "The recording is still running.";
    EXPECT_EQ(told(), sentence);
    EXPECT_EQ(healthLines(), (Lines{"screen gone mid-take: The display to record isn't there."}));
    stream->interruptedBecause.reset();
    checkAt(6);
    stream->interruptedBecause = "The display to record isn't there.";
    checkAt(8);
    EXPECT_EQ(told(), sentence);
    // A take later it is told again.
    lastError.set(std::nullopt);
    monitors.begin();
    checkAt(10);
    EXPECT_EQ(told(), sentence);
}

TEST_F(PictureMonitorsTest, aSentenceStandsBehindWhatTheUserIsBeingTold) {
    lastError.set("Something else.");
    addCamera(2, "Cam");
    addCamera(3, "Other");
    checkAt(2);
    EXPECT_TRUE(told().starts_with("Something else. Webcam 2 (Cam) hasn't sent a picture")) << told();
    EXPECT_NE(told().find("running. Webcam 3 (Other) hasn't sent"), std::string::npos) << told();
}

TEST_F(PictureMonitorsTest, aCameraWhoseLossIsKnownIsNotToldAgain) {
    addCamera(2, "Cam");
    take->picturesReportedFrozen.insert("webcam 2 (Cam)");
    checkAt(10);
    EXPECT_EQ(told(), "");
}

TEST_F(PictureMonitorsTest, betweenTakesNothingIsChecked) {
    addCamera(2, "Cam");
    isRecording.set(false);
    checkAt(10);
    EXPECT_EQ(told(), "");
    take.reset();
    isRecording.set(true);
    checkAt(12);
    EXPECT_EQ(told(), "");
}

/// Checks 2 seconds apart, with cameras whose picture is live.
class FrameLossMonitorTest : public PictureMonitorsTest {
protected:
    void checkAfterLosing(std::vector<int64_t> frames) {
        seconds += 2;
        for (size_t i = 0; i < frames.size(); ++i) {
            const auto& tap = take->extraCameraRecordings[i].tap;
            lose(*tap, frames[i]);
            picture(*tap, seconds, ++shade);
        }
        checkAt(seconds);
    }
    double seconds = 0;
    uint8_t shade = 0;
};

TEST_F(FrameLossMonitorTest, oneBadCheckIsNotTold) {
    addCamera(2, "Cam");
    checkAfterLosing({20});
    for (int n = 0; n < 10; ++n)
        checkAfterLosing({0});
    EXPECT_EQ(told(), "");
}

TEST_F(FrameLossMonitorTest, fiveFramesInTenSecondsAreNotTold) {
    addCamera(2, "Cam");
    for (int n = 0; n < 5; ++n)
        checkAfterLosing({1});
    EXPECT_EQ(told(), "");
}

TEST_F(FrameLossMonitorTest, tenFramesInFiveChecksAreToldAtTheFifth) {
    addCamera(2, "Cam");
    for (int n = 0; n < 4; ++n)
        checkAfterLosing({2});
    EXPECT_EQ(told(), "");
    checkAfterLosing({2});
    EXPECT_EQ(told(),
              "Your Mac can't keep up with everything in this recording, so frames are being lost from "
              "webcam 2 (Cam). The recording is still running.");
    EXPECT_EQ(healthLines(), Lines{"frames being lost mid-take: 10 in 10s from webcam 2 (Cam)"});
    for (int n = 0; n < 5; ++n)
        checkAfterLosing({50});
    EXPECT_EQ(healthLines().size(), 1u) << "once a take";
    monitors.begin();
    for (int n = 0; n < 3; ++n)
        checkAfterLosing({50});
    EXPECT_EQ(healthLines().size(), 2u) << "the next take";
}

TEST_F(FrameLossMonitorTest, threeLossyChecksAreEnoughAndOldOnesAreForgotten) {
    addCamera(2, "Cam");
    checkAfterLosing({100});
    checkAfterLosing({100});
    for (int n = 0; n < 4; ++n)
        checkAfterLosing({0});
    checkAfterLosing({100});
    EXPECT_EQ(told(), "") << "of the last five checks two lost frames";
    checkAfterLosing({0});
    checkAfterLosing({100});
    EXPECT_EQ(told(), "");
    checkAfterLosing({1});
    EXPECT_NE(told(), "");
    EXPECT_EQ(healthLines(), Lines{"frames being lost mid-take: 201 in 10s from webcam 2 (Cam)"});
}

TEST_F(FrameLossMonitorTest, everySourceThatLostIsNamedAndTheRemedyFollows) {
    addCamera(2, "Big", {3840, 2160});
    addCamera(3, "Fine");
    addCamera(4, "Small");
    checkAfterLosing({10, 0, 0});
    checkAfterLosing({0, 0, 1});
    checkAfterLosing({0, 0, 1});
    EXPECT_EQ(told(),
              "Your Mac can't keep up with everything in this recording, so frames are being lost from "
              "webcam 2 (Big) and webcam 4 (Small). The recording is still running. To keep every "
              "frame, switch Big to 1080p.");
}

TEST_F(FrameLossMonitorTest, hiddenWarningsGoToTheLogAlone) {
    machine.userDefaults->values["hideTakeWarnings"] = true;
    addCamera(2, "Cam");
    for (int n = 0; n < 3; ++n)
        checkAfterLosing({10});
    EXPECT_EQ(told(), "");
    EXPECT_EQ(healthLines().size(), 1u);
}

/// The screen's losses in a whole recorder.
class ScreenLossInTakeTest : public RecorderFixture {};

TEST_F(ScreenLossInTakeTest, aScreenThatLosesFramesForSecondsIsToldInTheTake) {
    machine.assetWriters->script = [](const URL&, AVFileType) {
        return SimulatedWriterScript{.isStalled = [](double seconds) { return seconds >= 1; }};
    };
    recorder->screenFrameRate.set(60);
    start();
    machine.run(5);
    EXPECT_EQ(lastError(), "") << "two checks with losses";
    machine.run(1);
    EXPECT_TRUE(lastError().starts_with("Your Mac can't keep up with everything in this recording, so frames "
                                        "are being lost from the screen. The recording is still running. To "
                                        "keep every frame, capture a smaller part"))
        << lastError();
    EXPECT_TRUE(*recorder->isRecording);
    stop();
}

} // namespace
} // namespace vintra
