#include "Vintra/capturearea/ScreenSelection.h"

#include <algorithm>

namespace vintra {

std::optional<CaptureDisplay> ScreenSelection::effectiveDisplay() const {
    const auto chosen = std::ranges::find_if(*availableDisplays, [this](const CaptureDisplay& display) {
        return display.id == *selectedDisplayID;
    });
    if (chosen != availableDisplays->end()) return *chosen;
    if (availableDisplays->empty()) return std::nullopt;
    return availableDisplays->front();
}

CaptureModeChoice ScreenSelection::effectiveCaptureMode() const {
    switch (*screenCaptureMode) {
    case CaptureModeChoice::fullScreen:
        break;
    case CaptureModeChoice::region: {
        const auto& region = *captureRegion;
        const bool isThere =
            region && std::ranges::any_of(*availableDisplays, [&](const CaptureDisplay& display) {
                return display.id == region->displayID;
            });
        if (isThere) return CaptureModeChoice::region;
        break;
    }
    case CaptureModeChoice::window:
        if (*selectedWindowID) return CaptureModeChoice::window;
        break;
    }
    return CaptureModeChoice::fullScreen;
}

std::vector<CaptureModeChoice> ScreenSelection::offeredModes() const {
    std::vector<CaptureModeChoice> modes{CaptureModeChoice::fullScreen, CaptureModeChoice::region};
    if (*windowOffer != WindowQuestion::Offer::refused) modes.push_back(CaptureModeChoice::window);
    return modes;
}

} // namespace vintra
