#include "Vintra/capturearea/CaptureOverlays.h"

#include <utility>

namespace vintra {

CaptureOverlays::CaptureOverlays(std::shared_ptr<CaptureOverlayWindows> windows, ScreenSelection& selection,
                                 const Published<bool>& isRecording)
    : windows(std::move(windows))
    , selection(selection)
    , isRecording(isRecording) {
    const auto sync = [this](const auto&) { syncRegionGuide(); };
    selection.screenFrameRate.onChange(sync);
    selection.selectedDisplayID.onChange(sync);
    selection.selectedWindowID.onChange(sync);
    selection.isAskingForWindow.onChange(sync);
    selection.windowOffer.onChange(sync);
    selection.screenCaptureMode.onChange(sync);
    selection.captureRegion.onChange(sync);
    selection.showMouseClicks.onChange([this](bool) { syncClickHighlight(); });
    selection.showMouseClicks.onChange(sync);
    selection.clickRippleColor.onChange(sync);
}

void CaptureOverlays::showRegionGuideOnFirstLoad() {
    if (hasShownInitialRegionGuide || selection.availableDisplays->empty()) return;
    hasShownInitialRegionGuide = true;
    if (!*selection.screenEnabled || *isRecording) return;
    selection.regionGuideVisible.set(true);
    syncRegionGuide();
}

} // namespace vintra
