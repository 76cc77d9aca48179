#include "Vintra/platform/simulated/SimulatedCaptureDevice.h"

#include <utility>

namespace vintra {

SimulatedCaptureDevice::SimulatedCaptureDevice(std::shared_ptr<SimulatedAudioHardware> hardware,
                                               std::shared_ptr<SimulatedAudioDevice> device)
    : hardware(std::move(hardware))
    , device(std::move(device)) {}

std::optional<AudioStreamBasicDescription> SimulatedCaptureDevice::activeAudioFormat() const {
    if (device->hasUnreadableFormat) return std::nullopt;
    return floatPCMDescription(device->nominalSampleRate, device->inputChannels());
}

} // namespace vintra
