#pragma once

#include "Vintra/capturearea/CaptureRegion.h"
#include "Vintra/capturearea/RegionSelectView.h"
#include "Vintra/platform/OverlayWindows.h"
#include "Vintra/platform/Screens.h"

#include <functional>
#include <memory>
#include <optional>

namespace vintra {

/// The overlay in which the user draws the region to capture, over the whole of one display. It runs once for
/// each selection and ends with a region or with nothing. Main thread.
class RegionSelectOverlay final : private OverlayInput {
public:
    struct Selection {
        NSScreen on;
        uint32_t displayID = 0;
        AspectPreset aspect = AspectPreset::freeform;
        std::optional<CGRect> initial; ///< points, from the display's top left
        BarState state;
    };
    using Completion = std::function<void(std::optional<CaptureRegion>)>;

    /// The windows outlive this.
    explicit RegionSelectOverlay(OverlayWindows& windows)
        : windows(windows) {}
    RegionSelectOverlay(const RegionSelectOverlay&) = delete;
    RegionSelectOverlay& operator=(const RegionSelectOverlay&) = delete;

    /// A selection that runs is cancelled first. Where there can be no window, this one ends with nothing at
    /// once.
    void begin(const Selection& selection, Completion completion);
    /// What the bar shows may have changed.
    void refresh(const BarState& state);
    /// The completion is called once, after the window has gone. Without a selection nothing happens.
    void finish(const std::optional<CaptureRegion>& region);
    bool isOpen() const { return window != nullptr; }

    std::function<void(AspectPreset)> onAspectChange;
    BarCallbacks onBar; ///< but for the aspect and "Done", which are the selection's own

private:
    void mouseDown(CGPoint at) override;
    void mouseDragged(CGPoint to) override;
    void mouseUp() override;
    void mouseMoved(CGPoint to) override;
    bool keyDown(KeyCode key) override;
    void cancelOperation() override;
    void redraw();

    OverlayWindows& windows;
    std::shared_ptr<RegionSelectView> view; ///< held by each event, which may end or replace it
    std::unique_ptr<OverlayWindow> window;
    std::optional<DrawList> shown;
    Completion onFinish;
};

} // namespace vintra
