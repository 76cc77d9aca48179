#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vintra {

/// What of the screen the user wants captured.
enum class CaptureModeChoice { fullScreen, region, window };

/// The word under which the choice is kept in the settings.
std::string rawValue(CaptureModeChoice choice);
/// Nothing if no choice has that raw value.
std::optional<CaptureModeChoice> captureModeChoice(std::string_view rawValue);

} // namespace vintra
