#pragma once

#include "Vintra/audio/OutputRouting.h"
#include "Vintra/audio/SystemOutputRouter.h"
#include "tests/audio/AudioPartsFixture.h"

#include <memory>
#include <optional>
#include <string>

namespace vintra {

/// The routing with what it needs, and no recorder, on a machine with the virtual device, speakers, which are the
/// user's choice, and headphones.
class OutputRoutingFixture : public AudioPartsFixture {
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

} // namespace vintra
