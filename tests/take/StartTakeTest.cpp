#include "Vintra/take/FeedbackAsk.h"
#include "tests/take/RecorderFixture.h"

#include <utility>

namespace vintra {
namespace {

class StartTakeTest : public RecorderFixture {};

TEST_F(StartTakeTest, aStartEndsWithEverythingRunning) {
    selectMic();
    start();
    EXPECT_TRUE(*recorder->isRecording);
    EXPECT_FALSE(*recorder->isBusy);
    EXPECT_EQ(*recorder->statusMessage, "Recording screen + mic…");
    EXPECT_FALSE(recorder->lastError->has_value());
    EXPECT_TRUE(*recorder->activeMicTrack);
    EXPECT_FALSE(*recorder->activeDawTrack);
    EXPECT_FALSE(*recorder->activeWebcamTrack);
    EXPECT_TRUE(recorder->recordingStartDate->has_value());
    EXPECT_EQ(files(), (std::vector<std::string>{"take_mic.wav", "take_video.mov"}));
    EXPECT_TRUE(machine.screenCapture->stream()->isRunning());
    stop();
}

TEST_F(StartTakeTest, allWritersShareOneSessionStart) {
    selectMic();
    addExtraInput("multi.eight", 2);
    addExtraInput("multi.eight", 5);
    start();
    const CMTime start = writer("take_video.mov")->sessionStart();
    ASSERT_TRUE(start.isNumeric());
    ASSERT_EQ(machine.assetWriters->writers.size(), 4u);
    for (const auto& made : machine.assetWriters->writers)
        EXPECT_EQ(made->sessionStart(), start);
    stop();
}

TEST_F(StartTakeTest, nothingReachesAWriterBeforeAllHaveOpened) {
    selectMic();
    addExtraInput("multi.eight", 0);
    start();
    machine.run(1);
    // Appends before a session are violations, which the end of the test looks at; and no sample is from
    // before it.
    for (const auto& made : machine.assetWriters->writers) {
        for (const auto& input : made->inputs()) {
            ASSERT_FALSE(input->appends.empty());
            EXPECT_GE(input->appends.front().at, made->sessionStart());
        }
    }
    stop();
}

TEST_F(StartTakeTest, aSecondPressReturnsAtOnceAndTouchesNothing) {
    start();
    recorder->lastError.set("kept");
    machine.complete(recorder->startRecording(URL::fileURL(path("other_video.mov"))));
    EXPECT_EQ(lastError(), "kept");
    EXPECT_EQ(files(), (std::vector<std::string>{"take_video.mov"}));
    stop();
}

TEST_F(StartTakeTest, aPressDuringTheStartReturnsAtOnce) {
    TaskScope scope;
    machine.mainThread->runNow([&] { scope.start(recorder->startRecording(videoURL())); });
    EXPECT_TRUE(*recorder->isBusy);
    machine.complete(recorder->startRecording(URL::fileURL(path("other_video.mov"))));
    EXPECT_TRUE(*recorder->isBusy);
    ASSERT_TRUE(machine.runMainUntil([&] { return !*recorder->isBusy; }));
    EXPECT_TRUE(*recorder->isRecording);
    EXPECT_EQ(machine.assetWriters->writers.size(), 1u);
    stop();
}

TEST_F(StartTakeTest, onlyTheScreenAsksForNoPermission) {
    machine.captureDevices->authorization[AVMediaType::audio] = AVAuthorizationStatus::notDetermined;
    start();
    EXPECT_TRUE(machine.captureDevices->accessRequests.empty());
    EXPECT_EQ(*recorder->statusMessage, "Recording screen…");
    stop();
}

TEST_F(StartTakeTest, aTakeOfOneMicHasNoStreamAndNoScreenFile) {
    recorder->screenEnabled.set(false);
    selectMic();
    start();
    EXPECT_EQ(*recorder->statusMessage, "Recording mic…");
    EXPECT_EQ(files(), (std::vector<std::string>{"take_mic.wav"}));
    EXPECT_EQ(machine.screenCapture->streamsMade, 0);
    EXPECT_EQ(machine.screenCapture->contentQueries, 1) << "the one that listed the displays";
    machine.run(1);
    stop();
    EXPECT_EQ(*recorder->statusMessage, "Saved");
}

TEST_F(StartTakeTest, theStatusNamesEveryKindOfTrack) {
    selectMic();
    selectVirtualInput();
    addExtraInput("multi.eight", 0);
    addExtraInput("multi.eight", 1);
    start();
    EXPECT_EQ(*recorder->statusMessage, "Recording screen + mic + virtual input + 2 extra inputs…");
    EXPECT_EQ(files(),
              (std::vector<std::string>{"take_Stage Box_ch1.wav", "take_Stage Box_ch2.wav",
                                        "take_computer-audio.wav", "take_mic.wav", "take_video.mov"}));
    stop();
}

TEST_F(StartTakeTest, aSelectedDeviceThatHasGoneGivesNoTrackAndNoError) {
    recorder->selectedMicDeviceID.set("gone");
    machine.run(0.2);
    addExtraInput("gone too", 0);
    start();
    EXPECT_TRUE(*recorder->isRecording);
    EXPECT_EQ(files(), (std::vector<std::string>{"take_video.mov"}));
    stop();
}

TEST_F(StartTakeTest, theFirstThreeTenthsOfASecondAreSilentOnEveryAudioFile) {
    selectMic();
    recordFor(1);
    const auto track = soundTrack("take_mic.wav");
    const CMTime cutoff = writer("take_mic.wav")->sessionStart() + CMTimeMake(180, 600);
    size_t silent = 0;
    size_t heard = 0;
    for (const CMSampleBuffer& sample : track->accepted()) {
        const auto data = sample.dataBuffer()->dataPointer(0);
        const bool zero =
            std::all_of(data.bytes, data.bytes + data.totalLength, [](uint8_t byte) { return byte == 0; });
        EXPECT_EQ(zero, sample.presentationTimeStamp() < cutoff) << describe(sample.presentationTimeStamp());
        (zero ? silent : heard) += 1;
    }
    EXPECT_GT(silent, 20u); // 0.3 s are 28 buffers of 512
    EXPECT_GT(heard, 50u);
}

// Failures

TEST_F(StartTakeTest, theSameDeviceOnMicAndVirtualInputFails) {
    selectMic("mic.one");
    selectVirtualInput("mic.one");
    start();
    expectUndone("Mic and Virtual Input are set to the same device. "
                 "Choose two different devices, or set one to None.");
    EXPECT_TRUE(files().empty());
}

TEST_F(StartTakeTest, aRefusedMicrophoneFails) {
    machine.captureDevices->authorization[AVMediaType::audio] = AVAuthorizationStatus::denied;
    selectMic();
    start();
    expectUndone(
        "Microphone access was denied. Enable it in System Settings > Privacy & Security > Microphone.");
}

TEST_F(StartTakeTest, aMicrophoneThatTheMachineForbidsFails) {
    machine.captureDevices->authorization[AVMediaType::audio] = AVAuthorizationStatus::restricted;
    selectMic();
    EXPECT_FALSE(machine.captureDevices->session("mic.one")) << "and there is no preview";
    start();
    expectUndone(
        "Microphone access was denied. Enable it in System Settings > Privacy & Security > Microphone.");
    EXPECT_TRUE(machine.captureDevices->accessRequests.empty()) << "the user is not asked";
}

TEST_F(StartTakeTest, theUsersAnswerIsAwaited) {
    machine.captureDevices->authorization[AVMediaType::audio] = AVAuthorizationStatus::notDetermined;
    machine.captureDevices->userGrantsAccess = false;
    recorder->selectedMicDeviceID.set("mic.one");
    start();
    expectUndone(
        "Microphone access was denied. Enable it in System Settings > Privacy & Security > Microphone.");
    EXPECT_FALSE(machine.captureDevices->accessRequests.empty());
}

TEST_F(StartTakeTest, unreadableContentFailsWithTheSystemsText) {
    machine.screenCapture->contentError = SystemError("test", 1, "The screen can't be read.");
    start();
    expectUndone("The screen can't be read.");
}

TEST_F(StartTakeTest, noDisplayFails) {
    machine.screenCapture->content.displays.clear();
    start();
    expectUndone("No display available to capture.");
}

TEST_F(StartTakeTest, aWindowThatHasGoneFailsAndNeverFallsBackToTheDisplay) {
    recorder->selectedWindowID.set(77);
    recorder->screenCaptureMode.set(CaptureModeChoice::window);
    start();
    expectUndone("The window you chose isn't available any more — it may have "
                 "been closed. Pick another window, or switch to Full screen.");
    EXPECT_EQ(machine.screenCapture->streamsMade, 0);
}

TEST_F(StartTakeTest, windowModeWithoutAWindowFailsTheSameWay) {
    recorder->screenCaptureMode.set(CaptureModeChoice::window);
    start();
    expectUndone("The window you chose isn't available any more — it may have "
                 "been closed. Pick another window, or switch to Full screen.");
}

TEST_F(StartTakeTest, aMicThatIsNotRunningFailsByItsName) {
    machine.audioHardware->device("mic.one")->failsToOpen = true;
    selectMic();
    start();
    expectUndone(
        "Couldn't set up the microphone track, because Desk Microphone isn't running. Select it again.");
}

TEST_F(StartTakeTest, aMicThatCannotBeCapturedFailsByTheReason) {
    machine.audioHardware->device("mic.one")->refusesOutput = true;
    machine.audioHardware->device("mic.one")->captureProblem = "has 128 channels, which is too many";
    selectMic();
    start();
    expectUndone(
        "Couldn't set up the microphone track, because Desk Microphone has 128 channels, which is too "
        "many.");
}

TEST_F(StartTakeTest, aVirtualInputThatIsNotRunningFailsByItsName) {
    machine.audioHardware->device("daw.two")->failsToOpen = true;
    selectVirtualInput();
    start();
    expectUndone(
        "Couldn't set up the virtual input track, because Workstation isn't running. Select it again.");
}

TEST_F(StartTakeTest, anExtraInputThatIsNotRunningFailsByItsName) {
    machine.audioHardware->device("multi.eight")->refusesOutput = true;
    addExtraInput("multi.eight", 0);
    start();
    expectUndone(
        "Couldn't set up the extra microphone Stage Box, because it isn't running. Select it again.");
}

TEST_F(StartTakeTest, aWriterThatCantBeMadeFailsWithItsOwnError) {
    machine.assetWriters->script = [](const URL&, AVFileType) {
        return SimulatedWriterScript{.cannotBeMade = true};
    };
    start();
    EXPECT_EQ(*recorder->statusMessage, "Failed to start");
    EXPECT_FALSE(lastError().empty());
    EXPECT_FALSE(*recorder->isBusy);
}

TEST_F(StartTakeTest, aWriterThatTakesNoInputFailsByItsName) {
    const auto refusing = [this](const std::string& suffix) {
        machine.assetWriters->script = [suffix](const URL& url, AVFileType) {
            return SimulatedWriterScript{.refusesInputs = url.path().ends_with(suffix)};
        };
        start();
        return lastError();
    };
    selectMic();
    selectVirtualInput();
    addExtraInput("multi.eight", 0);
    EXPECT_EQ(refusing("_video.mov"), "Couldn't set up the screen recording file.");
    EXPECT_EQ(refusing("_mic.wav"), "Couldn't set up the microphone track file.");
    EXPECT_EQ(refusing("_computer-audio.wav"), "Couldn't set up the virtual input track file.");
    EXPECT_EQ(refusing("_ch1.wav"), "Couldn't set up the file for the extra microphone Stage Box.");
    EXPECT_FALSE(*recorder->isRecording);
    EXPECT_TRUE(files().empty());
}

TEST_F(StartTakeTest, aMovieThatTakesNoReferenceAudioFailsByItsName) {
    selectMic();
    // The screen movie has room for its picture alone.
    machine.assetWriters->script = [this](const URL& url, AVFileType) {
        if (url.path().ends_with(".wav")) writer("take_video.mov")->script.refusesInputs = true;
        return SimulatedWriterScript{};
    };
    start();
    expectUndone("Couldn't set up the reference audio inside take_video.mov.");
}

TEST_F(StartTakeTest, aPlannedFileThatExistsFailsAndIsNotTouched) {
    machine.fileManager->put(path("take_mic.wav"), "an earlier take");
    machine.fileManager->put(path("take_video.mov"), "its movie");
    machine.fileManager->disk->records.clear();
    selectMic();
    start();
    expectUndone("Output files already exist: take_video.mov, take_mic.wav. "
                 "Choose a different session name — recording over them would fail silently.");
    EXPECT_EQ(machine.fileManager->contents(path("take_mic.wav")), "an earlier take");
    EXPECT_FALSE(machine.fileManager->wasChanged(path("take_mic.wav")));
    EXPECT_FALSE(machine.fileManager->wasChanged(path("take_video.mov")));
    for (const auto& made : machine.assetWriters->writers)
        EXPECT_EQ(made->status(), AVAssetWriterStatus::unknown);
}

TEST_F(StartTakeTest, aWriterThatDoesNotStartFailsTheTakeAndTheStartedOnesAreCancelled) {
    selectMic();
    selectVirtualInput();
    machine.assetWriters->script = [](const URL& url, AVFileType) {
        return SimulatedWriterScript{.startFails = url.path().ends_with("_mic.wav")};
    };
    start();
    EXPECT_EQ(writer("take_video.mov")->status(), AVAssetWriterStatus::cancelled);
    EXPECT_EQ(writer("take_mic.wav")->status(), AVAssetWriterStatus::failed);
    EXPECT_EQ(writer("take_computer-audio.wav")->status(), AVAssetWriterStatus::unknown)
        << "it comes after the mic";
    EXPECT_TRUE(lastError().starts_with("Could not start writing the mic track: ")) << lastError();
    expectUndone(lastError());
    EXPECT_TRUE(files().empty());
}

TEST_F(StartTakeTest, eachWriterFailsUnderItsOwnLabelAfterTheOnesBeforeIt) {
    selectMic();
    selectVirtualInput();
    addExtraInput("multi.eight", 3, "Drums");
    const std::vector<std::pair<std::string, std::string>> inOrder = {
        {"take_video.mov", "the screen recording"},
        {"take_mic.wav", "the mic track"},
        {"take_computer-audio.wav", "the virtual input track"},
        {"take_Drums.wav", "extra input take_Drums.wav"},
    };
    for (size_t failing = 0; failing < inOrder.size(); ++failing) {
        machine.assetWriters->writers.clear();
        machine.assetWriters->script = [&](const URL& url, AVFileType) {
            return SimulatedWriterScript{.startFails = url.lastPathComponent() == inOrder[failing].first};
        };
        start();
        EXPECT_TRUE(lastError().starts_with("Could not start writing " + inOrder[failing].second + ": "))
            << lastError();
        for (size_t i = 0; i < inOrder.size(); ++i) {
            const auto expected = i < failing    ? AVAssetWriterStatus::cancelled
                                  : i == failing ? AVAssetWriterStatus::failed
                                                 : AVAssetWriterStatus::unknown;
            EXPECT_EQ(writer(inOrder[i].first)->status(), expected)
                << inOrder[i].first << " of failing " << failing;
        }
    }
}

TEST_F(StartTakeTest, aStreamThatTakesNoOutputFails) {
    machine.screenCapture->script.addOutputError = SystemError("test", 2, "No output can be added.");
    start();
    expectUndone("No output can be added.");
}

TEST_F(StartTakeTest, aCaptureThatDoesNotStartCancelsEveryWriter) {
    selectMic();
    machine.screenCapture->script.startError = SystemError("test", 3, "The capture didn't start.");
    start();
    EXPECT_EQ(writer("take_video.mov")->status(), AVAssetWriterStatus::cancelled);
    EXPECT_EQ(writer("take_mic.wav")->status(), AVAssetWriterStatus::cancelled);
    expectUndone("The capture didn't start.");
    EXPECT_TRUE(files().empty());
}

TEST_F(StartTakeTest, aStartThatWaitsForTheUsersLeaveCanBeGivenUp) {
    selectMic();
    machine.screenCapture->script.prepareSeconds = 60;
    TaskScope scope;
    machine.mainThread->runNow([&] { scope.start(recorder->startRecording(videoURL())); });
    machine.run(10);
    EXPECT_TRUE(*recorder->isBusy);
    EXPECT_TRUE(files().empty());
    machine.mainThread->runNow([&] { recorder->cancelStart(); });
    ASSERT_TRUE(machine.runMainUntil([&] { return !*recorder->isBusy; }));
    expectUndone("The stream was stopped.");
    EXPECT_TRUE(files().empty());
}

TEST_F(StartTakeTest, aStartThatWaitsForItsScreenCanBeGivenUp) {
    machine.mainThread->runNow([&] { recorder->cancelStart(); }); // nothing starts: nothing to give up
    selectMic();
    machine.screenCapture->script.startSeconds = 60;
    TaskScope scope;
    machine.mainThread->runNow([&] { scope.start(recorder->startRecording(videoURL())); });
    machine.run(10);
    EXPECT_TRUE(*recorder->isBusy);
    machine.mainThread->runNow([&] { recorder->cancelStart(); });
    ASSERT_TRUE(machine.runMainUntil([&] { return !*recorder->isBusy; }));
    expectUndone("The stream was stopped.");
    EXPECT_TRUE(files().empty());
}

TEST_F(StartTakeTest, computerAudioWithoutARelayIsRefusedAfterCaptureHasBegun) {
    recorder->captureSystemAudioForDaw.set(true);
    machine.run(0.2);
    start();
    ASSERT_TRUE(writer("take_computer-audio.wav")) << "a track is made all the same";
    for (const auto& made : machine.assetWriters->writers)
        EXPECT_EQ(made->status(), AVAssetWriterStatus::cancelled);
    EXPECT_EQ(machine.screenCapture->streamsMade, 1);
    EXPECT_EQ(machine.screenCapture->stream(), nullptr) << "the capture is let go";
    expectUndone(
        "Computer audio couldn't be routed through Vintra's audio driver, so this recording "
        "was stopped rather than saved without it. Check the driver is installed, "
        "and that your output device's sample rate is one Vintra Audio supports (44.1kHz or 48kHz).");
    EXPECT_TRUE(files().empty());
}

TEST_F(StartTakeTest, aStartAfterAFailedOneWorksAndPreviewsWentOn) {
    selectMic();
    const auto session = machine.captureDevices->session("mic.one");
    machine.screenCapture->script.startError = SystemError("test", 3, "The capture didn't start.");
    start();
    EXPECT_TRUE(session->isRunning());
    EXPECT_EQ(machine.captureDevices->session("mic.one"), session) << "the preview is the one from before";
    machine.screenCapture->script.startError.reset();
    start();
    EXPECT_TRUE(*recorder->isRecording);
    EXPECT_FALSE(recorder->lastError->has_value()) << "a start clears the error of the one before";
    stop();
}

} // namespace
} // namespace vintra
