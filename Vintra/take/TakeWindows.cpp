// What on the screen follows the state: the region guide, the overlays that select a region or a window, the
// click highlight, the floating previews of the cameras, the marker key. None of them is built yet: what
// would show or move one does nothing.

#include "Vintra/take/ScreenRecorderManager.h"

namespace vintra {

void ScreenRecorderManager::syncRegionGuide() {}

/// The guide comes up by itself once a run.
void ScreenRecorderManager::showRegionGuideOnFirstLoad() {
    if (hasShownInitialRegionGuide || availableDisplays->empty()) return;
    hasShownInitialRegionGuide = true;
    if (!*screenEnabled || *isRecording) return;
    regionGuideVisible.set(true);
    syncRegionGuide();
}

void ScreenRecorderManager::beginRegionSelection() {}

void ScreenRecorderManager::beginWindowSelection() {}

void ScreenRecorderManager::startWindowFrameTracking() {}

void ScreenRecorderManager::syncClickHighlight() {}

void ScreenRecorderManager::refreshFloatingPreviewContent() {}

void ScreenRecorderManager::refreshExtraCameraWindows() {}

void ScreenRecorderManager::releaseMarkerShortcut() {}

} // namespace vintra
