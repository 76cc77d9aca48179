#pragma once

#include "Vintra/capturearea/AspectPreset.h"
#include "Vintra/capturearea/CaptureDisplay.h"
#include "Vintra/capturearea/CaptureModeChoice.h"
#include "Vintra/capturearea/CaptureRegion.h"
#include "Vintra/platform/Published.h"
#include "Vintra/platform/WindowQuestion.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vintra {

/// What of the screen is there and what is chosen of it. Part of the controller's state. Main thread.
struct ScreenSelection {
    Published<bool> screenEnabled{true};
    Published<int> screenFrameRate{60}; ///< 24, 30 or 60
    Published<std::vector<CaptureDisplay>> availableDisplays;
    Published<std::optional<uint32_t>> selectedDisplayID;
    Published<CaptureModeChoice> screenCaptureMode{CaptureModeChoice::fullScreen};
    Published<std::optional<CaptureRegion>> captureRegion;
    Published<AspectPreset> aspectPreset{AspectPreset::freeform};
    Published<bool> regionGuideVisible{false};
    Published<std::optional<uint32_t>> selectedWindowID;
    Published<std::optional<std::string>> selectedWindowTitle;
    Published<WindowQuestion::Offer> windowOffer{WindowQuestion::Offer::needless};
    Published<bool> isAskingForWindow{false}; ///< the desktop's question is open
    /// One of this program's windows lies where the next take's picture is taken, and would be in it.
    Published<bool> isOwnWindowInPicture{false};
    Published<bool> showMouseClicks{false};
    Published<uint32_t> clickRippleColor{0xffcc00}; ///< 0xRRGGBB

    /// The chosen display, else the first; nothing without displays.
    std::optional<CaptureDisplay> effectiveDisplay() const;
    /// The chosen mode; a region on a display that isn't there, and window mode without a window, count as
    /// the full screen.
    CaptureModeChoice effectiveCaptureMode() const;
    /// Those that can be chosen here.
    std::vector<CaptureModeChoice> offeredModes() const;
};

} // namespace vintra
