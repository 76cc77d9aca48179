#pragma once

#include <string>

namespace vintra {

/// The device that the user hears the machine on, with its rate. A value.
struct SystemOutputClock {
    std::string deviceUID;
    double sampleRate = 0; ///< hertz
    bool operator==(const SystemOutputClock&) const = default;
};

} // namespace vintra
