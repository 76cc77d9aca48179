#include "Vintra/audio/OutputRouting.h"

#include "Vintra/audio/SystemOutputRouter.h"
#include "tests/audio/AudioPartsFixture.h"

#include <string>

namespace vintra {
namespace {

/// The routing with what it needs, and no recorder, on a machine with the virtual device, speakers, which are the
/// user's choice, and headphones.
class OutputRoutingTest : public AudioPartsFixture {
protected:
    void SetUp() override {
        SimulatedAudioDevice loopback;
        loopback.uid = SystemOutputRouter::virtualDeviceUID;
        loopback.name = "Vintra Audio";
        loopback.inputStreamChannels = {2};
        loopback.outputStreamChannels = {2};
        loopback.isLoopback = true;
        loopback.sampleRates = {44'100, 48'000};
        virtualDevice = hardware.plug(loopback);
        speakers = plugOutput("speakers", "Speakers");
        headphones = plugOutput("headphones", "Headphones");
        hardware.defaultOutput = speakers->id;
        hardware.defaultSystemOutput = speakers->id;
        AudioPartsFixture::SetUp();
    }
    std::shared_ptr<SimulatedAudioDevice> plugOutput(const std::string& uid, const std::string& name) {
        SimulatedAudioDevice device;
        device.uid = uid;
        device.name = name;
        device.inputStreamChannels = {};
        device.outputStreamChannels = {2};
        return hardware.plug(device);
    }
    void startUp() {
        machine.complete(routing.repairDeadEndOutput());
        machine.complete(routing.refreshDriverPresence());
    }
    void hold() {
        selection.captureSystemAudioForDaw.set(true);
        machine.complete(routing.startSystemAudioRelayIfNeeded());
    }
    std::optional<std::string> pending() const {
        return stringForKey(*machine.userDefaults, "systemOutputPendingRestoreUID");
    }

    SimulatedAudioHardware& hardware = *machine.audioHardware;
    std::shared_ptr<SimulatedAudioDevice> virtualDevice;
    std::shared_ptr<SimulatedAudioDevice> speakers;
    std::shared_ptr<SimulatedAudioDevice> headphones;
    OutputRouting routing{
        {.platform = platform, .selection = selection, .isRecording = isRecording, .lastError = lastError}};
};

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
