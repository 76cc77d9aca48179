#pragma once

#include "Vintra/platform/AudioHardware.h"

#include <string>
#include <vector>

namespace vintra {

/// A sound device that has inputs, as the hardware layer lists it. A value.
struct CoreAudioInputDevice {
    AudioObjectID id = 0;
    std::string uid;
    std::string name;
    int channelCount = 0; ///< all its input channels

    /// Every device with an input channel and a readable uid and name, in the system's order. Main thread.
    static std::vector<CoreAudioInputDevice> listAll(const AudioHardware& hardware);

    bool operator==(const CoreAudioInputDevice&) const = default;
};

} // namespace vintra
