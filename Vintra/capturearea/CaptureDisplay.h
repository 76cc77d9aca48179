#pragma once

#include <cstdint>
#include <string>

namespace vintra {

/// A display as the user chooses it. Sizes in pixels.
struct CaptureDisplay {
    uint32_t id = 0;
    std::string name;
    int width = 0;
    int height = 0;
    bool operator==(const CaptureDisplay&) const = default;
};

} // namespace vintra
