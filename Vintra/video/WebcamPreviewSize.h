#pragma once

#include "Vintra/platform/Geometry.h"

#include <optional>
#include <string>
#include <string_view>

namespace vintra {

/// How large a camera's floating preview is: 240, 360 or 520 points wide.
enum class WebcamPreviewSize { small, medium, large };

/// In the order in which they are offered.
inline constexpr WebcamPreviewSize kWebcamPreviewSizes[] = {
    WebcamPreviewSize::small, WebcamPreviewSize::medium, WebcamPreviewSize::large};

/// The word under which the size is kept in the settings.
std::string rawValue(WebcamPreviewSize size);
/// Nothing if no size has that raw value.
std::optional<WebcamPreviewSize> webcamPreviewSize(std::string_view rawValue);
/// Points, 16 to 9: the height is rounded.
CGSize pointsOf(WebcamPreviewSize size);

} // namespace vintra
