#pragma once

#include <string>

namespace vintra {

/// The device that the computer's sound goes to.
struct SystemOutputStatus {
    std::string deviceName;
    double sampleRate = 0; ///< hertz
    /// The rate as users read it: "48kHz", "44.1kHz", "11.025kHz".
    static std::string format(double sampleRate);
    bool operator==(const SystemOutputStatus&) const = default;
};

} // namespace vintra
