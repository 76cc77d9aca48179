#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vintra {

/// How large a camera is captured: at its best, or at 1080 lines at the most.
enum class CameraResolution { uhd, hd };

/// The word under which the resolution is kept in the settings: "4K" or "1080p".
std::string rawValue(CameraResolution resolution);
/// Nothing if no resolution has that raw value.
std::optional<CameraResolution> cameraResolution(std::string_view rawValue);

} // namespace vintra
