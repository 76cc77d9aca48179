#pragma once

#include "Vintra/platform/CaptureDevices.h"
#include "Vintra/platform/simulated/SimulatedAudioHardware.h"

#include <memory>
#include <string>
#include <utility>

namespace vintra {

/// A simulated sound device as something to capture from.
class SimulatedCaptureDevice : public AVCaptureDevice {
public:
    SimulatedCaptureDevice(std::shared_ptr<SimulatedAudioHardware> hardware,
                           std::shared_ptr<SimulatedAudioDevice> device);

    const std::string& uniqueID() const override { return device->uid; }
    const std::string& localizedName() const override { return device->name; }
    bool isConnected() const override { return hardware->device(device->uid) == device; }
    std::optional<AudioStreamBasicDescription> activeAudioFormat() const override;
    std::optional<std::string> captureProblem() const override { return device->captureProblem; }

    const SimulatedAudioDevice& script() const { return *device; }
    /// The device that is plugged in now under the same id, if there is one.
    void findAgain() {
        if (auto found = hardware->device(device->uid)) device = std::move(found);
    }

private:
    std::shared_ptr<SimulatedAudioHardware> hardware;
    std::shared_ptr<SimulatedAudioDevice> device;
};

} // namespace vintra
