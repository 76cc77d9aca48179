#include "Vintra/audio/SystemOutputRouter.h"

#include "Vintra/platform/simulated/SimulatedMachine.h"

#include <gtest/gtest.h>
#include <utility>

namespace vintra {
namespace {

using Repair = SystemOutputRouter::DeadEndRepair;

class SystemOutputRouterTest : public testing::Test {
protected:
    SystemOutputRouterTest() {
        virtualDevice = plug("VintraAudioDevice", "Vintra Audio", {2}, {2});
        microphone = plug("mic", "Microphone", {1}, {});
        headphones = plug("headphones", "Headphones", {}, {2});
        speakers = plug("speakers", "Speakers", {}, {1, 1});
        speakers->transportType = AudioTransportType::builtIn;
        hardware.defaultOutput = headphones->id;
        hardware.defaultSystemOutput = headphones->id;
    }
    std::shared_ptr<SimulatedAudioDevice> plug(const std::string& uid, const std::string& name,
                                               std::vector<uint32_t> inputs, std::vector<uint32_t> outputs) {
        SimulatedAudioDevice device;
        device.uid = uid;
        device.name = name;
        device.inputStreamChannels = std::move(inputs);
        device.outputStreamChannels = std::move(outputs);
        return hardware.plug(device);
    }
    std::optional<std::string> pending() const {
        return stringForKey(*machine.userDefaults, "systemOutputPendingRestoreUID");
    }
    void setPending(const std::string& uid) {
        machine.userDefaults->set("systemOutputPendingRestoreUID", uid);
    }
    std::optional<Repair> repair() {
        return machine.complete(SystemOutputRouter::repairDeadEndOutput(machine.platform()));
    }

