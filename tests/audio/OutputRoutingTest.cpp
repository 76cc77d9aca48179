#include "tests/audio/OutputRoutingFixture.h"

namespace vintra {
namespace {

class OutputRoutingTest : public OutputRoutingFixture {};

TEST_F(OutputRoutingTest, aRelayIsBuiltOnlyForComputerAudio) {
    startUp();
    machine.complete(routing.startSystemAudioRelayIfNeeded());
    EXPECT_FALSE(routing.hasSystemAudioRelay());
    EXPECT_EQ(hardware.defaultOutput, speakers->id);
    hold();
    EXPECT_TRUE(routing.hasSystemAudioRelay());
    EXPECT_TRUE(*selection.isHoldingAudioRouting);
    EXPECT_EQ(hardware.defaultOutput, virtualDevice->id);
    EXPECT_EQ(pending(), "speakers");
    machine.complete(routing.startSystemAudioRelayIfNeeded());
    EXPECT_EQ(machine.audioDeviceIO->runningProcs(), 2) << "there is one already";
}

TEST_F(OutputRoutingTest, stoppingPutsTheUsersOutputBackAndLeavesTheTelemetry) {
    startUp();
    hold();
    routing.stopSystemAudioRelay();
    EXPECT_FALSE(routing.hasSystemAudioRelay());
    EXPECT_FALSE(*selection.isHoldingAudioRouting);
    EXPECT_EQ(hardware.defaultOutput, speakers->id);
    EXPECT_EQ(pending(), std::nullopt);
    ASSERT_TRUE(selection.lastRelayTelemetry);
    EXPECT_EQ(selection.lastRelayTelemetry->destination, "Speakers");
    routing.stopSystemAudioRelay();
    EXPECT_FALSE(selection.lastRelayTelemetry) << "of a relay that wasn't there";
}

TEST_F(OutputRoutingTest, computerAudioIsUsedOnceEverythingIsThere) {
    EXPECT_FALSE(routing.usesVirtualAudioDevice());
    EXPECT_EQ(routing.virtualAudioCaptureDevice(), nullptr) << "nobody has looked for it yet";
    startUp();
    ASSERT_TRUE(routing.virtualAudioCaptureDevice());
    EXPECT_EQ(routing.virtualAudioCaptureDevice()->uniqueID(), SystemOutputRouter::virtualDeviceUID);
    EXPECT_FALSE(routing.usesVirtualAudioDevice()) << "computer audio is off";
    hold();
    EXPECT_TRUE(routing.usesVirtualAudioDevice());
    selection.availableAudioInputDevices.set({});
    EXPECT_FALSE(routing.usesVirtualAudioDevice()) << "its input can't be captured";
}

TEST_F(OutputRoutingTest, theStartUpIsOverWhenBothQuestionsAreAnswered) {
    EXPECT_FALSE(*selection.isAudioStartUpOver);
    machine.complete(routing.repairDeadEndOutput());
    EXPECT_FALSE(*selection.isAudioStartUpOver);
    machine.complete(routing.refreshDriverPresence());
    EXPECT_TRUE(*selection.isAudioStartUpOver);
    EXPECT_TRUE(*selection.systemAudioDriverInstalled);
}

TEST_F(OutputRoutingTest, aRelayWaitsForTheRepairOfTheOutput) {
    hardware.defaultOutput = virtualDevice->id; // as a run that crashed leaves it
    selection.captureSystemAudioForDaw.set(true);
    TaskScope scope;
    machine.mainThread->runNow([&] { scope.start(routing.startSystemAudioRelayIfNeeded()); });
    machine.run(1);
    EXPECT_FALSE(routing.hasSystemAudioRelay());
    machine.complete(routing.repairDeadEndOutput());
    machine.run(1);
    EXPECT_TRUE(routing.hasSystemAudioRelay());
    EXPECT_TRUE(lastError->has_value()) << "the user is told where the sound had gone";
}

TEST_F(OutputRoutingTest, aChangedMindDuringTheWaitForTheRateBuildsNone) {
    startUp();
    hardware.setNominalSampleRate("speakers", 44'100);
    virtualDevice->rateChangeSeconds = 1;
    machine.time->after(500'000'000, [&] { selection.captureSystemAudioForDaw.set(false); });
    hold();
    EXPECT_FALSE(routing.hasSystemAudioRelay());
    EXPECT_EQ(hardware.defaultOutput, speakers->id);
}

TEST_F(OutputRoutingTest, anOutputThatGoesDuringTheWaitForTheRateBuildsNone) {
    startUp();
    hardware.setNominalSampleRate("speakers", 44'100);
    virtualDevice->rateChangeSeconds = 1;
    machine.time->after(500'000'000, [&] { hardware.unplug("speakers"); });
    hold();
    EXPECT_FALSE(routing.hasSystemAudioRelay());
    EXPECT_FALSE(*selection.isHoldingAudioRouting);
    EXPECT_EQ(*lastError, "Couldn't route computer audio to your output device, so it won't be recorded.");
}

TEST_F(OutputRoutingTest, aDefaultOutputThatIsNoneOrIsNotListedIsToldOf) {
    startUp();
    for (const auto output : {std::optional<AudioObjectID>(), std::optional<AudioObjectID>(0),
                              std::optional<AudioObjectID>(4711)}) {
        lastError.set(std::nullopt);
        hardware.defaultOutput = output;
        hold();
        EXPECT_FALSE(routing.hasSystemAudioRelay());
        EXPECT_EQ(hardware.defaultOutput, output);
        EXPECT_EQ(*lastError,
                  "Couldn't route computer audio to your output device, so it won't be recorded.");
    }
}

TEST_F(OutputRoutingTest, behindAFilterThatFollowsTheDefaultItsOwnDeviceIsHeard) {
    startUp();
    const auto equaliser = plugOutput(hardware, "equaliser", "Equaliser");
    const auto reverb = plugOutput(hardware, "reverb", "Reverb");
    equaliser->playsOnTo = "reverb";
    reverb->playsOnTo = "headphones";
    hardware.defaultOutput = equaliser->id;
    hold();
    EXPECT_TRUE(routing.hasSystemAudioRelay());
    EXPECT_EQ(pending(), "equaliser") << "it is the user's choice";
    routing.stopSystemAudioRelay();
    EXPECT_EQ(selection.lastRelayTelemetry->destination, "Headphones");
    EXPECT_EQ(hardware.defaultOutput, equaliser->id);
}

TEST_F(OutputRoutingTest, aFilterThatFollowsTheDefaultAndPlaysNobodyKnowsWhereIsRefused) {
    startUp();
    const auto equaliser = plugOutput(hardware, "equaliser", "Equaliser");
    equaliser->playsOnTo = "";
    hardware.defaultOutput = equaliser->id;
    hold();
    EXPECT_FALSE(routing.hasSystemAudioRelay());
    EXPECT_EQ(hardware.defaultOutput, equaliser->id);
    EXPECT_EQ(*lastError,
              "Your output device, Equaliser, plays on to whatever the output is, which is Vintra "
              "Audio while computer audio is recorded. Choose the device behind it as your output.");
    equaliser->playsOnTo = "equaliser"; // in a circle
    hold();
    EXPECT_FALSE(routing.hasSystemAudioRelay());
}

TEST_F(OutputRoutingTest, theVolumeOfTheVirtualDeviceIsThatOfWhatIsHeard) {
    startUp();
    virtualDevice->signal = [](uint32_t channel, int64_t, CMTime) { return channel == 0 ? 0.5f : -0.25f; };
    std::vector<float> heard;
    speakers->playing = [&](AudioBufferList output) {
        heard.assign(output[0].mData, output[0].mData + output[0].mDataByteSize / 4);
    };
    const auto expectHeard = [&](float left, float right) {
        machine.run(0.2);
        ASSERT_FALSE(heard.empty());
        for (size_t sample = 0; sample + 1 < heard.size(); sample += 2) {
            EXPECT_EQ(heard[sample], left);
            EXPECT_EQ(heard[sample + 1], right);
        }
    };
    virtualDevice->outputVolume = std::vector<float>{0.5f, 0.5f};
    hold();
    expectHeard(0.25f, -0.125f);
    hardware.setOutputVolume(virtualDevice->uid, {1, 0.5f});
    expectHeard(0.5f, -0.125f);
    hardware.setOutputVolume(virtualDevice->uid, {0, 0}); // muted
    expectHeard(0, 0);
    hardware.setOutputVolume(virtualDevice->uid, {1});
    expectHeard(0.5f, -0.25f);
}

TEST_F(OutputRoutingTest, theMainThreadWaitsForNoDeviceThatStarts) {
    startUp();
    speakers->ioStartSeconds = 2;
    selection.captureSystemAudioForDaw.set(true);
    TaskScope scope;
    machine.mainThread->runNow([&] { scope.start(routing.startSystemAudioRelayIfNeeded()); });
    bool hasWorked = false;
    machine.time->afterSeconds(1, [&] { machine.mainThread->post([&] { hasWorked = true; }); });
    machine.run(1.5);
    EXPECT_TRUE(hasWorked);
    EXPECT_FALSE(routing.hasSystemAudioRelay());
    machine.run(1.5);
    EXPECT_TRUE(routing.hasSystemAudioRelay());
}

TEST_F(OutputRoutingTest, theMonitorIsHeardIfItIsThere) {
    startUp();
    selection.systemAudioMonitorUID.set("headphones");
    hold();
    routing.stopSystemAudioRelay();
    EXPECT_EQ(selection.lastRelayTelemetry->destination, "Headphones");
    EXPECT_EQ(hardware.defaultOutput, speakers->id) << "the user's choice comes back, not the monitor";
    selection.systemAudioMonitorUID.set("gone");
    hold();
    routing.stopSystemAudioRelay();
    EXPECT_EQ(selection.lastRelayTelemetry->destination, "Speakers");
}

TEST_F(OutputRoutingTest, theOutputIsShownAndItsChangeToldInATakeAlone) {
    startUp();
    routing.watchSystemOutput();
    ASSERT_TRUE(*selection.systemOutputStatus);
    EXPECT_EQ((*selection.systemOutputStatus)->deviceName, "Speakers");
    hardware.setDefaultSystemOutputDevice(headphones->id);
    machine.run(0.1);
    EXPECT_EQ((*selection.systemOutputStatus)->deviceName, "Headphones");
    EXPECT_FALSE(lastError->has_value());
    routing.noteOutputClock();
    isRecording.set(true);
    hardware.setDefaultSystemOutputDevice(speakers->id);
    machine.run(0.1);
    EXPECT_TRUE(lastError->has_value());
    lastError.set(std::nullopt);
    isRecording.set(false);
    routing.forgetOutputClock();
    hardware.setDefaultSystemOutputDevice(headphones->id);
    machine.run(0.1);
    EXPECT_FALSE(lastError->has_value());
}

} // namespace
} // namespace vintra
