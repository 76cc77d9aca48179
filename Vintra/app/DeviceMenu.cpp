#include "Vintra/app/DeviceMenu.h"

#include "Vintra/audio/AudioSelection.h"
#include "Vintra/audio/SystemOutputRouter.h"
#include "Vintra/platform/AVCaptureDevice.h"

#include <algorithm>
#include <utility>

namespace vintra {

MenuState deviceMenu(std::vector<MenuOption> devices, const std::optional<std::string>& selected,
                     const std::string& withoutDevices) {
    const bool hasNone = devices.empty();
    devices.insert(devices.begin(), {"", hasNone ? withoutDevices : "None"});
    const bool isListed = !selected || std::ranges::count(devices, *selected, &MenuOption::id) > 0;
    if (!isListed) devices.push_back({*selected, "Unavailable device"});
    return {.options = std::move(devices), .selectedID = selected.value_or(""), .isEnabled = !hasNone};
}

std::vector<MenuOption> realAudioInputs(const AudioSelection& of) {
    std::vector<MenuOption> inputs;
    for (const auto& device : *of.availableAudioInputDevices) {
        if (device->uniqueID() != SystemOutputRouter::virtualDeviceUID)
            inputs.push_back({device->uniqueID(), device->localizedName()});
    }
    return inputs;
}

} // namespace vintra
