#pragma once

#include "Vintra/capturearea/GuideView.h"
#include "Vintra/platform/EventMonitors.h"
#include "Vintra/platform/OverlayWindows.h"
#include "Vintra/platform/OwnWindows.h"
#include "Vintra/platform/Screens.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace vintra {

/// Shows what is captured, by a frame on the screen with a bar below it, and lets the user adjust it. Clicks
/// elsewhere go through to other programs, unless this one is in front. Main thread.
class RegionGuideOverlay final : private OverlayInput {
public:
    /// All outlive this.
    struct Surroundings {
        OverlayWindows& windows;
        EventMonitors& monitors;
        OwnWindows& ownWindows;
        std::string computer = "Mac"; ///< as the hint calls it
    };

    struct Guide {
        std::optional<CGRect> region; ///< points, from the screen's top left; nothing shows the bar alone
        std::string label;
        bool recording = false;
        bool composing = false;
        bool editable = false;
        std::optional<double> ratio;
        BarState state;
    };

    explicit RegionGuideOverlay(const Surroundings& surroundings)
        : surroundings(surroundings) {}
    RegionGuideOverlay(const RegionGuideOverlay&) = delete;
    RegionGuideOverlay& operator=(const RegionGuideOverlay&) = delete;

    /// Shows or refreshes the guide. While a take runs it is locked: clicks go through it.
    void update(const NSScreen& on, const Guide& guide);
    void showBarOnly(const NSScreen& on, const BarState& state);
    void hide();
    bool isShown() const { return window != nullptr; }
    /// Takes or lets through what the user clicks, by where the pointer is.
    void updateInteractivity();

    std::function<void(CGRect)> onRegionChanged; ///< points, from the screen's top left
    BarCallbacks onBar;

private:
    void mouseDown(CGPoint at) override;
    void mouseDragged(CGPoint to) override;
    void mouseUp() override;
    void mouseMoved(CGPoint to) override;
    bool keyDown(KeyCode) override { return false; }
    void cancelOperation() override {}
    void open(const NSScreen& on);
    void installMouseMonitors();
    bool isOverOwnWindow(CGPoint pointer) const;
    void redraw();

    const Surroundings surroundings;
    std::shared_ptr<GuideView> view; ///< held by each event, which may end or replace it
    std::unique_ptr<OverlayWindow> window;
    std::optional<NSScreen> currentScreen;
    std::optional<DrawList> shown;
    Observation mouseMonitors;
    bool locked = false;
};

} // namespace vintra
