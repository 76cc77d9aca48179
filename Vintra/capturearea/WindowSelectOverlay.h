#pragma once

#include "Vintra/capturearea/PickableWindow.h"
#include "Vintra/capturearea/WindowPickView.h"
#include "Vintra/platform/EventMonitors.h"
#include "Vintra/platform/OverlayWindows.h"
#include "Vintra/platform/OwnWindows.h"
#include "Vintra/platform/Screens.h"
#include "Vintra/platform/WindowList.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

namespace vintra {

/// The overlay in which the user points at a window to record. It ends with that window or with nothing. The
/// program's main window stays usable meanwhile. Main thread.
class WindowSelectOverlay final : private OverlayInput {
public:
    /// All outlive this.
    struct Surroundings {
        OverlayWindows& windows;
        EventMonitors& monitors;
        OwnWindows& ownWindows;
        WindowList& windowList;
        int32_t ownProcess = 0;
    };
    using Completion = std::function<void(std::optional<PickableWindow>)>;

    explicit WindowSelectOverlay(const Surroundings& surroundings)
        : surroundings(surroundings) {}
    WindowSelectOverlay(const WindowSelectOverlay&) = delete;
    WindowSelectOverlay& operator=(const WindowSelectOverlay&) = delete;

    /// A picking that goes on is cancelled first. Where there can be no window, this one ends with nothing at
    /// once.
    void begin(const NSScreen& on, const BarState& state, Completion completion);
    /// What the bar shows may have changed.
    void refresh(const BarState& state);
    /// Ends it with nothing. Without a picking nothing happens.
    void dismiss() { finish(std::nullopt); }
    bool isOpen() const { return window != nullptr; }
    /// Takes or lets through what the user clicks, by where the pointer is.
    void updatePassThrough();

    BarCallbacks onBar; ///< but for "Done", which cancels

private:
    void mouseDown(CGPoint at) override;
    void mouseDragged(CGPoint) override {}
    void mouseUp() override {}
    void mouseMoved(CGPoint to) override;
    bool keyDown(KeyCode key) override;
    void cancelOperation() override;
    /// The completion is called once, after the window has gone.
    void finish(const std::optional<PickableWindow>& picked);
    void refreshWindows();
    void redraw();

    const Surroundings surroundings;
    std::shared_ptr<WindowPickView> view; ///< held by each event, which may end or replace it
    std::unique_ptr<OverlayWindow> window;
    std::optional<DrawList> shown;
    Observation mouseMonitors;
    Completion onFinish;
};

} // namespace vintra
