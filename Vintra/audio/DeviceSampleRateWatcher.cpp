#include "Vintra/audio/DeviceSampleRateWatcher.h"

#include "Vintra/audio/CoreAudioInputDevice.h"

#include <utility>

namespace vintra {

std::unique_ptr<DeviceSampleRateWatcher> DeviceSampleRateWatcher::make(AudioHardware& hardware,
                                                                       const std::string& deviceUID) {
    for (const CoreAudioInputDevice& device : CoreAudioInputDevice::listAll(hardware)) {
        if (device.uid == deviceUID)
            return std::unique_ptr<DeviceSampleRateWatcher>(new DeviceSampleRateWatcher(hardware, device.id));
    }
    return nullptr;
}

DeviceSampleRateWatcher::DeviceSampleRateWatcher(AudioHardware& hardware, AudioObjectID deviceID)
    : hardware(hardware)
    , deviceID(deviceID) {}

void DeviceSampleRateWatcher::start(std::function<void()> onChange) {
    if (listener) return;
    listener = hardware.addPropertyListener(deviceID, AudioProperty::nominalSampleRate, std::move(onChange));
}

} // namespace vintra
