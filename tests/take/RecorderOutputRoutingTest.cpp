#include "Vintra/take/RecordingError.h"
#include "tests/take/RoutingFixture.h"

#include <algorithm>

namespace vintra {
namespace {

class RecorderOutputRoutingTest : public RoutingFixture {};

TEST_F(RecorderOutputRoutingTest, aLaunchTouchesNoOutput) {
    EXPECT_TRUE(*recorder->systemAudioDriverInstalled);
    EXPECT_TRUE(*recorder->isAudioStartUpOver);
    expectReleased(speakers);
    EXPECT_FALSE(recorder->lastError->has_value());
}

TEST_F(RecorderOutputRoutingTest, computerAudioHoldsTheRoutingUntilItIsTurnedOff) {
    turnOnComputerAudio();
    expectHeld(speakers);
    EXPECT_TRUE(recorder->usesVirtualAudioDevice());
    EXPECT_TRUE(recorder->isDawPreviewRunning());
    EXPECT_TRUE(session("VintraAudioDevice"));
    EXPECT_EQ(hardware.defaultSystemOutput, speakers->id) << "alerts stay where they are";
    recorder->captureSystemAudioForDaw.set(false);
    expectReleased(speakers);
    machine.run(0.3);
    EXPECT_FALSE(recorder->isDawPreviewRunning());
    EXPECT_FALSE(recorder->lastError->has_value());
}

TEST_F(RecorderOutputRoutingTest, theUserHearsOnTheOutputWhatProgramsPlay) {
    virtualDevice->signal = [](uint32_t channel, int64_t frame, CMTime) {
        return static_cast<float>(frame % 1'000'000) * (channel == 0 ? 1.0f : -1.0f);
    };
    std::vector<float> heard;
    speakers->playing = [&](AudioBufferList output) {
        heard.insert(heard.end(), output[0].mData, output[0].mData + output[0].mDataByteSize / 4);
    };
    turnOnComputerAudio();
    machine.run(2);
    const auto first = std::ranges::find_if(heard, [](float sample) { return sample != 0; });
    ASSERT_LT(first - heard.begin(), 4096) << "the relay's first silence is short";
    for (auto at = first + 2; at + 1 < heard.end(); at += 2) {
        ASSERT_EQ(at[0], at[-2] + 1);
        ASSERT_EQ(at[1], -at[0]);
    }
}

TEST_F(RecorderOutputRoutingTest, theDawPreviewMovesToTheVirtualDeviceAndBack) {
    selectVirtualInput();
    EXPECT_TRUE(session("daw.two"));
    turnOnComputerAudio();
    EXPECT_TRUE(session("VintraAudioDevice"));
    EXPECT_FALSE(session("daw.two"));
    recorder->captureSystemAudioForDaw.set(false);
    machine.run(0.3);
    EXPECT_FALSE(session("VintraAudioDevice"));
    EXPECT_TRUE(session("daw.two")->isRunning());
}

TEST_F(RecorderOutputRoutingTest, theEndOfATakeKeepsTheRouting) {
    turnOnComputerAudio();
    recordFor(1);
    EXPECT_EQ(*recorder->statusMessage, "Saved with warnings") << "programs played nothing";
    expectHeld(speakers);
}

TEST_F(RecorderOutputRoutingTest, aWayOutOfTheProgramPutsTheOutputBack) {
    turnOnComputerAudio();
    start();
    recorder->stopSystemAudioRelay();
    expectReleased(speakers);
    EXPECT_TRUE(*recorder->isRecording) << "a take goes on without it";
    ASSERT_TRUE(recorder->lastRelayTelemetry);
    EXPECT_EQ(recorder->lastRelayTelemetry->destination, "Speakers");
    stop();
    recorder->stopSystemAudioRelay();
    EXPECT_FALSE(recorder->lastRelayTelemetry);
}

TEST_F(RecorderOutputRoutingTest, anOutputThatIsChosenInATakeIsToldAtOnceAndAtTheStop) {
    virtualDevice->signal = [](uint32_t, int64_t, CMTime) { return 0.25f; };
    turnOnComputerAudio();
    start();
    machine.run(1);
    hardware.chooseDefaultOutput(headphones->id);
    machine.run(1);
    const std::string told = lastError();
    EXPECT_TRUE(told.starts_with("Your sound output was switched to Headphones mid-recording")) << told;
    expectReleased(headphones);
    stop();
    EXPECT_EQ(*recorder->statusMessage, "Saved with warnings");
    EXPECT_EQ(lastError(), told);
    machine.complete(recorder->startRecording(URL::fileURL(path("next_video.mov"))));
    EXPECT_TRUE(*recorder->isRecording) << lastError();
    expectHeld(headphones);
    machine.run(1);
    stop();
    EXPECT_EQ(*recorder->statusMessage, "Saved") << lastError();
    recorder->stopSystemAudioRelay();
    expectReleased(headphones);
}

TEST_F(RecorderOutputRoutingTest, aRecorderThatGoesEndsItsIO) {
    turnOnComputerAudio();
    recorder.reset();
    EXPECT_EQ(machine.audioDeviceIO->runningProcs(), 0);
    EXPECT_EQ(pending(), "speakers") << "the next launch finds the way back";
}

TEST_F(RecorderOutputRoutingTest, theMonitorIsHeardAndTheUsersChoiceComesBack) {
    recorder->systemAudioMonitorUID.set("headphones");
    turnOnComputerAudio();
    expectHeld(speakers);
    int64_t cycles = 0;
    headphones->playing = [&](AudioBufferList) { ++cycles; };
    machine.run(0.5);
    EXPECT_GT(cycles, 0);
    recorder->captureSystemAudioForDaw.set(false);
    EXPECT_EQ(recorder->lastRelayTelemetry->destination, "Headphones");
    expectReleased(speakers);
}

TEST_F(RecorderOutputRoutingTest, aMonitorThatIsGoneGivesWayToTheDefaultAndIsKept) {
    recorder->systemAudioMonitorUID.set("gone");
    turnOnComputerAudio();
    expectHeld(speakers);
    EXPECT_EQ(*recorder->systemAudioMonitorUID, "gone");
    EXPECT_EQ(stringForKey(*machine.userDefaults, "systemAudioMonitorUID"), "gone");
    recorder->captureSystemAudioForDaw.set(false);
    EXPECT_EQ(recorder->lastRelayTelemetry->destination, "Speakers");
}

TEST_F(RecorderOutputRoutingTest, anotherMonitorWaitsForTheNextRelay) {
    turnOnComputerAudio();
    recorder->systemAudioMonitorUID.set("headphones");
    machine.run(0.5);
    recorder->captureSystemAudioForDaw.set(false);
    EXPECT_EQ(recorder->lastRelayTelemetry->destination, "Speakers");
    turnOnComputerAudio();
    recorder->captureSystemAudioForDaw.set(false);
    EXPECT_EQ(recorder->lastRelayTelemetry->destination, "Headphones");
}

TEST_F(RecorderOutputRoutingTest, aDefaultThatIsTheVirtualDeviceAlreadyLeavesNothingToRelayTo) {
    hardware.defaultOutput = virtualDevice->id;
    turnOnComputerAudio();
    EXPECT_FALSE(*recorder->isHoldingAudioRouting);
    EXPECT_EQ(pending(), std::nullopt);
    EXPECT_FALSE(recorder->lastError->has_value());
    start();
    expectUndone(RecordingError::systemAudioUnavailable().errorDescription());
}

TEST_F(RecorderOutputRoutingTest, aDefaultThatIsTheVirtualDeviceAlreadyReturnsToTheMonitor) {
    hardware.defaultOutput = virtualDevice->id;
    recorder->systemAudioMonitorUID.set("headphones");
    turnOnComputerAudio();
    expectHeld(headphones);
    recorder->captureSystemAudioForDaw.set(false);
    expectReleased(headphones);
}

TEST_F(RecorderOutputRoutingTest, aDefaultThatCannotBeSwitchedStillGetsItsRelay) {
    virtualDevice->refusesToBeDefault = true;
    turnOnComputerAudio();
    EXPECT_TRUE(*recorder->isHoldingAudioRouting);
    EXPECT_EQ(hardware.defaultOutput, speakers->id);
    EXPECT_EQ(pending(), "speakers");
}

TEST_F(RecorderOutputRoutingTest, withoutADefaultOutputThereIsNoRelay) {
    for (const auto output : {std::optional<AudioObjectID>(), std::optional<AudioObjectID>(0)}) {
        hardware.defaultOutput = output;
        turnOnComputerAudio();
        EXPECT_FALSE(*recorder->isHoldingAudioRouting);
        EXPECT_EQ(hardware.defaultOutput, output);
        recorder->captureSystemAudioForDaw.set(false);
        machine.run(0.3);
    }
}

TEST_F(RecorderOutputRoutingTest, theVirtualDeviceFollowsTheOutputsRate) {
    hardware.setNominalSampleRate("speakers", 44'100);
    virtualDevice->rateChangeSeconds = 0.7;
    turnOnComputerAudio();
    EXPECT_FALSE(*recorder->isHoldingAudioRouting) << "it waits for the rate";
    EXPECT_EQ(hardware.defaultOutput, speakers->id);
    machine.run(0.6);
    expectHeld(speakers);
    EXPECT_EQ(virtualDevice->nominalSampleRate, 44'100);
}

TEST_F(RecorderOutputRoutingTest, ratesThatCannotBeMatchedAreToldOf) {
    hardware.setNominalSampleRate("speakers", 96'000);
    turnOnComputerAudio();
    expectReleased(speakers);
    EXPECT_EQ(lastError(), "Vintra Audio is running at 48000Hz but your output device is at 96000Hz. Vintra "
                           "couldn't match the two, so computer audio is unavailable — set both to the same "
                           "rate in Audio MIDI Setup.");
}

TEST_F(RecorderOutputRoutingTest, aRateThatNeverComesIsWaitedForTwoSeconds) {
    hardware.setNominalSampleRate("speakers", 44'100);
    virtualDevice->rateChangeSeconds = 100;
    turnOnComputerAudio();
    machine.run(1.6);
    EXPECT_FALSE(recorder->lastError->has_value());
    machine.run(0.2);
    EXPECT_EQ(lastError(), "Vintra Audio is running at 48000Hz but your output device is at 44100Hz. Vintra "
                           "couldn't match the two, so computer audio is unavailable — set both to the same "
                           "rate in Audio MIDI Setup.");
    expectReleased(speakers);
}

TEST_F(RecorderOutputRoutingTest, aRelayThatDoesNotStartIsUndone) {
    for (const auto& device : {virtualDevice, speakers}) {
        for (const auto fault :
             {&SimulatedAudioDevice::refusesIOProc, &SimulatedAudioDevice::failsToStartIO}) {
            recorder->lastError.set(std::nullopt);
            (*device).*fault = true;
            turnOnComputerAudio();
            expectReleased(speakers);
            EXPECT_EQ(lastError(),
                      "Couldn't route computer audio to your output device, so it won't be recorded.");
            (*device).*fault = false;
            recorder->captureSystemAudioForDaw.set(false);
            machine.run(0.3);
        }
    }
}

TEST_F(RecorderOutputRoutingTest, aFailedRelayGivesTheVirtualDeviceItsBuffersBack) {
    recorder->lowLatencyMonitoring.set(true);
    speakers->failsToStartIO = true;
    turnOnComputerAudio();
    EXPECT_EQ(virtualDevice->bufferFrameSize, 512u);
    expectReleased(speakers);
}

TEST_F(RecorderOutputRoutingTest, lowLatencyRebuildsTheRelayBetweenTakes) {
    turnOnComputerAudio();
    EXPECT_EQ(virtualDevice->bufferFrameSize, 512u);
    const auto sessions = machine.captureDevices->sessionsMade;
    recorder->lowLatencyMonitoring.set(true);
    EXPECT_FALSE(*recorder->isHoldingAudioRouting);
    EXPECT_EQ(boolForKey(*machine.userDefaults, "lowLatencyMonitoring"), true);
    machine.run(0.3);
    expectHeld(speakers);
    EXPECT_EQ(virtualDevice->bufferFrameSize, 64u);
    EXPECT_EQ(machine.captureDevices->sessionsMade, sessions + 1) << "the preview is rebuilt";
    EXPECT_TRUE(recorder->isDawPreviewRunning());
    recorder->captureSystemAudioForDaw.set(false);
    EXPECT_EQ(virtualDevice->bufferFrameSize, 512u);
    EXPECT_TRUE(recorder->lastRelayTelemetry->lowLatency);
}

TEST_F(RecorderOutputRoutingTest, lowLatencyWaitsForTheNextRelayWhileATakeRuns) {
    turnOnComputerAudio();
    start();
    recorder->lowLatencyMonitoring.set(true);
    machine.run(0.5);
    EXPECT_EQ(virtualDevice->bufferFrameSize, 512u);
    EXPECT_EQ(boolForKey(*machine.userDefaults, "lowLatencyMonitoring"), true);
    stop();
    expectHeld(speakers);
}

TEST_F(RecorderOutputRoutingTest, lowLatencyAloneTouchesNothing) {
    recorder->lowLatencyMonitoring.set(true);
    machine.run(0.5);
    expectReleased(speakers);
}

TEST_F(RecorderOutputRoutingTest, twoCallersDuringTheWaitBuildOneRelay) {
    recorder->systemAudioMonitorUID.set("headphones");
    hardware.setNominalSampleRate("headphones", 44'100);
    virtualDevice->rateChangeSeconds = 0.5;
    recorder->captureSystemAudioForDaw.set(true);
    machine.run(0.1);
    start(); // asks for the relay as well
    EXPECT_TRUE(*recorder->isRecording) << lastError();
    expectHeld(speakers);
    stop();
}

TEST_F(RecorderOutputRoutingTest, turningItOffDuringTheWaitBuildsNone) {
    hardware.setNominalSampleRate("speakers", 44'100);
    virtualDevice->rateChangeSeconds = 0.5;
    recorder->captureSystemAudioForDaw.set(true);
    machine.run(0.1);
    recorder->captureSystemAudioForDaw.set(false);
    machine.run(1);
    expectReleased(speakers);
}

TEST_F(RecorderOutputRoutingTest, turningItOffDuringATakeStopsTheRelayAtOnce) {
    turnOnComputerAudio();
    start();
    machine.run(0.5);
    recorder->captureSystemAudioForDaw.set(false);
    expectReleased(speakers);
    machine.run(0.5);
    stop();
}

TEST_F(RecorderOutputRoutingTest, theDriverIsNoticedWhenItComesAndGoes) {
    hardware.unplug("VintraAudioDevice");
    machine.run(0.1);
    EXPECT_FALSE(*recorder->systemAudioDriverInstalled);
    hardware.plugAgain(virtualDevice);
    machine.run(0.1);
    EXPECT_TRUE(*recorder->systemAudioDriverInstalled);
}

TEST_F(RecorderOutputRoutingTest, anOutputThatChangesRateBetweenTakesChangesTheStatusAlone) {
    EXPECT_EQ(*recorder->systemOutputStatus, (SystemOutputStatus{"Speakers", 48'000}));
    hardware.setNominalSampleRate("speakers", 44'100);
    machine.run(0.1);
    EXPECT_EQ(*recorder->systemOutputStatus, (SystemOutputStatus{"Speakers", 44'100}));
    EXPECT_FALSE(recorder->lastError->has_value());
    speakers->hasUnreadableName = true;
    hardware.notify(speakers->id, AudioProperty::nominalSampleRate);
    machine.run(0.1);
    EXPECT_EQ(*recorder->systemOutputStatus, (SystemOutputStatus{"Output device", 44'100}));
    speakers->hasUnreadableRate = true;
    hardware.notify(speakers->id, AudioProperty::nominalSampleRate);
    machine.run(0.1);
    EXPECT_EQ(*recorder->systemOutputStatus, std::nullopt);
}

TEST_F(RecorderOutputRoutingTest, anotherOutputDuringATakeIsToldOf) {
    start();
    hardware.setDefaultSystemOutputDevice(headphones->id);
    machine.run(0.1);
    EXPECT_EQ(lastError(),
              "The default output device changed mid-recording. The recording is unaffected, but "
              "you may not be hearing it through the device you expect.");
    recorder->lastError.set(std::nullopt);
    hardware.setDefaultSystemOutputDevice(speakers->id);
    machine.run(0.1);
    EXPECT_FALSE(recorder->lastError->has_value()) << "it is as it was at the start";
    stop();
}

TEST_F(RecorderOutputRoutingTest, anotherRateDuringATakeIsToldOfAgainstItsStart) {
    hardware.setNominalSampleRate("headphones", 44'100.7);
    start();
    hardware.setDefaultSystemOutputDevice(headphones->id);
    machine.run(0.1);
    EXPECT_EQ(lastError(), "Your output device's sample rate changed mid-recording "
                           "(48000Hz → 44100Hz). The recording is unaffected, "
                           "but what you're hearing may be off-pitch until you restart it.");
    hardware.setNominalSampleRate("headphones", 96'000);
    machine.run(0.1);
    EXPECT_EQ(lastError(), "Your output device's sample rate changed mid-recording "
                           "(48000Hz → 96000Hz). The recording is unaffected, "
                           "but what you're hearing may be off-pitch until you restart it.");
    stop();
    recorder->lastError.set(std::nullopt);
    hardware.setNominalSampleRate("headphones", 44'100);
    machine.run(0.1);
    EXPECT_FALSE(recorder->lastError->has_value());
}

class RepairAtLaunchTest : public RoutingFixture {
protected:
    void prepare() override { hardware.defaultOutput = virtualDevice->id; }
};

TEST_F(RepairAtLaunchTest, anOutputLeftOnTheSilentDeviceIsToldOf) {
    EXPECT_EQ(hardware.defaultOutput, speakers->id);
    EXPECT_EQ(lastError(), "Your Mac's sound output had been set to Vintra Audio, which is silent unless "
                           "Vintra is recording. Your output is back on Speakers.");
}

class NothingToRepairTest : public RoutingFixture {
protected:
    void prepare() override { machine.userDefaults->set(kPendingKey, std::string("headphones")); }
};

TEST_F(NothingToRepairTest, aNoteWithTheOutputOnARealDeviceIsDroppedWithoutAWord) {
    EXPECT_EQ(hardware.defaultOutput, speakers->id);
    EXPECT_EQ(pending(), std::nullopt);
    EXPECT_FALSE(recorder->lastError->has_value());
}

class RepairWithoutTheNotedDeviceTest : public RoutingFixture {
protected:
    void prepare() override {
        hardware.defaultOutput = virtualDevice->id;
        machine.userDefaults->set(kPendingKey, std::string("unplugged"));
    }
};

TEST_F(RepairWithoutTheNotedDeviceTest, anotherDeviceIsChosenAndToldOf) {
    EXPECT_EQ(hardware.defaultOutput, speakers->id);
    EXPECT_EQ(lastError(), "Your Mac's sound output had been set to Vintra Audio, which is silent unless "
                           "Vintra is recording. Your output is back on Speakers.");
}

class RepairAfterCrashTest : public RoutingFixture {
protected:
    void prepare() override {
        hardware.defaultOutput = virtualDevice->id;
        machine.userDefaults->set(kPendingKey, std::string("headphones"));
    }
};

TEST_F(RepairAfterCrashTest, aCrashWhileHeldIsToldOf) {
    EXPECT_EQ(hardware.defaultOutput, headphones->id);
    EXPECT_EQ(lastError(),
              "Vintra didn't shut down cleanly last time and left your sound going nowhere. Your "
              "output is back on Headphones.");
    EXPECT_EQ(pending(), std::nullopt);
}

TEST_F(RepairAfterCrashTest, aRelayAskedForMeanwhileWaitsForTheRepair) {
    recorder.reset();
    hardware.defaultOutput = virtualDevice->id;
    machine.userDefaults->set(kPendingKey, std::string("headphones"));
    recorder = ScreenRecorderManager::make(machine.platform());
    recorder->captureSystemAudioForDaw.set(true);
    EXPECT_FALSE(*recorder->isAudioStartUpOver);
    machine.run(0.3);
    expectHeld(headphones);
}

} // namespace
} // namespace vintra
