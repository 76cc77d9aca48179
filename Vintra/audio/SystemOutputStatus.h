#pragma once

#include <string>

namespace vintra {

/// The device that the computer's sound goes to.
struct SystemOutputStatus {
    std::string deviceName;
    double sampleRate = 0; ///< hertz
    bool operator==(const SystemOutputStatus&) const = default;
};

} // namespace vintra
