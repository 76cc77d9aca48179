#include "Vintra/platform/simulated/SimulatedCaptureDevice.h"

namespace vintra {

SimulatedCaptureDevice::SimulatedCaptureDevice(std::shared_ptr<SimulatedAudioHardware> someHardware,
                                               std::shared_ptr<SimulatedAudioDevice> aDevice)
    : hardware(std::move(someHardware))
    , device(std::move(aDevice)) {}

std::optional<AudioStreamBasicDescription> SimulatedCaptureDevice::activeAudioFormat() const {
    if (device->hasUnreadableFormat) return std::nullopt;
    return floatPCMDescription(device->nominalSampleRate, device->inputChannels());
}

} // namespace vintra
