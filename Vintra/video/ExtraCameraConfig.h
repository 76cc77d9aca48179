#pragma once

#include "Vintra/platform/UUID.h"

#include <optional>
#include <string>

namespace vintra {

/// A row of the list of further cameras. Its identity is its `id`, fixed at creation.
struct ExtraCameraConfig {
    UUID id;
    std::optional<std::string> deviceID; ///< nothing: the row is not armed
    bool operator==(const ExtraCameraConfig&) const = default;
};

} // namespace vintra