    SimulatedMachine machine;
    SimulatedAudioHardware& hardware = *machine.audioHardware;
    const SystemOutputRouter::Services services{hardware, *machine.userDefaults};
    std::shared_ptr<SimulatedAudioDevice> virtualDevice;
    std::shared_ptr<SimulatedAudioDevice> microphone;
    std::shared_ptr<SimulatedAudioDevice> headphones;
    std::shared_ptr<SimulatedAudioDevice> speakers;
};

TEST_F(SystemOutputRouterTest, theMonitorsAreTheDevicesThatCanBeHeard) {
    const std::vector<SystemOutputRouter::Output> expected = {{"headphones", "Headphones"},
                                                              {"speakers", "Speakers"}};
    EXPECT_EQ(SystemOutputRouter::availableOutputs(hardware), expected);
    headphones->hasUnreadableName = true;
    speakers->outputStreamChannels = {0};
    EXPECT_TRUE(SystemOutputRouter::availableOutputs(hardware).empty());
    speakers->outputStreamChannels = {2};
    speakers->hasUnreadableUID = true;
    EXPECT_TRUE(SystemOutputRouter::availableOutputs(hardware).empty());
}

TEST_F(SystemOutputRouterTest, devicesAreFoundByTheirUID) {
    EXPECT_EQ(SystemOutputRouter::deviceID(hardware, "speakers"), speakers->id);
    EXPECT_EQ(SystemOutputRouter::deviceID(hardware, "none"), std::nullopt);
    hardware.hasUnreadableDevices = true;
    EXPECT_EQ(SystemOutputRouter::deviceID(hardware, "speakers"), std::nullopt);
    EXPECT_TRUE(SystemOutputRouter::allDevices(hardware).empty());
}

TEST_F(SystemOutputRouterTest, switchingNotesTheWayBackAndGivesThePreviousDevice) {
    EXPECT_EQ(SystemOutputRouter::switchToVirtualDevice(services), headphones->id);
    EXPECT_EQ(hardware.defaultOutput, virtualDevice->id);
    EXPECT_EQ(hardware.defaultSystemOutput, headphones->id);
    EXPECT_EQ(pending(), "headphones");
}

TEST_F(SystemOutputRouterTest, theWayBackIsNotedBeforeTheDefaultChanges) {
    // A machine that stops at the change leaves the settings as they are at that instant.
    class StoppingHardware : public SimulatedAudioHardware {
    public:
        using SimulatedAudioHardware::SimulatedAudioHardware;
        bool setDefaultOutputDevice(AudioObjectID) override {
            atChange = stringForKey(*defaults, "systemOutputPendingRestoreUID");
            return true;
        }
        std::shared_ptr<SimulatedUserDefaults> defaults;
        std::optional<std::string> atChange;
    } stopping(machine.mainThread);
    stopping.defaults = machine.userDefaults;
    stopping.plug("VintraAudioDevice", "Vintra Audio", 2);
    stopping.defaultOutput = stopping.plug("headphones", "Headphones", 2)->id;
    SystemOutputRouter::switchToVirtualDevice({stopping, *machine.userDefaults});
    EXPECT_EQ(stopping.atChange, "headphones");
}

TEST_F(SystemOutputRouterTest, aSwitchThatCannotBeLeavesNothing) {
    const auto expectNothing = [&] {
        EXPECT_EQ(SystemOutputRouter::switchToVirtualDevice(services), std::nullopt);
        EXPECT_EQ(pending(), std::nullopt);
    };
    virtualDevice->refusesToBeDefault = true;
    expectNothing();
    EXPECT_EQ(hardware.defaultOutput, headphones->id);
    virtualDevice->refusesToBeDefault = false;
    headphones->hasUnreadableUID = true;
    expectNothing();
    hardware.defaultOutput = 0;
    expectNothing();
    hardware.defaultOutput = std::nullopt;
    expectNothing();
    hardware.defaultOutput = virtualDevice->id;
    expectNothing();
    hardware.defaultOutput = speakers->id;
    hardware.unplug("VintraAudioDevice");
    expectNothing();
}

TEST_F(SystemOutputRouterTest, aRestoreTargetIsNotedUnlessItIsTheVirtualDevice) {
    SystemOutputRouter::noteRestoreTarget(services, virtualDevice->id);
    EXPECT_EQ(pending(), std::nullopt);
    speakers->hasUnreadableUID = true;
    SystemOutputRouter::noteRestoreTarget(services, speakers->id);
    EXPECT_EQ(pending(), std::nullopt);
    SystemOutputRouter::noteRestoreTarget(services, headphones->id);
    EXPECT_EQ(pending(), "headphones");
}

TEST_F(SystemOutputRouterTest, restoringTakesTheGivenDeviceElseTheNotedOne) {
    setPending("speakers");
    SystemOutputRouter::restore(services, headphones->id);
    EXPECT_EQ(hardware.defaultOutput, headphones->id);
    EXPECT_EQ(pending(), std::nullopt);
    setPending("speakers");
    SystemOutputRouter::restore(services, std::nullopt);
    EXPECT_EQ(hardware.defaultOutput, speakers->id);
    EXPECT_EQ(pending(), std::nullopt);
    setPending("gone");
    SystemOutputRouter::restore(services, std::nullopt);
    EXPECT_EQ(hardware.defaultOutput, speakers->id);
    EXPECT_EQ(pending(), std::nullopt);
    headphones->refusesToBeDefault = true;
    setPending("speakers");
    SystemOutputRouter::restore(services, headphones->id);
    EXPECT_EQ(hardware.defaultOutput, speakers->id);
    EXPECT_EQ(pending(), std::nullopt) << "a failure is not looked at";
}

TEST_F(SystemOutputRouterTest, anOutputOnARealDeviceNeedsNoRepair) {
    setPending("speakers");
    EXPECT_EQ(repair(), std::nullopt);
    EXPECT_EQ(hardware.defaultOutput, headphones->id);
    EXPECT_EQ(pending(), std::nullopt);
}

TEST_F(SystemOutputRouterTest, anUnreadableOutputNeedsNoRepair) {
    for (const auto output : {std::optional<AudioObjectID>(), std::optional<AudioObjectID>(0)}) {
        hardware.defaultOutput = output;
        setPending("speakers");
        EXPECT_EQ(repair(), std::nullopt);
        EXPECT_EQ(hardware.defaultOutput, output);
        EXPECT_EQ(pending(), std::nullopt);
    }
    hardware.defaultOutput = virtualDevice->id;
    virtualDevice->hasUnreadableUID = true;
    EXPECT_EQ(repair(), std::nullopt);
    EXPECT_EQ(hardware.defaultOutput, virtualDevice->id);
}

TEST_F(SystemOutputRouterTest, aCrashWhileHeldIsRepairedWithTheNotedDevice) {
    hardware.defaultOutput = virtualDevice->id;
    setPending("speakers");
    EXPECT_EQ(repair(), (Repair{"Speakers", true}));
    EXPECT_EQ(hardware.defaultOutput, speakers->id);
    EXPECT_EQ(hardware.defaultSystemOutput, headphones->id);
    EXPECT_EQ(pending(), std::nullopt);
}

TEST_F(SystemOutputRouterTest, alertsThatWentToTheSilentDeviceFollow) {
    hardware.defaultOutput = virtualDevice->id;
    hardware.defaultSystemOutput = virtualDevice->id;
    setPending("speakers");
    repair();
    EXPECT_EQ(hardware.defaultSystemOutput, speakers->id);
}

TEST_F(SystemOutputRouterTest, aNotedDeviceThatIsGoneOrRefusesGivesWayToAnother) {
    hardware.defaultOutput = virtualDevice->id;
    setPending("gone");
    EXPECT_EQ(repair(), (Repair{"Headphones", false}));
    hardware.defaultOutput = virtualDevice->id;
    speakers->refusesToBeDefault = true;
    setPending("speakers");
    EXPECT_EQ(repair(), (Repair{"Headphones", false}));
    EXPECT_EQ(pending(), std::nullopt);
}

TEST_F(SystemOutputRouterTest, withoutANoteTheAlertsDeviceComesFirstThenTheBuiltInThenAnyWithOutputs) {
    hardware.defaultOutput = virtualDevice->id;
    EXPECT_EQ(repair(), (Repair{"Headphones", false}));

    hardware.defaultOutput = virtualDevice->id;
    hardware.defaultSystemOutput = virtualDevice->id;
    EXPECT_EQ(repair(), (Repair{"Speakers", false}));
    EXPECT_EQ(hardware.defaultSystemOutput, speakers->id);

    hardware.defaultOutput = virtualDevice->id;
    hardware.defaultSystemOutput = 0;
    speakers->refusesToBeDefault = true;
    headphones->hasUnreadableUID = true;
    headphones->hasUnreadableName = true;
    EXPECT_EQ(repair(), (Repair{"your output device", false})) << "a device without a readable uid counts";
    EXPECT_EQ(hardware.defaultOutput, headphones->id);
}

TEST_F(SystemOutputRouterTest, withNoCandidateTheOutputStaysAndNothingIsSaid) {
    hardware.defaultOutput = virtualDevice->id;
    headphones->refusesToBeDefault = true;
    speakers->hasUnreadableStreams = true;
    setPending("gone");
    EXPECT_EQ(repair(), std::nullopt);
    EXPECT_EQ(hardware.defaultOutput, virtualDevice->id);
    EXPECT_EQ(pending(), std::nullopt);
}

} // namespace
} // namespace vintra
