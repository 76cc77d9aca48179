#include "Vintra/audio/CoreAudioInputDevice.h"

#include <utility>

namespace vintra {

std::vector<CoreAudioInputDevice> CoreAudioInputDevice::listAll(const AudioHardware& hardware) {
    std::vector<CoreAudioInputDevice> inputs;
    for (const AudioObjectID id : hardware.devices()) {
        int channels = 0;
        for (const uint32_t streamChannels :
             hardware.inputStreamChannels(id).value_or(std::vector<uint32_t>{}))
            channels += static_cast<int>(streamChannels);
        if (channels < 1) continue;
        auto uid = hardware.deviceUID(id);
        auto name = hardware.deviceName(id);
        if (!uid || !name) continue;
        inputs.push_back({id, std::move(*uid), std::move(*name), channels});
    }
    return inputs;
}

} // namespace vintra
