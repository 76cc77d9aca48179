#pragma once

#include "Vintra/capturearea/ClickRippleView.h"
#include "Vintra/platform/DispatchQueue.h"
#include "Vintra/platform/EventMonitors.h"
#include "Vintra/platform/HostClock.h"
#include "Vintra/platform/MainThread.h"
#include "Vintra/platform/MainThreadTimer.h"
#include "Vintra/platform/OverlayWindows.h"
#include "Vintra/platform/Screens.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace vintra {

/// Shows the user's clicks on one screen, in a transparent window that is meant to be recorded. It is drawn
/// only while ripples spread. Main thread.
class ClickHighlight final : private OverlayInput {
public:
    /// All outlive this.
    struct Surroundings {
        OverlayWindows& windows;
        EventMonitors& monitors;
        DispatchQueues& dispatchQueues;
        MainThread& mainThread;
        HostClock& hostClock;
        std::function<NSColor()> color; ///< of a click that comes now
        std::function<void()> onNotTrusted;
    };

    explicit ClickHighlight(Surroundings surroundings);
    ClickHighlight(const ClickHighlight&) = delete;
    ClickHighlight& operator=(const ClickHighlight&) = delete;

    /// Covers the screen, in front, and listens for clicks. The window's number; nothing if there can be none.
    std::optional<uint32_t> place(const NSScreen& on);
    void teardown();

private:
    void mouseDown(CGPoint) override {}
    void mouseDragged(CGPoint) override {}
    void mouseUp() override {}
    void mouseMoved(CGPoint) override {}
    bool keyDown(KeyCode) override { return false; }
    void cancelOperation() override {}
    void installClickMonitorIfNeeded();
    void clicked(CGPoint onDesktop);
    void showFrame();

    const Surroundings surroundings;
    ClickRippleView rippleView;
    std::unique_ptr<OverlayWindow> window;
    CGRect frame;
    DrawList shown;
    Observation clickMonitor;
    std::unique_ptr<MainThreadTimer> frames; ///< while ripples spread
};

} // namespace vintra
