#include "Vintra/audio/AudioSelection.h"

#include "Vintra/platform/CaptureDevices.h"

#include <algorithm>
#include <utility>

namespace vintra {

AudioSelection::AudioSelection(std::shared_ptr<LevelsModel> levels)
    : levels(std::move(levels)) {}

std::shared_ptr<AVCaptureDevice>
AudioSelection::availableAudioInput(const std::optional<std::string>& uniqueID) const {
    if (!uniqueID) return nullptr;
    const auto found = std::ranges::find_if(
        *availableAudioInputDevices, [&](const auto& device) { return device->uniqueID() == *uniqueID; });
    return found == availableAudioInputDevices->end() ? nullptr : *found;
}

int AudioSelection::channelCount(const std::string& uniqueID) const {
    const auto entry = audioDeviceChannelCounts->find(uniqueID);
    return entry == audioDeviceChannelCounts->end() ? 1 : std::max(1, entry->second);
}

std::vector<std::string> AudioSelection::extraInputDeviceIDs() const {
    std::vector<std::string> deviceIDs;
    for (const ExtraAudioInputConfig& row : *extraAudioInputs) {
        if (row.deviceID && std::ranges::find(deviceIDs, *row.deviceID) == deviceIDs.end())
            deviceIDs.push_back(*row.deviceID);
    }
    return deviceIDs;
}

} // namespace vintra
