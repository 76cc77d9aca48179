#pragma once

#include "tests/audio/SimulatedOutputs.h"
#include "tests/take/RecorderFixture.h"

namespace vintra {

/// A recorder on a machine that has the virtual device, built-in speakers, which are the user's choice, and
/// headphones.
class RoutingFixture : public RecorderFixture {
protected:
    static constexpr const char* kPendingKey = "systemOutputPendingRestoreUID";

    void SetUp() override {
        virtualDevice = plugVirtualDevice(hardware);
        speakers = plugOutput(hardware, "speakers", "Speakers");
        speakers->transportType = AudioTransportType::builtIn;
        headphones = plugOutput(hardware, "headphones", "Headphones");
        hardware.defaultOutput = speakers->id;
        hardware.defaultSystemOutput = speakers->id;
        prepare();
        RecorderFixture::SetUp();
    }
    /// What the machine is to be like at the launch.
    virtual void prepare() {}

    void turnOnComputerAudio() {
        recorder->captureSystemAudioForDaw.set(true);
        machine.run(0.3);
    }
    std::optional<std::string> pending() const { return stringForKey(*machine.userDefaults, kPendingKey); }
    std::shared_ptr<SimulatedCaptureSession> session(const std::string& uid) const {
        return machine.captureDevices->session(uid);
    }
    void expectHeld(const std::shared_ptr<SimulatedAudioDevice>& returnsTo) {
        EXPECT_TRUE(*recorder->isHoldingAudioRouting);
        EXPECT_EQ(hardware.defaultOutput, virtualDevice->id);
        EXPECT_EQ(pending(), returnsTo->uid);
        EXPECT_EQ(machine.audioDeviceIO->runningProcs(), 2);
    }
    void expectReleased(const std::shared_ptr<SimulatedAudioDevice>& to) {
        EXPECT_FALSE(*recorder->isHoldingAudioRouting);
        EXPECT_EQ(hardware.defaultOutput, to->id);
        EXPECT_EQ(pending(), std::nullopt);
        EXPECT_EQ(machine.audioDeviceIO->runningProcs(), 0);
    }

    SimulatedAudioHardware& hardware = *machine.audioHardware;
    std::shared_ptr<SimulatedAudioDevice> virtualDevice;
    std::shared_ptr<SimulatedAudioDevice> speakers;
    std::shared_ptr<SimulatedAudioDevice> headphones;
};

} // namespace vintra
