#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace vintra {

/// What has changed in the list of sound devices or in the server's tables.
struct PipeWireChange {
    bool devices = false;                   ///< one came, went, or has another name or other channels
    std::optional<uint32_t> rateOfDevice;   ///< the one that has another nominal rate
    std::optional<uint32_t> volumeOfDevice; ///< the one whose volume control was turned
    std::string defaultsKey;                ///< of the `default` table; empty: not that
};

} // namespace vintra
