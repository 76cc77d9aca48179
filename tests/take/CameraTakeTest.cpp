// Whole takes with cameras: files, names, labels, what stands in which slot, and what the user is told.

#include "tests/take/CameraTakeFixture.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <utility>

namespace vintra {
namespace {

class CameraTakeTest : public CameraTakeFixture {};

TEST_F(CameraTakeTest, aCameraAloneIsATakeOfOneMovie) {
    plugCamera("desk", "Desk");
    recorder->screenEnabled.set(false);
    selectCamera("desk");
    EXPECT_EQ(recorder->armedTrackCount(), 1);
    start();
    EXPECT_EQ(*recorder->statusMessage, "Recording webcam…");
    EXPECT_TRUE(*recorder->activeWebcamTrack);
    machine.run(3);
    stop();
    EXPECT_EQ(*recorder->statusMessage, "Saved") << lastError();
    EXPECT_FALSE(*recorder->activeWebcamTrack);
    EXPECT_EQ(files(), std::vector<std::string>{"take_webcam.mov"});
    expectWhole("take_webcam.mov", 88);
    EXPECT_EQ(writer("take_webcam.mov")->inputs().size(), 1u) << "there is no sound to go into it";
    ASSERT_EQ(recorder->lastCameraTakeSummary.size(), 1u);
    EXPECT_TRUE(recorder->lastCameraTakeSummary[0].starts_with("last take · webcam (Desk): 0 lost · "))
        << recorder->lastCameraTakeSummary[0];
    EXPECT_NE(recorder->lastCameraTakeSummary[0].find("on a 30 fps beat: 0 repeated, 0 left out, 0 skipped"),
              std::string::npos);
}

TEST_F(CameraTakeTest, twoCamerasWithAScreenAreThreeMovies) {
    plugThree();
    selectCamera("desk");
    addCamera("side");
    start();
    EXPECT_EQ(*recorder->statusMessage, "Recording screen + 2 webcams…");
    machine.run(2);
    stop();
    EXPECT_EQ(*recorder->statusMessage, "Saved") << lastError();
    EXPECT_EQ(files(), (std::vector<std::string>{"take_video.mov", "take_webcam-2.mov", "take_webcam.mov"}));
    expectWhole("take_webcam.mov", 58);
    expectWhole("take_webcam-2.mov", 58);
}

TEST_F(CameraTakeTest, threeCamerasAScreenAndAMicrophoneStartAndFinishInTheirOrder) {
    plugThree();
    selectMic();
    selectVirtualInput();
    selectCamera("desk");
    addCamera("side");
    addCamera(std::nullopt); // a row without a camera keeps its number
    addCamera("top");
    addExtraInput("multi.eight", 0, "Room");
    machine.journal->calls.clear();
    start();
    EXPECT_EQ(*recorder->statusMessage,
              "Recording screen + mic + virtual input + 3 webcams + 1 extra input…");
    const std::vector<std::string> order{"take_video.mov",  "take_mic.wav",      "take_computer-audio.wav",
                                         "take_webcam.mov", "take_webcam-2.mov", "take_webcam-4.mov",
                                         "take_Room.wav"};
    EXPECT_EQ(callsOf("startWriting"), order);
    EXPECT_EQ(callsOf("startSession"), order);
    for (const auto& made : machine.assetWriters->writers)
        EXPECT_EQ(made->sessionStart(), *recorder->recordingCommonStartTime) << made->outputURL().path();
    machine.run(3);
    machine.journal->calls.clear();
    stop();
    EXPECT_EQ(*recorder->statusMessage, "Saved") << lastError();
    EXPECT_EQ(callsOf("finishWriting"), order);
    const auto& calls = machine.journal->calls;
    const std::vector<std::string> drained{
        "com.screenrecorder.videoOutput: async",      "com.screenrecorder.webcamOutput: async",
        "com.screenrecorder.extraCamera.side: async", "com.screenrecorder.extraCamera.top: async",
        "com.screenrecorder.micOutput: async",        "com.screenrecorder.dawOutput: async",
        "com.screenrecorder.extraInputOutput: async", "com.screenrecorder.systemAudio: async"};
    EXPECT_NE(std::search(calls.begin(), calls.end(), drained.begin(), drained.end()), calls.end());
    // Each camera movie holds the mic's sound too, finished with the mic's track and before its own picture.
    EXPECT_EQ(callsOf("audio markAsFinished"),
              (std::vector<std::string>{"take_mic.wav", "take_video.mov", "take_webcam.mov",
                                        "take_webcam-2.mov", "take_webcam-4.mov", "take_computer-audio.wav",
                                        "take_video.mov", "take_Room.wav", "take_video.mov"}));
    EXPECT_EQ(callsOf("video markAsFinished"),
              (std::vector<std::string>{"take_video.mov", "take_webcam.mov", "take_webcam-2.mov",
                                        "take_webcam-4.mov"}));
    for (const char* name : {"take_webcam.mov", "take_webcam-2.mov", "take_webcam-4.mov"}) {
        expectWhole(name, 88);
        EXPECT_GT(soundTrack(name)->accepted().size(), 250u) << name;
    }
    ASSERT_EQ(recorder->lastCameraTakeSummary.size(), 3u);
    EXPECT_TRUE(recorder->lastCameraTakeSummary[0].starts_with("last take · webcam (Desk): "));
    EXPECT_TRUE(recorder->lastCameraTakeSummary[1].starts_with("last take · webcam 2 (Side): "));
    EXPECT_TRUE(recorder->lastCameraTakeSummary[2].starts_with("last take · webcam 4 (Top): "));
}

TEST_F(CameraTakeTest, theFilesOfATakeAreItsInventory) {
    plugThree();
    selectMic();
    selectCamera("desk");
    addCamera("side");
    recordFor(1);
    ASSERT_TRUE(recorder->lastTakeFiles());
    const TakeFiles& made = *recorder->lastTakeFiles();
    EXPECT_EQ(made.screen->lastPathComponent(), "take_video.mov");
    ASSERT_EQ(made.cameras.size(), 2u);
    EXPECT_EQ(made.cameras[0].lastPathComponent(), "take_webcam.mov");
    EXPECT_EQ(made.cameras[1].lastPathComponent(), "take_webcam-2.mov");
    EXPECT_EQ(made.cameraSound->lastPathComponent(), "take_mic.wav");
}

TEST_F(CameraTakeTest, theTimelineHoldsEveryCamera) {
    machine.userDefaults->values["timelineEditor"] = std::string("finalCut");
    plugThree();
    selectMic();
    selectCamera("desk");
    addCamera("side");
    recordFor(2);
    ASSERT_TRUE(recorder->lastTimelineURL()) << lastError();
    const std::string document = *machine.fileManager->contents(recorder->lastTimelineURL()->path());
    for (const char* name : {"take_video.mov", "take_webcam.mov", "take_webcam-2.mov", "take_mic.wav"})
        EXPECT_NE(document.find(name), std::string::npos) << name;
}

TEST_F(CameraTakeTest, theMicrophoneWithoutAScreenIsHeardInTheCameraMovieAlone) {
    plugCamera("desk", "Desk");
    recorder->screenEnabled.set(false);
    selectMic();
    selectCamera("desk");
    recordFor(1);
    EXPECT_EQ(files(), (std::vector<std::string>{"take_mic.wav", "take_webcam.mov"}));
    EXPECT_GT(soundTrack("take_webcam.mov")->accepted().size(), 80u);
    EXPECT_EQ(soundTrack("take_webcam.mov")->audioSettings()->numberOfChannels, 1u);
}

// One instant in every movie

/// Cameras of every usual rate: the picture that was taken at an instant stands where the instant is.
TEST_F(CameraTakeTest, oneInstantStandsAtOneTimeInEveryMovie) {
    const std::vector<std::pair<std::string, double>> rates{
        {"a30", 30}, {"b2997", 29.97}, {"c25", 25}, {"d24", 24}, {"e60", 60}};
    machine.userDefaults->values["webcamMaxFrameRate"] = 60.0;
    std::map<std::string, std::vector<CMTime>> taken; // capture times, by camera
    for (const auto& [uid, rate] : rates) {
        const auto camera = plugCamera(uid, "Camera " + uid, rate);
        camera->clockRatio = uid == "a30" ? 1 + 200e-6 : 1 - 200e-6;
        camera->alter = [&taken, uid = uid](CMSampleBuffer sample) {
            const auto number = static_cast<size_t>(SimulatedCameraPictures::numberOf(*sample.imageBuffer()));
            auto& times = taken[uid];
            if (times.size() <= number) times.resize(number + 1);
            times[number] = sample.presentationTimeStamp();
            return std::optional(sample);
        };
        addCamera(uid);
    }
    recordFor(20);
    EXPECT_EQ(*recorder->statusMessage, "Saved") << lastError();
    int index = 2;
    for (const auto& [uid, rate] : rates) {
        const std::string name = "take_webcam-" + std::to_string(index++) + ".mov";
        const auto wholeRate = static_cast<int32_t>(std::lround(rate));
        const auto samples = cameraTrack(name)->accepted();
        ASSERT_GT(samples.size(), 19u * static_cast<size_t>(wholeRate)) << name;
        for (const CMSampleBuffer& sample : samples) {
            const auto number = static_cast<size_t>(SimulatedCameraPictures::numberOf(*sample.imageBuffer()));
            const double away =
                CMTimeGetSeconds(sample.presentationTimeStamp() - taken[uid][number]) * wholeRate;
            ASSERT_LT(std::fabs(away), 1.66) << name
                                             << ": a picture stands within 0.65 of a slot of its time, "
                                                "its copy one further";
        }
    }
}

// The grid and the movie's settings

TEST_F(CameraTakeTest, theMovieHasTheDeliveredSizeAndABitRateForIt) {
    const auto camera = plugCamera("desk", "Desk");
    camera->sends = CMVideoDimensions{641, 361};
    selectCamera("desk");
    recordFor(1);
    const AVVideoSettings settings = *cameraTrack("take_webcam.mov")->videoSettings();
    EXPECT_EQ(settings.codec, AVVideoCodecType::h264);
    EXPECT_EQ(settings.width, 640);
    EXPECT_EQ(settings.height, 360);
    EXPECT_EQ(settings.scalingMode, AVVideoScalingMode::resizeAspect);
    EXPECT_EQ(settings.averageBitRate, 1'041'304) << "641 × 361 × 4.5, truncated";
    EXPECT_EQ(settings.color, AVVideoColorProperties{});
    EXPECT_TRUE(cameraTrack("take_webcam.mov")->expectsMediaDataInRealTime());
}

TEST_F(CameraTakeTest, aCameraThatHasSentNothingYetIsWrittenInItsFormatsSize) {
    const auto camera = plugCamera("desk", "Desk");
    camera->isStopped = true;
    selectCamera("desk");
    start();
    EXPECT_EQ(cameraTrack("take_webcam.mov")->videoSettings()->width, 32);
    EXPECT_EQ(cameraTrack("take_webcam.mov")->videoSettings()->height, 18);
    camera->isStopped = false;
    machine.run(1);
    stop();
    EXPECT_EQ(*recorder->statusMessage, "Saved") << lastError();
}

TEST_F(CameraTakeTest, aCameraOfUnknownSizeFailsTheStart) {
    const auto camera = plugCamera("desk", "Desk");
    camera->isStopped = true;
    selectCamera("desk");
    camera->activeFormat = std::nullopt;
    camera->refusesLock = true;
    start();
    expectUndone("Couldn't set up the camera file for Desk at 0×0.");
}

TEST_F(CameraTakeTest, anExtraCameraIsOnTheGridOfItsOwnRate) {
    plugCamera("pal", "Pal", 25);
    plugCamera("desk", "Desk", 30);
    selectCamera("desk");
    addCamera("pal");
    recordFor(4);
    expectWhole("take_webcam-2.mov", 98, 25);
    EXPECT_EQ(describe(cameraTrack("take_webcam-2.mov")->accepted().front().duration()), "1/25");
    EXPECT_NE(recorder->lastCameraTakeSummary[1].find("on a 25 fps beat"), std::string::npos);
}

TEST_F(CameraTakeTest, aCapOfZeroLetsACameraRunAtItsOwnRate) {
    machine.userDefaults->values["webcamMaxFrameRate"] = 0.0;
    plugCamera("fast", "Fast", 60);
    selectCamera("fast");
    recordFor(2);
    expectWhole("take_webcam.mov", 117, 60);
}

TEST_F(CameraTakeTest, aPauseOfTheCameraIsFilledWithItsLastPicture) {
    const auto camera = plugCamera("desk", "Desk");
    selectCamera("desk");
    start();
    machine.run(1);
    camera->isStopped = true;
    machine.run(1);
    camera->isStopped = false;
    machine.run(1);
    stop();
    const auto pictures = placed("take_webcam.mov");
    for (size_t i = 1; i < pictures.size(); ++i)
        ASSERT_EQ(pictures[i].slot, pictures[i - 1].slot + 1);
    EXPECT_GE(pictures.size(), 88u);
    EXPECT_NE(recorder->lastCameraTakeSummary[0].find("30 repeated"), std::string::npos)
        << recorder->lastCameraTakeSummary[0];
}

TEST_F(CameraTakeTest, whatWaitsForTheWriterIsWrittenAtTheStop) {
    plugCamera("desk", "Desk");
    selectCamera("desk");
    bool isBusy = false;
    machine.assetWriters->script = [&](const URL& url, AVFileType) {
        SimulatedWriterScript script;
        if (url.lastPathComponent() == "take_webcam.mov") script.isStalled = [&](double) { return isBusy; };
        return script;
    };
    start();
    machine.run(1);
    isBusy = true;
    machine.run(0.2); // six pictures wait
    const size_t before = placed("take_webcam.mov").size();
    machine.time->afterSeconds(0.1, [&] { isBusy = false; });
    stop();
    EXPECT_EQ(*recorder->statusMessage, "Saved") << lastError();
    EXPECT_GE(placed("take_webcam.mov").size(), before + 6);
    expectWhole("take_webcam.mov", before + 6);
}

} // namespace
} // namespace vintra
