#pragma once

#include "Vintra/platform/AudioHardware.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace vintra {

/// The sound devices of a machine while another process chooses where its sound goes: the default output can be
/// neither read nor set, and the output of alerts can't be set. All else is as the machine has it.
class OthersOutputs : public AudioHardware {
public:
    explicit OthersOutputs(std::shared_ptr<AudioHardware> machine)
        : machine(std::move(machine)) {}

    bool isServiceRunning() const override { return machine->isServiceRunning(); }
    std::vector<AudioObjectID> devices() const override { return machine->devices(); }
    std::optional<std::vector<uint32_t>> inputStreamChannels(AudioObjectID device) const override {
        return machine->inputStreamChannels(device);
    }
    std::optional<std::vector<uint32_t>> outputStreamChannels(AudioObjectID device) const override {
        return machine->outputStreamChannels(device);
    }
    std::optional<AudioTransportType> transportType(AudioObjectID device) const override {
        return machine->transportType(device);
    }
    std::optional<std::string> deviceUID(AudioObjectID device) const override {
        return machine->deviceUID(device);
    }
    std::optional<std::string> deviceName(AudioObjectID device) const override {
        return machine->deviceName(device);
    }
    std::optional<double> nominalSampleRate(AudioObjectID device) const override {
        return machine->nominalSampleRate(device);
    }
    std::optional<std::vector<float>> outputVolume(AudioObjectID device) const override {
        return machine->outputVolume(device);
    }
    std::optional<AudioObjectID> deviceBehind(AudioObjectID device) const override {
        return machine->deviceBehind(device);
    }
    std::optional<AudioObjectID> defaultOutputDevice() const override { return std::nullopt; }
    std::optional<AudioObjectID> defaultSystemOutputDevice() const override {
        return machine->defaultSystemOutputDevice();
    }
    bool setDefaultOutputDevice(AudioObjectID) override { return false; }
    bool setDefaultSystemOutputDevice(AudioObjectID) override { return false; }
    bool isDefaultOutputContested() const override { return false; }
    std::unique_ptr<AudioPropertyListener> addPropertyListener(AudioObjectID object, AudioProperty property,
                                                               std::function<void()> block) override {
        return machine->addPropertyListener(object, property, std::move(block));
    }

private:
    const std::shared_ptr<AudioHardware> machine;
};

} // namespace vintra
