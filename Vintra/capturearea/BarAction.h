#pragma once

#include "Vintra/capturearea/CaptureModeChoice.h"

#include <variant>

namespace vintra {

/// What a part of the control bar does.
struct BarAction {
    struct Mode {
        CaptureModeChoice choice = CaptureModeChoice::fullScreen;
        bool operator==(const Mode&) const = default;
    };
    struct AspectMenu {
        bool operator==(const AspectMenu&) const = default;
    };
    struct FrameRateMenu {
        bool operator==(const FrameRateMenu&) const = default;
    };
    struct Clicks {
        bool operator==(const Clicks&) const = default;
    };
    struct ClickColour {
        bool operator==(const ClickColour&) const = default;
    };
    struct Done {
        bool operator==(const Done&) const = default;
    };

    std::variant<Mode, AspectMenu, FrameRateMenu, Clicks, ClickColour, Done> does;
    bool operator==(const BarAction&) const = default;
};

} // namespace vintra
