// The steps of a start in their order. What the main thread does at once takes time here, as it does on a
// real machine: writers take a while to open, the clock moves on after it is read, and meanwhile the devices
// deliver.

#include "tests/take/RoutingFixture.h"
#include "tests/take/StateLog.h"

#include <algorithm>

namespace vintra {
namespace {

const std::vector<std::string> kSoundFiles = {"take_mic.wav", "take_computer-audio.wav",
                                              "take_Stage Box_ch3.wav", "take_Stage Box_ch6.wav"};

class StartOrderTest : public RecorderFixture {
protected:
    void SetUp() override {
        RecorderFixture::SetUp();
        selectMic();
        selectVirtualInput();
        addExtraInput("multi.eight", 2);
        addExtraInput("multi.eight", 5);
        machine.journal->calls.clear();
    }
    void scriptWriters(const SimulatedWriterScript& script) {
        machine.assetWriters->script = [script](const URL&, AVFileType) { return script; };
    }
    CMTime lastSessionBegan() const {
        CMTime latest = kCMTimeNegativeInfinity;
        for (const auto& made : machine.assetWriters->writers)
            latest = std::max(latest, made->sessionBegunAt());
        return latest;
    }
};

bool isSilent(const CMSampleBuffer& sample) {
    const auto data = sample.dataBuffer()->dataPointer(0);
    return std::all_of(data.bytes, data.bytes + data.totalLength, [](uint8_t byte) { return byte == 0; });
}

/// That just the buffers from before the cutoff are silent.
void expectWarmUp(const SimulatedAssetWriterInput& track, CMTime cutoff, const std::string& name) {
    int silent = 0;
    int heard = 0;
    for (const CMSampleBuffer& sample : track.accepted()) {
        const CMTime at = sample.presentationTimeStamp();
        ASSERT_EQ(isSilent(sample), at < cutoff) << name << " at " << describe(at);
        ++(at < cutoff ? silent : heard);
    }
    EXPECT_GT(silent, 15) << name; // 0.3 s are 28 buffers of 512, less what passed before the sinks opened
    EXPECT_GT(heard, 50) << name;
}

TEST_F(StartOrderTest, sinksOpenOnlyAfterEverySessionHasBegun) {
    scriptWriters({.startSeconds = 0.02, .sessionSeconds = 0.03});
    start();
    machine.run(1);
    ASSERT_EQ(machine.assetWriters->writers.size(), 5u);
    const CMTime latest = lastSessionBegan();
    for (const auto& made : machine.assetWriters->writers) {
        for (const auto& input : made->inputs()) {
            ASSERT_FALSE(input->appends.empty());
            EXPECT_GE(input->appends.front().at, latest) << made->outputURL().lastPathComponent();
        }
    }
    stop();
    EXPECT_EQ(*recorder->statusMessage, "Saved")
        << "no buffer was lost on a writer that wasn't open: " << lastError();
}

TEST_F(StartOrderTest, theCommonStartIsReadWhenTheEncodersHaveWhatTheyNeed) {
    scriptWriters({.prepareSeconds = 0.4});
    const CMTime pressed = machine.now();
    start();
    EXPECT_GE(*recorder->recordingCommonStartTime - pressed, CMTimeMake(4, 10));
    machine.run(1);
    for (const auto& made : machine.assetWriters->writers) {
        EXPECT_EQ(made->sessionStart(), *recorder->recordingCommonStartTime);
        EXPECT_LT(made->sessionBegunAt() - *recorder->recordingCommonStartTime, CMTimeMake(1, 10));
    }
    stop();
    EXPECT_EQ(*recorder->statusMessage, "Saved") << lastError();
}

TEST_F(StartOrderTest, theTimeOfTheQuestionIsNoPartOfTheTake) {
    machine.screenCapture->script.prepareSeconds = 5;
    const CMTime pressed = machine.now();
    start();
    EXPECT_GE(*recorder->recordingCommonStartTime - pressed, CMTimeMake(5, 1));
    machine.run(2);
    stop();
    EXPECT_EQ(*recorder->statusMessage, "Saved") << lastError();
    EXPECT_LT(videoTrack()->presentationTimes().front() - *recorder->recordingCommonStartTime,
              CMTimeMake(2, 10));
}

TEST_F(StartOrderTest, aRefusedQuestionLeavesNoFile) {
    machine.screenCapture->script.prepareError = SystemError("portal", 2, "The screen wasn't shared.");
    start();
    EXPECT_FALSE(*recorder->isRecording);
    EXPECT_NE(lastError().find("The screen wasn't shared."), std::string::npos) << lastError();
    EXPECT_TRUE(files().empty());
}

TEST_F(StartOrderTest, oneReadingOfTheClockIsTheCommonStartOfAll) {
    // No multiple of a frame's or a sample's length, and longer than the warm-up is.
    machine.hostClock->secondsAfterReading = 0.3337;
    // The screen's writer stands still from 1 s to 2 s after it was started.
    machine.assetWriters->script = [](const URL& url, AVFileType) {
        SimulatedWriterScript script;
        if (url.path().ends_with(".mov"))
            script.isStalled = [](double seconds) { return seconds >= 1 && seconds < 2; };
        return script;
    };
    start();
    machine.hostClock->secondsAfterReading = 0;
    const CMTime commonStart = *recorder->recordingCommonStartTime;
    EXPECT_GE(machine.now() - commonStart, CMTimeMake(3337, 10'000));
    for (const auto& made : machine.assetWriters->writers)
        EXPECT_EQ(made->sessionStart(), commonStart) << made->outputURL().lastPathComponent();
    machine.run(4);
    stop();
    // The screen's grid is anchored there: its phase is a whole number of 1/600 s.
    const CMTime phase = videoTrack()->presentationTimes().front() - commonStart;
    EXPECT_EQ(CMTimeConvertScale(phase, 600), phase) << describe(phase);
    // So are the times of lost frames: the first is lost within a tenth of a second of the standstill.
    ASSERT_TRUE(recorder->lastScreenDropSummary);
    const std::string& summary = *recorder->lastScreenDropSummary;
    const size_t at = summary.find("first at ");
    ASSERT_NE(at, std::string::npos) << summary;
    const CMTime standstill = writer("take_video.mov")->sessionBegunAt() + CMTimeMake(1, 1);
    EXPECT_NEAR(std::stod(summary.substr(at + 9)), CMTimeGetSeconds(standstill - commonStart), 0.1)
        << summary;
}

TEST_F(StartOrderTest, theWarmUpIsOnEverySoundFile) {
    recordFor(1.5);
    const CMTime cutoff = *recorder->recordingCommonStartTime + CMTimeMake(3, 10);
    for (const std::string& name : kSoundFiles)
        expectWarmUp(*soundTrack(name), cutoff, name);
    // And on the copies in the movie.
    for (size_t track = 0; track < kSoundFiles.size(); ++track)
        expectWarmUp(*writer("take_video.mov")->input(AVMediaType::audio, track), cutoff, "reference");
}

TEST_F(StartOrderTest, theWarmUpIsMeasuredFromTheCommonStartHoweverLongTheWritersTake) {
    scriptWriters({.startSeconds = 0.02}); // five of them: a third of the warm-up
    recordFor(1.5);
    const CMTime cutoff = *recorder->recordingCommonStartTime + CMTimeMake(3, 10);
    for (const std::string& name : kSoundFiles)
        expectWarmUp(*soundTrack(name), cutoff, name);
}

TEST_F(StartOrderTest, writersOpenOneAfterAnotherInTheirOrder) {
    start();
    std::vector<std::string> expected = {"screen content: query", "screen stream: prepareCapture",
                                         "take_video.mov: prepare"};
    for (const char* name : {"take_video.mov", "take_mic.wav", "take_computer-audio.wav",
                             "take_Stage Box_ch3.wav", "take_Stage Box_ch6.wav"}) {
        expected.push_back(std::string(name) + ": startWriting");
        expected.push_back(std::string(name) + ": startSession");
    }
    expected.push_back("screen stream: startCapture");
    EXPECT_EQ(calls(), expected);
    stop();
}

TEST_F(StartOrderTest, theFirstFrameOfTheStreamIsTheFirstOfTheMovieHoweverBusyTheMainThread) {
    machine.screenCapture->script.startSeconds = 0.5;
    TaskScope scope;
    machine.mainThread->runNow([&] { scope.start(recorder->startRecording(videoURL())); });
    // The content takes 0.1 s, so the stream runs from 0.6 s on: the main thread hears of it 0.2 s later.
    machine.run(0.55);
    machine.mainThread->post([&] { machine.hostClock->sleep(250'000); });
    ASSERT_TRUE(machine.runMainUntil([&] { return !*recorder->isBusy; }));
    const CMTime captured = machine.screenCapture->stream()->captureStart();
    ASSERT_GT(machine.now() - captured, CMTimeMake(19, 100));
    machine.run(1);
    stop();
    const CMTime first = videoTrack()->presentationTimes().front();
    EXPECT_LE(CMTimeGetSeconds(first - captured), 0.5 / 600 + 1e-9);
    EXPECT_GE(CMTimeGetSeconds(first - captured), -0.5 / 600 - 1e-9);
    EXPECT_EQ(*recorder->statusMessage, "Saved") << lastError();
}

TEST_F(StartOrderTest, aStartThatIsCancelledWhenItsStreamHasJustBegunIsNoTake) {
    machine.screenCapture->script.startSeconds = 0.5;
    TaskScope scope;
    machine.mainThread->runNow([&] { scope.start(recorder->startRecording(videoURL())); });
    // The stream runs from 0.6 s on, while the main thread is busy; it cancels the start before it hears of that.
    machine.run(0.55);
    machine.mainThread->post([&] {
        machine.hostClock->sleep(250'000);
        EXPECT_TRUE(machine.screenCapture->stream()->isRunning());
        recorder->cancelStart();
    });
    ASSERT_TRUE(machine.runMainUntil([&] { return !*recorder->isBusy; }));
    EXPECT_FALSE(*recorder->isRecording);
    EXPECT_EQ(*recorder->statusMessage, "Failed to start");
    EXPECT_EQ(lastError(), "The recording was ended before it had begun.");
    EXPECT_TRUE(files().empty());
}

TEST_F(StartOrderTest, aStartThatIsCancelledWhenItsStreamIsJustPreparedIsNoTake) {
    machine.screenCapture->script.prepareSeconds = 0.5;
    TaskScope scope;
    machine.mainThread->runNow([&] { scope.start(recorder->startRecording(videoURL())); });
    machine.run(0.55);
    machine.mainThread->post([&] {
        machine.hostClock->sleep(250'000);
        recorder->cancelStart();
    });
    ASSERT_TRUE(machine.runMainUntil([&] { return !*recorder->isBusy; }));
    EXPECT_FALSE(*recorder->isRecording);
    EXPECT_EQ(lastError(), "The recording was ended before it had begun.");
    EXPECT_EQ(std::ranges::count(calls(), "screen stream: startCapture"), 0);
    EXPECT_TRUE(files().empty());
    // The next one isn't concerned.
    start();
    EXPECT_TRUE(*recorder->isRecording) << lastError();
    stop();
}

TEST_F(StartOrderTest, aStartThatIsCancelledWhileItsWritersArePreparedIsNoTake) {
    scriptWriters({.prepareSeconds = 0.4});
    TaskScope scope;
    machine.mainThread->runNow([&] { scope.start(recorder->startRecording(videoURL())); });
    ASSERT_TRUE(
        machine.runMainUntil([&] { return std::ranges::count(calls(), "take_video.mov: prepare") > 0; }));
    machine.mainThread->runNow([&] { recorder->cancelStart(); });
    ASSERT_TRUE(machine.runMainUntil([&] { return !*recorder->isBusy; }));
    EXPECT_FALSE(*recorder->isRecording);
    EXPECT_EQ(lastError(), "The recording was ended before it had begun.");
    EXPECT_TRUE(files().empty());
    start();
    EXPECT_TRUE(*recorder->isRecording) << lastError();
    stop();
}

TEST_F(StartOrderTest, soundIsRecordedWhileTheStreamIsStillStarting) {
    machine.screenCapture->script.startSeconds = 0.8;
    start();
    machine.run(0.5);
    stop();
    for (const std::string& name : kSoundFiles) {
        const CMTime first = soundTrack(name)->presentationTimes().front();
        EXPECT_LT(CMTimeGetSeconds(first - *recorder->recordingCommonStartTime), 0.02) << name;
    }
}

TEST_F(StartOrderTest, theTakeIsPublishedOnlyWhenItsStreamRuns) {
    machine.screenCapture->script.startSeconds = 1;
    TaskScope scope;
    machine.mainThread->runNow([&] { scope.start(recorder->startRecording(videoURL())); });
    machine.run(0.9);
    ASSERT_FALSE(calls().empty());
    EXPECT_EQ(calls().back(), "screen stream: startCapture");
    EXPECT_TRUE(*recorder->isBusy);
    EXPECT_FALSE(*recorder->isRecording);
    EXPECT_FALSE(recorder->recordingStartDate->has_value());
    EXPECT_FALSE(*recorder->activeMicTrack);
    EXPECT_EQ(*recorder->statusMessage, "Ready");
    ASSERT_TRUE(machine.runMainUntil([&] { return !*recorder->isBusy; }));
    EXPECT_TRUE(*recorder->isRecording);
    // The elapsed time runs from then, not from the press of the button.
    EXPECT_LT(machine.wallClock->now().secondsSince1970 - (*recorder->recordingStartDate)->secondsSince1970,
              0.05);
    stop();
}

TEST_F(StartOrderTest, thePublishedStateFollowsItsOrder) {
    const StateLog log(*recorder);
    start();
    EXPECT_EQ(log.lines, (std::vector<std::string>{
                             "busy yes", "error none", "recording yes", "date set", "markers 0", "mic yes",
                             "second yes", "webcam no",
                             "status Recording screen + mic + virtual input + 2 extra inputs…", "busy no"}));
    stop();
}

TEST_F(StartOrderTest, aFailedStartTellsItsErrorFirstAndIsBusyToItsEnd) {
    machine.screenCapture->script.startError = SystemError("test", 1, "no");
    const StateLog log(*recorder);
    start();
    EXPECT_EQ(log.lines, (std::vector<std::string>{"busy yes", "error none", "error set",
                                                   "status Failed to start", "recording no", "date none",
                                                   "mic no", "second no", "webcam no", "busy no"}));
}

TEST_F(StartOrderTest, aFailedStartCancelsItsWritersAfterTheBuffersOnTheirWay) {
    // Each append blocks its queue for most of the time between two buffers, so one is always underway.
    scriptWriters({.appendSeconds = 0.009});
    machine.screenCapture->script.startError = SystemError("test", 1, "no");
    start();
    EXPECT_GT(appendCount(*writer("take_mic.wav")), 0u);
    const std::vector<std::string> expected = {
        "screen stream: startCapture",
        "com.screenrecorder.videoOutput: async",
        "com.screenrecorder.webcamOutput: async",
        "com.screenrecorder.micOutput: async",
        "com.screenrecorder.dawOutput: async",
        "com.screenrecorder.extraInputOutput: async",
        "com.screenrecorder.systemAudio: async",
        "take_video.mov: cancelWriting",
        "take_mic.wav: cancelWriting",
        "take_computer-audio.wav: cancelWriting",
        "take_Stage Box_ch3.wav: cancelWriting",
        "take_Stage Box_ch6.wav: cancelWriting",
    };
    const auto made = calls();
    ASSERT_GT(made.size(), expected.size());
    EXPECT_EQ(std::vector(made.end() - static_cast<ptrdiff_t>(expected.size()), made.end()), expected);
    expectUndone("no"); // an append to a cancelled writer is a violation, which the test's end looks at
}

TEST_F(StartOrderTest, theSameDeviceTwiceIsRefusedBeforeTheUserIsAsked) {
    makeRecorder();
    machine.captureDevices->authorization[AVMediaType::audio] = AVAuthorizationStatus::notDetermined;
    recorder->selectedMicDeviceID.set("mic.one");
    recorder->selectedDawDeviceID.set("mic.one");
    machine.run(0.01); // the previews ask on their own account, and the user still thinks
    const size_t asked = machine.captureDevices->accessRequests.size();
    start();
    EXPECT_TRUE(lastError().starts_with("Mic and Virtual Input are set to the same device.")) << lastError();
    EXPECT_EQ(machine.captureDevices->accessRequests.size(), asked);
}

TEST_F(StartOrderTest, theScreenIsSetUpBeforeTheTracksOfSound) {
    machine.screenCapture->content.displays.clear();
    recorder->selectedMicDeviceID.set("none such");
    machine.audioHardware->device("daw.two")->failsToOpen = true;
    makeRecorder();
    selectVirtualInput();
    start();
    EXPECT_EQ(lastError(), "No display available to capture.") << "and not that the input isn't running";
}

// Computer audio

class ComputerAudioStartOrderTest : public RoutingFixture {};

TEST_F(ComputerAudioStartOrderTest, theWarmUpIsOnComputerAudioToo) {
    virtualDevice->signal = [](uint32_t, int64_t, CMTime) { return 0.25f; };
    turnOnComputerAudio();
    recordFor(1.5);
    expectWarmUp(*soundTrack("take_computer-audio.wav"),
                 *recorder->recordingCommonStartTime + CMTimeMake(3, 10), "computer audio");
}

TEST_F(ComputerAudioStartOrderTest, theRelayIsBuiltBeforeTheDevicesAreLookedUp) {
    turnOnComputerAudio();
    recorder->stopSystemAudioRelay();
    machine.captureDevices->authorization[AVMediaType::audio] = AVAuthorizationStatus::denied;
    start();
    // The virtual device counts as an input only with a relay, and an input needs the user's permission.
    EXPECT_EQ(lastError(), "Microphone access was denied. Enable it in System Settings > Privacy & Security "
                           "> Microphone.");
}

} // namespace
} // namespace vintra
