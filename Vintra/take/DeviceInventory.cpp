// The lists of devices that the user chooses from.

#include "Vintra/audio/CoreAudioInputDevice.h"
#include "Vintra/platform/UserDefaults.h"
#include "Vintra/take/ScreenRecorderManager.h"

#include <algorithm>

namespace vintra {

void ScreenRecorderManager::refreshAudioDevices() {
    std::vector<std::shared_ptr<AVCaptureDevice>> devices;
    std::unordered_map<std::string, int> channelCounts;
    for (const CoreAudioInputDevice& input : CoreAudioInputDevice::listAll(*platform.audioHardware)) {
        channelCounts[input.uid] = input.channelCount;
        if (auto device = platform.captureDevices->deviceWithUniqueID(input.uid))
            devices.push_back(std::move(device));
    }
    const auto lastUsed = stringForKey(*platform.userDefaults, "lastUsedAudioDeviceID");
    const auto found = std::find_if(devices.begin(), devices.end(), [&](const auto& device) {
        return lastUsed && device->uniqueID() == *lastUsed;
    });
    if (found != devices.end()) std::rotate(devices.begin(), found, found + 1);
    availableAudioInputDevices.set(std::move(devices));
    audioDeviceChannelCounts.set(std::move(channelCounts));
}

void ScreenRecorderManager::noteLastUsedAudioDevice(const std::optional<std::string>& uniqueID) {
    if (uniqueID) platform.userDefaults->set("lastUsedAudioDeviceID", *uniqueID);
}

} // namespace vintra
