#pragma once

#include "Vintra/capturearea/AspectPreset.h"
#include "Vintra/capturearea/BarAction.h"
#include "Vintra/capturearea/BarMenuKind.h"
#include "Vintra/capturearea/BarState.h"
#include "Vintra/platform/Drawing.h"

#include <functional>
#include <optional>
#include <vector>

namespace vintra {

/// What the control bar's buttons and menus bring about. A callback may begin or end an overlay, the bar's
/// own included.
struct BarCallbacks {
    std::function<void(CaptureModeChoice)> onModeChange;
    std::function<void(AspectPreset)> onAspectPicked;
    std::function<void(int)> onFrameRatePicked;
    std::function<void()> onClicksToggled;
    std::function<void()> onClickColourRequested;
    std::function<void()> onDone;
};

/// The control bar of one overlay: what it shows, which menu is open, and what a press on it does. Owned by
/// the overlay's view. Main thread.
class OverlayBar {
public:
    /// True if the press was on the bar, or closed a menu; the caller then touches neither this nor itself,
    /// since either may have been set up anew.
    bool press(CGPoint at, const CGRect& bounds, const TextMeasure& measure);
    /// Where the pointer is now: an item of the open menu shows it.
    void point(CGPoint at, const CGRect& bounds, const TextMeasure& measure);
    /// Whether the point is on the strip or the open menu's card, both grown by the slop on every side.
    bool holds(CGPoint point, const CGRect& bounds, const TextMeasure& measure, double slop = 0) const;
    /// The strip and the open menu's card, both grown by the slop on every side.
    std::vector<CGRect> parts(const CGRect& bounds, const TextMeasure& measure, double slop) const;
    void draw(const CGRect& bounds, Drawing& drawing) const;

    BarState state;
    std::optional<BarMenuKind> openMenu;
    BarCallbacks callbacks;

private:
    void pressMenu(CGPoint at, const CGRect& bounds, const TextMeasure& measure);
    void carryOut(const BarAction& action);

    std::optional<int> pointed; ///< the index of the menu's item
};

} // namespace vintra
