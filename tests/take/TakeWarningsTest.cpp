#include "Vintra/take/TakeWarnings.h"

#include <gtest/gtest.h>

namespace vintra {
namespace {

using Sound = TakeObservations::Sound;

/// Times far from zero, as host times are.
CMTime at(double seconds) {
    return CMTimeMakeWithSeconds(250'000 + seconds, 7'200'000);
}

Sound goodSound(const std::string& name, double endsAt = 60) {
    return {.name = name, .firstSamplePTS = at(0), .lastSamplePTS = at(endsAt), .sawSignal = true};
}

std::vector<std::string> dropped(int64_t screen, int64_t webcam) {
    TakeObservations seen;
    seen.droppedScreenFrames = screen;
    seen.droppedWebcamFrames = webcam;
    return takeWarnings(seen);
}

constexpr const char* kDroppedTail =
    " dropped because the encoder couldn't keep up — the video is complete but momentarily less smooth.";

TEST(TakeWarningsTest, aTakeWithoutFlawHasNone) {
    TakeObservations seen;
    EXPECT_TRUE(takeWarnings(seen).empty());
    seen.sounds = {goodSound("microphone"), goodSound("take_Bass")};
    seen.lastScreenFrameTime = at(60.5);
    seen.frameLossRemedy = "Lower the frame rate.";
    seen.volumeIsInternal = false;
    EXPECT_TRUE(takeWarnings(seen).empty());
}

TEST(TakeWarningsTest, aTrackWithoutBuffersIsReportedOnceAndNotAsSilent) {
    TakeObservations seen;
    seen.sounds = {{.name = "microphone"}, goodSound("computer audio"), {.name = "take_Bass"}};
    EXPECT_EQ(takeWarnings(seen),
              std::vector<std::string>{"No audio was captured for: microphone, take_Bass. That file is empty "
                                       "— check the device is connected and running at 48kHz."});
}

TEST(TakeWarningsTest, aTrackWithBuffersButNoSignalIsSilent) {
    TakeObservations seen;
    seen.sounds = {goodSound("microphone"), goodSound("virtual input")};
    seen.sounds[1].sawSignal = false;
    EXPECT_EQ(
        takeWarnings(seen),
        std::vector<std::string>{
            "Recorded silence on: virtual input. Those files are the right length but every sample is "
            "zero — if that wasn't intended, check the source is playing and that Vintra is routing it."});
}

TEST(TakeWarningsTest, endingOneSecondEarlyExactlyIsNotListed) {
    TakeObservations seen;
    seen.sounds = {goodSound("microphone", 59)};
    seen.lastScreenFrameTime = at(60);
    EXPECT_TRUE(takeWarnings(seen).empty());
}

TEST(TakeWarningsTest, endingMoreThanASecondEarlyIsListedInWholeSeconds) {
    TakeObservations seen;
    seen.sounds = {goodSound("microphone", 58.9), goodSound("computer audio", 60),
                   goodSound("take_Bass", 20.4)};
    EXPECT_EQ(
        takeWarnings(seen),
        std::vector<std::string>{
            "Recording stopped early on: microphone (1s short), take_Bass (40s short). Those tracks end "
            "before the rest of the recording, so audio is missing from the end — the recording is "
            "incomplete and worth doing again."});
}

TEST(TakeWarningsTest, theScreenIsComparedButNeverListed) {
    TakeObservations seen;
    seen.sounds = {goodSound("microphone", 60)};
    seen.lastScreenFrameTime = at(10);
    EXPECT_TRUE(takeWarnings(seen).empty());
    seen.lastScreenFrameTime = at(63);
    ASSERT_EQ(takeWarnings(seen).size(), 1u);
    EXPECT_TRUE(takeWarnings(seen)[0].starts_with("Recording stopped early on: microphone (3s short). "));
}

TEST(TakeWarningsTest, timesThatAreNoTimesAreNotCompared) {
    TakeObservations seen;
    seen.sounds = {goodSound("microphone", 60), goodSound("take_Bass", 60)};
    seen.sounds[1].lastSamplePTS = kCMTimeInvalid;
    seen.lastScreenFrameTime = kCMTimePositiveInfinity;
    EXPECT_TRUE(takeWarnings(seen).empty());
}

TEST(TakeWarningsTest, aScreenWithoutPictureIsTold) {
    TakeObservations seen;
    seen.screenWithoutVideo = true;
    EXPECT_EQ(takeWarnings(seen),
              std::vector<std::string>{
                  "No video was captured from the screen — that file has no picture in it. The "
                  "system let the recording start but sent no picture: choose the display or "
                  "window anew, then record again."});
}

TEST(TakeWarningsTest, camerasWithoutPictureAreWordedApart) {
    TakeObservations seen;
    seen.webcamWithoutVideo = true;
    seen.extraCamerasWithoutVideo = {"Cam B", "Cam C"};
    EXPECT_EQ(
        takeWarnings(seen),
        (std::vector<std::string>{
            "No video was captured from the webcam — that file has no picture in it. The camera was "
            "listed and armed but sent nothing, check it is switched on and in a mode that sends video, "
            "then open the preview to confirm you can see yourself before recording.",
            "No video was captured from Cam B, Cam C — those files have no "
            "picture in them. Check each camera is switched on and in a mode that "
            "sends video, and that its preview shows a picture before recording."}));
}

TEST(TakeWarningsTest, pictureStallsMakeOneWarningInTheNumberTheyHave) {
    TakeObservations seen;
    seen.pictureStalls = {"First stalled."};
    EXPECT_EQ(takeWarnings(seen), std::vector<std::string>{
                                      "First stalled. If that's a camera, it may have switched off, lost its "
                                      "signal or come unplugged."});
    seen.pictureStalls.push_back("Second stalled.");
    EXPECT_EQ(takeWarnings(seen),
              std::vector<std::string>{"First stalled. Second stalled. If those are cameras, they may have "
                                       "switched off, lost their signal or come unplugged."});
}

TEST(TakeWarningsTest, droppedAudioBuffersAreCounted) {
    TakeObservations seen;
    seen.droppedAudioBuffers = 1;
    EXPECT_EQ(takeWarnings(seen),
              std::vector<std::string>{"1 audio buffer was dropped because a writer couldn't keep up — those "
                                       "tracks may drift slightly against the video."});
    seen.droppedAudioBuffers = 12;
    EXPECT_EQ(
        takeWarnings(seen),
        std::vector<std::string>{"12 audio buffers were dropped because a writer couldn't keep up — those "
                                 "tracks may drift slightly against the video."});
}

TEST(TakeWarningsTest, droppedFramesAgreeInNumber) {
    const auto sentence = [](const std::string& start) {
        return std::vector<std::string>{start + kDroppedTail};
    };
    EXPECT_EQ(dropped(1, 0), sentence("1 screen frame was"));
    EXPECT_EQ(dropped(2, 0), sentence("2 screen frames were"));
    EXPECT_EQ(dropped(0, 1), sentence("1 webcam frame was"));
    EXPECT_EQ(dropped(0, 3), sentence("3 webcam frames were"));
    EXPECT_EQ(dropped(2, 1), sentence("2 screen and 1 webcam frames were"));
}

TEST(TakeWarningsTest, droppedFramesNameTheRemedyAndTheExternalDrive) {
    TakeObservations seen;
    seen.droppedScreenFrames = 5;
    seen.frameLossRemedy = "Lower the frame rate.";
    const std::string start = std::string("5 screen frames were") + kDroppedTail + " Lower the frame rate.";
    EXPECT_EQ(takeWarnings(seen), std::vector<std::string>{start});
    seen.volumeIsInternal = true;
    EXPECT_EQ(takeWarnings(seen), std::vector<std::string>{start});
    seen.volumeIsInternal = false;
    EXPECT_EQ(takeWarnings(seen),
              std::vector<std::string>{
                  start + " This recording went to an external drive, so the internal disk may help too."});
}

TEST(TakeWarningsTest, allWarningsStandInTheirOrder) {
    TakeObservations seen;
    seen.sounds = {{.name = "microphone"}, goodSound("computer audio", 60), goodSound("take_Bass", 10)};
    seen.sounds[1].sawSignal = false;
    seen.screenWithoutVideo = true;
    seen.webcamWithoutVideo = true;
    seen.extraCamerasWithoutVideo = {"Cam B"};
    seen.pictureStalls = {"Stalled."};
    seen.routingLosses = {"Routing lost.", "Routing lost again."};
    seen.windowNote = "Window note.";
    seen.timelineNote = "Timeline note.";
    seen.droppedAudioBuffers = 1;
    seen.droppedWebcamFrames = 1;
    const std::vector<std::string> starts = {"No audio was captured for: ",
                                             "No video was captured from the screen",
                                             "No video was captured from the webcam",
                                             "No video was captured from Cam B",
                                             "Stalled. If that's",
                                             "Routing lost.",
                                             "Routing lost again.",
                                             "Window note.",
                                             "Timeline note.",
                                             "Recording stopped early on: take_Bass",
                                             "Recorded silence on: computer audio.",
                                             "1 audio buffer was",
                                             "1 webcam frame was"};
    const auto warnings = takeWarnings(seen);
    ASSERT_EQ(warnings.size(), starts.size());
    for (size_t index = 0; index < starts.size(); ++index)
        EXPECT_TRUE(warnings[index].starts_with(starts[index])) << warnings[index];
}

} // namespace
} // namespace vintra
