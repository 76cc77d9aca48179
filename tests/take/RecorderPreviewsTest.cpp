#include "tests/take/RecorderFixture.h"

namespace vintra {
namespace {

class RecorderPreviewsTest : public RecorderFixture {
protected:
    std::shared_ptr<SimulatedCaptureSession> session(const std::string& uid) const {
        return machine.captureDevices->session(uid);
    }
};

TEST_F(RecorderPreviewsTest, nothingRunsUntilADeviceIsSelected) {
    EXPECT_EQ(machine.captureDevices->sessionsMade, 0);
    EXPECT_FALSE(recorder->isMicPreviewRunning());
}

TEST_F(RecorderPreviewsTest, selectingADeviceRunsItAndMovesTheMeter) {
    selectMic();
    EXPECT_TRUE(recorder->isMicPreviewRunning());
    machine.run(0.5);
    // A quarter of full scale is -12.04 dB: (60 - 12.04) / 60 of the meter.
    EXPECT_NEAR(*recorder->levels->micLevel, 0.7993, 0.001);
}

TEST_F(RecorderPreviewsTest, selectingTheSameDeviceAgainRebuildsNothing) {
    selectMic();
    selectMic();
    machine.complete(recorder->configureMicPreview());
    EXPECT_EQ(machine.captureDevices->sessionsMade, 1);
}

TEST_F(RecorderPreviewsTest, deselectingStopsTheSessionAndTheMeter) {
    selectMic();
    machine.run(0.5);
    recorder->selectedMicDeviceID.set(std::nullopt);
    machine.run(0.5);
    EXPECT_FALSE(recorder->isMicPreviewRunning());
    EXPECT_EQ(session("mic.one"), nullptr);
    EXPECT_EQ(*recorder->levels->micLevel, 0);
}

TEST_F(RecorderPreviewsTest, aNewDeviceStartsAtItsFirstChannel) {
    selectMic("multi.eight");
    recorder->selectedMicChannelIndex.set(5);
    selectMic("daw.two");
    EXPECT_EQ(*recorder->selectedMicChannelIndex, 0);
    EXPECT_EQ(session("multi.eight"), nullptr);
}

TEST_F(RecorderPreviewsTest, aSelectionIsRememberedAndListedFirstNextTime) {
    selectMic("daw.two");
    EXPECT_EQ(std::get<std::string>(machine.userDefaults->values.at("lastUsedAudioDeviceID")), "daw.two");
    recorder->refreshAudioDevices();
    std::vector<std::string> listed;
    for (const auto& device : *recorder->availableAudioInputDevices)
        listed.push_back(device->uniqueID());
    EXPECT_EQ(listed, (std::vector<std::string>{"daw.two", "mic.one", "multi.eight"}));
}

TEST_F(RecorderPreviewsTest, aDeviceWithoutACaptureDeviceIsCountedButNotListed) {
    machine.audioHardware->device("daw.two")->isCapturable = false;
    recorder->refreshAudioDevices();
    EXPECT_EQ(recorder->availableAudioInputDevices->size(), 2u);
    EXPECT_EQ(recorder->audioDeviceChannelCounts->at("daw.two"), 2);
}

TEST_F(RecorderPreviewsTest, aRefusedPermissionLeavesThePreviewAbsent) {
    machine.captureDevices->authorization[AVMediaType::audio] = AVAuthorizationStatus::denied;
    selectMic();
    EXPECT_EQ(machine.captureDevices->sessionsMade, 0);
    EXPECT_FALSE(recorder->lastError->has_value());
}

TEST_F(RecorderPreviewsTest, aSelectionThatMovesDuringTheQuestionBuildsTheNewDeviceAlone) {
    machine.captureDevices->authorization[AVMediaType::audio] = AVAuthorizationStatus::notDetermined;
    recorder->selectedMicDeviceID.set("mic.one");
    machine.run(0.5);
    recorder->selectedMicDeviceID.set("multi.eight");
    machine.run(3);
    EXPECT_EQ(session("mic.one"), nullptr);
    ASSERT_TRUE(session("multi.eight"));
    EXPECT_TRUE(session("multi.eight")->isRunning());
}

TEST_F(RecorderPreviewsTest, twoConfiguresThatWaitForOneAnswerBuildOneSession) {
    machine.captureDevices->authorization[AVMediaType::audio] = AVAuthorizationStatus::notDetermined;
    recorder->selectedMicDeviceID.set("mic.one");
    machine.run(0.5);
    machine.complete(recorder->configureMicPreview());
    machine.run(2);
    EXPECT_EQ(machine.captureDevices->sessionsMade, 1);
}

TEST_F(RecorderPreviewsTest, aRateChangeBetweenTakesRebuildsAndKeepsTheChannel) {
    selectMic("multi.eight");
    recorder->selectedMicChannelIndex.set(4);
    machine.audioHardware->setNominalSampleRate("multi.eight", 96'000);
    machine.run(0.5);
    EXPECT_EQ(machine.captureDevices->sessionsMade, 2);
    EXPECT_TRUE(recorder->isMicPreviewRunning());
    EXPECT_EQ(*recorder->selectedMicChannelIndex, 4);
    EXPECT_FALSE(recorder->lastError->has_value());
}

TEST_F(RecorderPreviewsTest, aRateChangeDuringATakeWarnsAndRebuildsNothing) {
    selectMic();
    start();
    machine.audioHardware->setNominalSampleRate("mic.one", 96'000);
    machine.run(0.5);
    EXPECT_EQ(lastError(),
              "Mic input's audio format changed unexpectedly mid-recording. That track may have stopped "
              "receiving data — other tracks are still recording.");
    EXPECT_EQ(machine.captureDevices->sessionsMade, 1);
    stop();
}

TEST_F(RecorderPreviewsTest, theSameForTheVirtualInput) {
    selectVirtualInput();
    start();
    machine.audioHardware->setNominalSampleRate("daw.two", 96'000);
    machine.run(0.5);
    EXPECT_EQ(lastError(),
              "Virtual input's audio format changed unexpectedly mid-recording. That track may have stopped "
              "receiving data — other tracks are still recording.");
    EXPECT_EQ(machine.captureDevices->sessionsMade, 1);
    stop();
}

TEST_F(RecorderPreviewsTest, aSelectionDuringATakeWaitsForItsEnd) {
    start();
    selectMic();
    EXPECT_EQ(machine.captureDevices->sessionsMade, 0);
    stop();
    machine.complete(recorder->configureMicPreview());
    machine.run(0.2);
    EXPECT_TRUE(recorder->isMicPreviewRunning());
}

TEST_F(RecorderPreviewsTest, twoRowsOnOneDeviceShareOnePreview) {
    addExtraInput("multi.eight", 0);
    addExtraInput("multi.eight", 1);
    EXPECT_EQ(machine.captureDevices->sessionsMade, 1);
    start();
    EXPECT_EQ(files(), (std::vector<std::string>{"take_Stage Box_ch1.wav", "take_Stage Box_ch2.wav",
                                                 "take_video.mov"}));
    stop();
}

TEST_F(RecorderPreviewsTest, anotherChannelOfARowChangesNoSession) {
    machine.audioHardware->device("multi.eight")->signal = [](uint32_t channel, int64_t, CMTime) {
        return channel == 3 ? 1.0f : 0.0f;
    };
    addExtraInput("multi.eight", 0);
    const UUID id = recorder->extraAudioInputs->front().id;
    machine.run(0.5);
    EXPECT_EQ(recorder->levels->level(LevelKey::extra(id)), 0);
    recorder->extraAudioInputs.update([](auto& rows) { rows[0].channelIndex = 3; });
    machine.run(0.5);
    EXPECT_EQ(recorder->levels->level(LevelKey::extra(id)), 1);
    EXPECT_EQ(machine.captureDevices->sessionsMade, 1);
}

TEST_F(RecorderPreviewsTest, aRowThatGoesTakesItsSessionAndLevelAlong) {
    addExtraInput("multi.eight", 0);
    machine.run(0.5);
    EXPECT_EQ(recorder->levels->extraInputLevels->size(), 1u);
    recorder->extraAudioInputs.set({});
    machine.run(0.5);
    EXPECT_EQ(session("multi.eight"), nullptr);
    EXPECT_TRUE(recorder->levels->extraInputLevels->empty());
}

TEST_F(RecorderPreviewsTest, theVirtualInputIsSilentWithComputerAudioOnAndComesBack) {
    selectVirtualInput();
    EXPECT_TRUE(recorder->isDawPreviewRunning());
    recorder->captureSystemAudioForDaw.set(true);
    machine.run(0.5);
    EXPECT_FALSE(recorder->isDawPreviewRunning()) << "there is no relay, so there is nothing to preview";
    recorder->captureSystemAudioForDaw.set(false);
    machine.run(0.5);
    EXPECT_TRUE(recorder->isDawPreviewRunning());
}

TEST_F(RecorderPreviewsTest, whenTheyEndNoSessionIsLeftAndNothingHoldsTheRecorder) {
    selectMic();
    selectVirtualInput();
    addExtraInput("multi.eight", 0);
    machine.run(0.5);
    ASSERT_TRUE(recorder->isMicPreviewRunning() && recorder->isDawPreviewRunning());
    machine.complete(recorder->endPreviews());
    for (const char* const uid : {"mic.one", "daw.two", "multi.eight"})
        EXPECT_EQ(session(uid), nullptr) << uid;
    machine.complete(recorder->configureMicPreview()); // as a change of the devices does
    machine.complete(recorder->configureDawPreview());
    machine.complete(recorder->configureExtraPreviews());
    EXPECT_EQ(session("mic.one"), nullptr);
    EXPECT_EQ(session("multi.eight"), nullptr);
    EXPECT_FALSE(recorder->isMicPreviewRunning() || recorder->isDawPreviewRunning());
    const std::weak_ptr<ScreenRecorderManager> left = recorder;
    recorder.reset();
    EXPECT_TRUE(left.expired());
}

} // namespace
} // namespace vintra
