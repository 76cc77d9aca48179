#pragma once

#include "Vintra/audio/OutputRouting.h"
#include "tests/audio/AudioPartsFixture.h"
#include "tests/audio/SimulatedOutputs.h"

#include <memory>
#include <optional>
#include <string>

namespace vintra {

/// The routing with what it needs, and no recorder, on a machine with the virtual device, speakers, which are the
/// user's choice, and headphones.
class OutputRoutingFixture : public AudioPartsFixture {
protected:
    void SetUp() override {
        virtualDevice = plugVirtualDevice(hardware);
        speakers = plugOutput(hardware, "speakers", "Speakers");
        headphones = plugOutput(hardware, "headphones", "Headphones");
        hardware.defaultOutput = speakers->id;
        hardware.defaultSystemOutput = speakers->id;
        AudioPartsFixture::SetUp();
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
