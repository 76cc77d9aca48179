#pragma once

#include "Vintra/capturearea/ScreenSelection.h"
#include "Vintra/platform/CaptureOverlayWindows.h"
#include "Vintra/platform/Published.h"
#include "Vintra/platform/Screens.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

namespace vintra {

/// Keeps the windows that choose and show the captured part in line with the state: the region guide, the
/// pickers of a region and of a window, the click highlight. Owned by the controller. Main thread.
class CaptureOverlays {
public:
    /// The selection and `isRecording` outlive this.
    CaptureOverlays(std::shared_ptr<CaptureOverlayWindows> windows, ScreenSelection& selection,
                    const Published<bool>& isRecording);

    void syncRegionGuide() { windows->syncRegionGuide(); }
    /// The guide comes up by itself once a run: with the first list of displays, unless a take runs by then.
    void showRegionGuideOnFirstLoad();
    void beginRegionSelection() { windows->beginRegionSelection(); }
    void beginWindowSelection() { windows->beginWindowSelection(); }
    void syncClickHighlight() { windows->syncClickHighlight(); }
    /// Puts the click highlight over the screen. Its window's number; nothing if there is none.
    std::optional<uint32_t> placeClickHighlight(const NSScreen& on) {
        return windows->placeClickHighlight(on);
    }
    bool canShowGuide() const { return windows->canShowGuide(); }
    bool canShowClicks() const { return windows->canShowClicks(); }
    void takeWillStart(std::function<void()> whenShown) { windows->takeWillStart(std::move(whenShown)); }
    void takeDidNotStart() { windows->takeDidNotStart(); }

private:
    const std::shared_ptr<CaptureOverlayWindows> windows;
    ScreenSelection& selection;
    const Published<bool>& isRecording;
    bool hasShownInitialRegionGuide = false;
};

} // namespace vintra
