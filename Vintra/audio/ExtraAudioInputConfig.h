#pragma once

#include "Vintra/platform/UUID.h"

#include <optional>
#include <string>

namespace vintra {

/// A row of the list of further audio inputs. Its identity is its `id`, fixed at creation.
struct ExtraAudioInputConfig {
    UUID id;
    std::optional<std::string> deviceID; ///< nothing: the row is not armed
    int channelIndex = 0;                ///< channel of the device, from 0
    std::string name;                    ///< the user's; empty means default naming
    double gainDB = 0;
    bool operator==(const ExtraAudioInputConfig&) const = default;
};

} // namespace vintra
