#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vintra {

/// The shape that a region's picture is held to.
enum class AspectPreset { freeform, widescreen, vertical, square };

/// In the order in which they are offered.
inline constexpr AspectPreset kAspectPresets[] = {AspectPreset::freeform, AspectPreset::widescreen,
                                                  AspectPreset::vertical, AspectPreset::square};

/// A picture of the shape is `width` × k by `height` × k pixels, k a whole number, and so always even.
struct AspectUnits {
    int width = 0;
    int height = 0;
    bool operator==(const AspectUnits&) const = default;
};

/// The word under which the preset is kept in the settings.
std::string rawValue(AspectPreset preset);
/// Nothing if no preset has that raw value.
std::optional<AspectPreset> aspectPreset(std::string_view rawValue);
/// As the control bar shows it.
std::string barLabel(AspectPreset preset);
/// Nothing for `freeform`.
std::optional<AspectUnits> aspectUnits(AspectPreset preset);

} // namespace vintra
