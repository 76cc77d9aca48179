// A start suspends while it waits for the user's permission, for the screen's content and for the stream, and
// the user may change rows meanwhile. The devices of the mic and the second track are fixed before the first
// wait; everything else is read when it is needed.

#include "tests/take/RoutingFixture.h"

#include <functional>

namespace vintra {
namespace {

class ChangesDuringStartTest : public RecorderFixture {
protected:
    void SetUp() override {
        RecorderFixture::SetUp();
        selectMic();
        machine.screenCapture->contentSeconds = 1;
        machine.screenCapture->script.startSeconds = 2;
    }
    /// Starts, makes the change half a second into the wait, and runs to the end of the start.
    void startWith(const std::function<void()>& change, double after = 0.5) {
        TaskScope scope;
        machine.mainThread->runNow([&] { scope.start(recorder->startRecording(videoURL())); });
        machine.run(after);
        ASSERT_TRUE(*recorder->isBusy);
        ASSERT_FALSE(*recorder->isRecording);
        machine.mainThread->runNow(change);
        ASSERT_TRUE(machine.runMainUntil([&] { return !*recorder->isBusy; }));
    }
    /// The content has been read and the encoders get their memory half a second into the start.
    void prepareSlowly() {
        machine.screenCapture->contentSeconds = 0.1;
        machine.assetWriters->script = [](const URL&, AVFileType) {
            return SimulatedWriterScript{.prepareSeconds = 1};
        };
    }
    static constexpr double kStreamStarts = 1.5; // seconds from the start: the content has been read
    static constexpr const char* kMicNotRunning =
        "Couldn't set up the microphone track, because Desk Microphone isn't running. Select it again.";
};

// While the user thinks about the permission

class ChangesDuringPermissionTest : public ChangesDuringStartTest {
protected:
    void SetUp() override {
        ChangesDuringStartTest::SetUp();
        makeRecorder();
        machine.captureDevices->authorization[AVMediaType::audio] = AVAuthorizationStatus::notDetermined;
        recorder->selectedMicDeviceID.set("mic.one");
    }
};

TEST_F(ChangesDuringPermissionTest, aMicThatIsDeselectedFailsTheStart) {
    startWith([&] { recorder->selectedMicDeviceID.set(std::nullopt); });
    expectUndone(kMicNotRunning);
}

TEST_F(ChangesDuringPermissionTest, anotherMicIsNotTakenInItsPlace) {
    startWith([&] { recorder->selectedMicDeviceID.set("multi.eight"); });
    expectUndone(kMicNotRunning);
    EXPECT_FALSE(writer("take_mic.wav"));
}

TEST_F(ChangesDuringPermissionTest, aSecondTrackThatIsChosenLaterIsNotInTheTake) {
    startWith([&] { recorder->selectedDawDeviceID.set("daw.two"); });
    EXPECT_TRUE(*recorder->isRecording) << lastError();
    EXPECT_EQ(files(), (std::vector<std::string>{"take_mic.wav", "take_video.mov"}));
    stop();
}

TEST_F(ChangesDuringPermissionTest, theScreenMayStillBeLeftOut) {
    startWith([&] { recorder->screenEnabled.set(false); });
    EXPECT_EQ(*recorder->statusMessage, "Recording mic…");
    EXPECT_EQ(files(), std::vector<std::string>{"take_mic.wav"});
    stop();
}

TEST_F(ChangesDuringPermissionTest, aRefusalFailsWhateverWasChangedMeanwhile) {
    machine.captureDevices->userGrantsAccess = false;
    startWith([&] { recorder->selectedMicDeviceID.set(std::nullopt); });
    expectUndone("Microphone access was denied. Enable it in System Settings > Privacy & Security > "
                 "Microphone.");
}

// While the encoders get what they need

TEST_F(ChangesDuringStartTest, aMicThatIsDeselectedWhileEncodersAreMadeFailsTheStart) {
    prepareSlowly();
    startWith([&] { recorder->selectedMicDeviceID.set(std::nullopt); });
    expectUndone(kMicNotRunning);
}

// While the screen's content is read

TEST_F(ChangesDuringStartTest, aMicThatIsDeselectedFailsTheStart) {
    startWith([&] { recorder->selectedMicDeviceID.set(std::nullopt); });
    expectUndone(kMicNotRunning);
}

TEST_F(ChangesDuringStartTest, aVirtualInputThatIsDeselectedFailsTheStart) {
    selectVirtualInput();
    startWith([&] { recorder->selectedDawDeviceID.set(std::nullopt); });
    expectUndone(
        "Couldn't set up the virtual input track, because Workstation isn't running. Select it again.");
}

TEST_F(ChangesDuringStartTest, extraRowsAreThoseOfTheMomentThatTheirFilesAreMade) {
    addExtraInput("multi.eight", 0, "Gone");
    const UUID id = machine.processInfo->makeUUID();
    startWith([&] {
        recorder->extraAudioInputs.set(
            {{.id = id, .deviceID = "daw.two", .channelIndex = 1, .name = "Come", .gainDB = 0}});
    });
    EXPECT_TRUE(*recorder->isRecording) << lastError();
    EXPECT_EQ(files(), (std::vector<std::string>{"take_Come.wav", "take_mic.wav", "take_video.mov"}));
    machine.run(1);
    stop();
    EXPECT_EQ(*recorder->statusMessage, "Saved") << lastError();
}

TEST_F(ChangesDuringStartTest, theNameOfAMicIsThatOfTheMomentThatItsFileIsMade) {
    startWith([&] { recorder->micTrackName.set("Voice"); });
    EXPECT_EQ(files(), (std::vector<std::string>{"take_Voice.wav", "take_video.mov"}));
    stop();
}

TEST_F(ChangesDuringStartTest, aWindowThatIsChosenIsWhatIsCaptured) {
    machine.screenCapture->content.windows = {
        {.windowID = 40, .frame = {{0, 0}, {300, 200}}, .title = "Notes"}};
    startWith([&] {
        recorder->selectedWindowID.set(40);
        recorder->screenCaptureMode.set(CaptureModeChoice::window);
    });
    EXPECT_TRUE(*recorder->isRecording) << lastError();
    EXPECT_EQ(machine.screenCapture->lastConfiguration->width, 600);
    stop();
}

TEST_F(ChangesDuringStartTest, aWindowThatClosesWhileTheContentIsReadFailsTheStart) {
    machine.screenCapture->content.windows = {
        {.windowID = 40, .frame = {{0, 0}, {300, 200}}, .title = "Notes"}};
    recorder->selectedWindowID.set(40);
    recorder->screenCaptureMode.set(CaptureModeChoice::window);
    startWith([&] { machine.screenCapture->content.windows.clear(); });
    expectUndone("The window you chose isn't available any more — it may have been closed. Pick another "
                 "window, or switch to Full screen.");
}

// While the stream starts: the files are there and the sinks are open

TEST_F(ChangesDuringStartTest, aMicThatIsDeselectedThenEndsEarlyAndIsToldOf) {
    // Of the stream's two seconds the mic has a half; the take goes on for three more.
    startWith([&] { recorder->selectedMicDeviceID.set(std::nullopt); }, kStreamStarts);
    EXPECT_TRUE(*recorder->isRecording) << lastError();
    machine.run(3);
    stop();
    EXPECT_EQ(lastError(), "Recording stopped early on: microphone (5s short). Those tracks end before the "
                           "rest of the recording, so audio is missing from the end — the recording is "
                           "incomplete and worth doing again.");
}

TEST_F(ChangesDuringStartTest, aRowThatIsAddedThenIsNotInTheTake) {
    startWith([&] { addExtraInput("multi.eight", 0, "Late"); }, kStreamStarts);
    EXPECT_EQ(*recorder->statusMessage, "Recording screen + mic…");
    machine.run(1);
    stop();
    EXPECT_EQ(files(), (std::vector<std::string>{"take_mic.wav", "take_video.mov"}));
    EXPECT_EQ(*recorder->statusMessage, "Saved") << lastError();
}

TEST_F(ChangesDuringStartTest, aMicThatIsUnpluggedThenEndsEarlyAndIsToldOf) {
    startWith([&] { machine.audioHardware->unplug("mic.one"); }, kStreamStarts);
    EXPECT_TRUE(*recorder->isRecording) << lastError();
    machine.run(3);
    stop();
    EXPECT_TRUE(lastError().starts_with("Recording stopped early on: microphone (5s short).")) << lastError();
}

TEST_F(ChangesDuringStartTest, computerAudioThatCannotBeRoutedRefusesTheTakeThoughItsFilesAreThere) {
    startWith([&] { recorder->captureSystemAudioForDaw.set(true); }, kStreamStarts);
    for (const auto& made : machine.assetWriters->writers)
        EXPECT_EQ(made->status(), AVAssetWriterStatus::cancelled);
    expectUndone(
        "Computer audio couldn't be routed through Vintra's audio driver, so this recording was stopped "
        "rather than saved without it. Check the driver is installed, and that your output device's sample "
        "rate is one Vintra Audio supports (44.1kHz or 48kHz).");
    EXPECT_TRUE(files().empty());
}

class ComputerAudioDuringStartTest : public RoutingFixture {};

TEST_F(ComputerAudioDuringStartTest, computerAudioThatIsGivenUpWhileTheStreamStartsReleasesTheRouting) {
    virtualDevice->signal = [](uint32_t, int64_t, CMTime) { return 0.25f; };
    turnOnComputerAudio();
    machine.screenCapture->script.startSeconds = 2;
    TaskScope scope;
    machine.mainThread->runNow([&] { scope.start(recorder->startRecording(videoURL())); });
    machine.run(1);
    recorder->captureSystemAudioForDaw.set(false);
    ASSERT_TRUE(machine.runMainUntil([&] { return !*recorder->isBusy; }));
    EXPECT_TRUE(*recorder->isRecording) << lastError();
    expectReleased(speakers);
    machine.run(3);
    stop();
    EXPECT_TRUE(lastError().starts_with("Recording stopped early on: virtual input (4s short)."))
        << lastError();
}

} // namespace
} // namespace vintra
