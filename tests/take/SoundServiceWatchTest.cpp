#include "Vintra/take/SoundServiceWatch.h"

#include "tests/take/RoutingFixture.h"
#include "tests/take/StateLog.h"

namespace vintra {
namespace {

/// A whole recorder on a machine whose sound service ends and begins anew.
class SoundServiceWatchTest : public RoutingFixture {
protected:
    void stopService() {
        for (const AudioObjectID id : hardware.devices())
            devices.push_back(hardware.device(id));
        hardware.stopService();
        machine.run(0.1);
    }
    /// One device after another, as a session manager finds them.
    void startService(double secondsBetween = 0.1) {
        hardware.startService();
        for (const auto& device : devices) {
            machine.run(secondsBetween);
            hardware.plugAgain(device);
        }
        hardware.defaultSystemOutput = speakers->id;
        hardware.chooseDefaultOutput(speakers->id);
    }
    bool runs(const std::string& uid) const { return session(uid) && session(uid)->isRunning(); }

    std::vector<std::shared_ptr<SimulatedAudioDevice>> devices;
};

TEST_F(SoundServiceWatchTest, betweenTakesWhatWasChosenIsKeptAndTakenUpAgain) {
    selectMic();
    addExtraInput("multi.eight", 3);
    turnOnComputerAudio();
    expectHeld(speakers);
    stopService();
    EXPECT_TRUE(recorder->availableAudioInputDevices->empty());
    EXPECT_EQ(*recorder->selectedMicDeviceID, "mic.one");
    EXPECT_EQ(recorder->extraAudioInputs->front().deviceID, "multi.eight");
    machine.run(12);
    EXPECT_EQ(*recorder->selectedMicDeviceID, "mic.one") << "however long it takes";
    EXPECT_EQ(lastError(), "");

    startService();
    machine.run(6);
    EXPECT_EQ(recorder->availableAudioInputDevices->size(), 4u);
    EXPECT_TRUE(runs("mic.one"));
    EXPECT_TRUE(runs("multi.eight"));
    EXPECT_TRUE(runs(SystemOutputRouter::virtualDeviceUID));
    expectHeld(speakers);
    EXPECT_TRUE(*recorder->arePreviewsDelivering);
    EXPECT_EQ(lastError(), "");
    machine.run(7);
    EXPECT_EQ(machine.log->texts("audio-health"), std::vector<std::string>{}) << "nobody looked for stalls";
}

TEST_F(SoundServiceWatchTest, aDeviceThatDoesntComeBackIsForgottenOnceAllHasSettled) {
    selectMic();
    addExtraInput("multi.eight", 3);
    stopService();
    std::erase_if(
        devices, [](const auto& device) { return device->uid == "mic.one" || device->uid == "multi.eight"; });
    startService();
    machine.run(8);
    EXPECT_EQ(*recorder->selectedMicDeviceID, "mic.one");
    machine.run(4);
    EXPECT_EQ(*recorder->selectedMicDeviceID, std::nullopt);
    EXPECT_EQ(recorder->extraAudioInputs->front().deviceID, std::nullopt);
}

TEST_F(SoundServiceWatchTest, aTakeGoesOnAndOneSentenceSaysWhatStopped) {
    selectMic();
    addExtraInput("multi.eight", 3);
    turnOnComputerAudio();
    start();
    machine.run(3);
    std::vector<std::string> told;
    const auto observation = recorder->lastError.observe([&](const auto& error) {
        if (error) told.push_back(*error);
    });
    stopService();
    machine.run(9);
    EXPECT_EQ(told,
              std::vector<std::string>{
                  "Your Mac's sound service stopped mid-recording, so Mic and Virtual input and Extra input "
                  "stopped receiving data until it is back — other tracks are still recording."});
    EXPECT_TRUE(*recorder->isRecording);
    EXPECT_EQ(machine.audioDeviceIO->runningProcs(), 0);

    startService();
    machine.run(5);
    EXPECT_EQ(told.size(), 1u) << told.back();
    EXPECT_TRUE(runs("mic.one"));
    EXPECT_TRUE(runs("multi.eight"));
    EXPECT_TRUE(runs(SystemOutputRouter::virtualDeviceUID));
    expectHeld(speakers);
    stop();
    EXPECT_EQ(*recorder->statusMessage, "Saved with warnings");
    // What came after is in its place: 3 s, over 9 s away, 5 s.
    for (const SavedFile& file : recorder->lastTakeSavedFiles()) {
        if (!file.sound) continue;
        ASSERT_EQ(file.sound->losses.size(), 1u) << file.url.path();
        EXPECT_NEAR(file.sound->losses.front().atSeconds(), 3, 0.2);
        EXPECT_NEAR(file.sound->losses.front().seconds(), 10, 2.5);
    }
    machine.run(11);
    EXPECT_EQ(*recorder->selectedMicDeviceID, "mic.one");
}

TEST_F(SoundServiceWatchTest, aTakeThatEndsWithoutTheServiceIsSaved) {
    selectMic();
    turnOnComputerAudio();
    start();
    machine.run(3);
    stopService();
    machine.run(5);
    stop();
    EXPECT_EQ(*recorder->statusMessage, "Saved with warnings");
    EXPECT_TRUE(machine.fileManager->fileExists(videoURL()));
    startService();
    machine.run(6);
    expectHeld(speakers);
    EXPECT_TRUE(runs("mic.one"));
}

TEST_F(SoundServiceWatchTest, theEndOfTheProgramMeanwhileLeavesNothingBehind) {
    turnOnComputerAudio();
    stopService();
    recorder->stopSystemAudioRelay();
    EXPECT_FALSE(*recorder->isHoldingAudioRouting);
    startService();
    machine.run(6);
    EXPECT_EQ(hardware.defaultOutput, speakers->id);
    EXPECT_EQ(machine.audioDeviceIO->runningProcs(), 0) << "routing that was stopped isn't begun again";
}

TEST_F(SoundServiceWatchTest, itMayGoAgainBeforeItHasSettled) {
    selectMic();
    turnOnComputerAudio();
    for (int time = 0; time < 3; ++time) {
        stopService();
        machine.run(1);
        startService(0.3);
        devices.clear();
        machine.run(0.5);
    }
    machine.run(15);
    EXPECT_EQ(*recorder->selectedMicDeviceID, "mic.one");
    EXPECT_TRUE(runs("mic.one"));
    expectHeld(speakers);
    EXPECT_EQ(lastError(), "");
}

} // namespace
} // namespace vintra
