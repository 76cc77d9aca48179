#pragma once

#include "Vintra/capturearea/OverlayBar.h"
#include "Vintra/capturearea/PickableWindow.h"
#include "Vintra/platform/Drawing.h"
#include "Vintra/platform/KeyCode.h"

#include <functional>
#include <optional>
#include <vector>

namespace vintra {

/// Which window the pointer is at, and what is pressed: the state behind a `WindowSelectOverlay`, which owns
/// it. Points, the origin at the screen's bottom left. Main thread.
class WindowPickView {
public:
    struct Callbacks {
        std::function<void(PickableWindow)> onPick;
        std::function<void()> onCancel;
    };

    /// `screen` is the screen's frame on the desktop. The measure outlives this. The bar's "Done" cancels.
    WindowPickView(const CGRect& screen, const BarState& barState, Callbacks callbacks,
                   BarCallbacks barCallbacks, const TextMeasure& measure);
    WindowPickView(const WindowPickView&) = delete;
    WindowPickView& operator=(const WindowPickView&) = delete;

    void mouseMoved(CGPoint to);
    void mouseDown(CGPoint at);
    bool keyDown(KeyCode key);
    void cancel();
    void draw(Drawing& drawing) const;
    /// Whether the point is on the bar or its open menu.
    bool isOnBar(CGPoint point) const { return bar.holds(point, bounds, measure); }
    /// From a point of the desktop.
    CGPoint inView(CGPoint onDesktop) const;

    std::vector<PickableWindow> windows; ///< front to back
    std::optional<PickableWindow> hovered;
    OverlayBar bar;

private:
    const CGRect screen;
    const CGRect bounds;
    const Callbacks callbacks;
    const TextMeasure& measure;
};

} // namespace vintra
