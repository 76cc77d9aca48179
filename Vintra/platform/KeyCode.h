#pragma once

#include <cstdint>

namespace vintra {

/// A key by its place on the keyboard. A platform with other numbers translates its own.
using KeyCode = uint16_t;

inline constexpr KeyCode kKey1 = 18;
inline constexpr KeyCode kKey2 = 19;
inline constexpr KeyCode kKey3 = 20;
inline constexpr KeyCode kKey4 = 21;
inline constexpr KeyCode kKey5 = 23;
inline constexpr KeyCode kKeyReturn = 36;
inline constexpr KeyCode kKeyEscape = 53;
inline constexpr KeyCode kKeyEnter = 76; ///< of the number pad

} // namespace vintra
