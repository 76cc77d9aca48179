// What on the screen follows a take: the region guide, the click highlight, the floating previews of the
// cameras, the marker key. None of them is built yet.

#include "Vintra/take/ScreenRecorderManager.h"

namespace vintra {

void ScreenRecorderManager::syncRegionGuide() {}

void ScreenRecorderManager::syncClickHighlight() {}

void ScreenRecorderManager::refreshFloatingPreviewContent() {}

void ScreenRecorderManager::refreshExtraCameraWindows() {}

void ScreenRecorderManager::releaseMarkerShortcut() {}

} // namespace vintra
