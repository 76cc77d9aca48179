#include "Vintra/capturearea/AspectPreset.h"

namespace vintra {

std::string rawValue(AspectPreset preset) {
    switch (preset) {
    case AspectPreset::freeform:
        return "freeform";
    case AspectPreset::widescreen:
        return "widescreen";
    case AspectPreset::vertical:
        return "vertical";
    case AspectPreset::square:
        return "square";
    }
    return "";
}

std::optional<AspectPreset> aspectPreset(std::string_view rawValue) {
    for (const AspectPreset preset : kAspectPresets) {
        if (rawValue == vintra::rawValue(preset)) return preset;
    }
    return std::nullopt;
}

std::string barLabel(AspectPreset preset) {
    switch (preset) {
    case AspectPreset::freeform:
        return "Freeform";
    case AspectPreset::widescreen:
        return "16:9";
    case AspectPreset::vertical:
        return "9:16";
    case AspectPreset::square:
        return "1:1";
    }
    return "";
}

std::optional<AspectUnits> aspectUnits(AspectPreset preset) {
    switch (preset) {
    case AspectPreset::freeform:
        return std::nullopt;
    case AspectPreset::widescreen:
        return AspectUnits{32, 18};
    case AspectPreset::vertical:
        return AspectUnits{18, 32};
    case AspectPreset::square:
        return AspectUnits{2, 2};
    }
    return std::nullopt;
}

} // namespace vintra
