#pragma once

#include <cstdint>
#include <string>

namespace vintra {

/// A display's number from its connector's name, 1 to 65536: the same whenever it is asked for, and short
/// enough for a person to type. Two names rarely share one.
uint32_t displayIDFromName(const std::string& name);

} // namespace vintra
