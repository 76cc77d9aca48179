#pragma once

#include <cstdint>
#include <string>

namespace vintra {

/// A sample rate as sentences tell it: "44100Hz". Fractions of a hertz are left off.
inline std::string wholeHertz(double rate) {
    return std::to_string(static_cast<int64_t>(rate)) + "Hz";
}

} // namespace vintra
