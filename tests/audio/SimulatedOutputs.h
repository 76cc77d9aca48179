#pragma once

#include "Vintra/audio/SystemOutputRouter.h"
#include "Vintra/platform/simulated/SimulatedMachine.h"

#include <memory>
#include <string>

namespace vintra {

/// The silent device that the computer's sound is led through.
inline std::shared_ptr<SimulatedAudioDevice> plugVirtualDevice(SimulatedAudioHardware& hardware) {
    SimulatedAudioDevice device;
    device.uid = SystemOutputRouter::virtualDeviceUID;
    device.name = "Vintra Audio";
    device.inputStreamChannels = {2};
    device.outputStreamChannels = {2};
    device.isLoopback = true;
    device.sampleRates = {44'100, 48'000};
    return hardware.plug(device);
}

/// A device of two channels that can be heard and not recorded.
inline std::shared_ptr<SimulatedAudioDevice> plugOutput(SimulatedAudioHardware& hardware,
                                                        const std::string& uid, const std::string& name) {
    SimulatedAudioDevice device;
    device.uid = uid;
    device.name = name;
    device.inputStreamChannels = {};
    device.outputStreamChannels = {2};
    return hardware.plug(device);
}

} // namespace vintra
