#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace vintra {

/// What has changed in the lists of sound devices and cameras or in the server's tables.
struct PipeWireChange {
    bool devices = false; ///< one came, went, or has another name or other channels
    bool cameras = false; ///< one came, went, or has another name or other formats
    bool links = false;   ///< one node was linked to another, or no longer is, or is known as a filter now
    std::optional<uint32_t> rateOfDevice;   ///< the one that has another nominal rate
    std::optional<uint32_t> volumeOfDevice; ///< the one whose volume control was turned
    std::string defaultsKey;                ///< of the `default` table; empty: not that
};

} // namespace vintra
