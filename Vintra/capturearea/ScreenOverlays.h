#pragma once

#include "Vintra/capturearea/ClickHighlight.h"
#include "Vintra/capturearea/RegionGuideOverlay.h"
#include "Vintra/capturearea/RegionSelectOverlay.h"
#include "Vintra/capturearea/ScreenSelection.h"
#include "Vintra/capturearea/WindowSelectOverlay.h"
#include "Vintra/platform/CaptureOverlayWindows.h"
#include "Vintra/platform/MachineWords.h"
#include "Vintra/platform/MainThreadTimer.h"
#include "Vintra/platform/Published.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace vintra {

/// The overlays of a program that has windows: when each is open, on which screen, what it shows, and what the
/// user's choices in it change. The program makes it before the controller, hands it over with the platform,
/// and attaches it to the controller; until then it does nothing. It goes after the controller. Main thread.
class ScreenOverlays final : public CaptureOverlayWindows {
public:
    /// All outlive this.
    struct Services {
        OverlayWindows& windows;
        EventMonitors& monitors;
        OwnWindows& ownWindows;
        WindowList& windowList;
        Screens& screens;
        DispatchQueues& dispatchQueues;
        MainThread& mainThread;
        HostClock& hostClock;
        int32_t ownProcess = 0;
        MachineWords words;
        /// Lets the user choose another colour; the function is told each one.
        std::function<void(NSColor, std::function<void(NSColor)>)> showColorPanel;
    };

    /// The controller, or what stands for it.
    struct Recorder {
        ScreenSelection& selection;
        const Published<bool>& isRecording;
        std::function<BarState()> currentBarState;
        std::function<std::optional<CaptureRegion>()> selectedWindowRegion;
        std::function<void(CaptureModeChoice)> chooseCaptureMode;
        std::function<void(std::string)> onError;
    };

    explicit ScreenOverlays(const Services& services);

    void attach(Recorder newRecorder);
    /// Takes everything off the screen, before the controller goes.
    void detach();

    void syncRegionGuide() override;
    void beginRegionSelection() override;
    void beginWindowSelection() override;
    void syncClickHighlight() override;
    std::optional<uint32_t> placeClickHighlight(const NSScreen& on) override;
    bool canShowGuide() const override { return services.windows.canLetClicksThrough(); }
    bool canShowClicks() const override { return services.monitors.canObserveClicks(); }
    void takeWillStart(std::function<void()> whenShown) override;
    void takeDidNotStart() override;

private:
    BarCallbacks barCallbacks();
    void connectCallbacks();
    void closePickersOutOfPlace();
    void showWhatIsToBe();
    void noteOwnWindows();
    void noteOwnWindowsSoon();
    /// From just before its first picture on.
    bool isInTake() const { return isTakeStarting || *recorder->isRecording; }
    BarState barState() const;
    void callAfterShown();
    void showGuide(const BarState& state);
    void showWindow(const BarState& state);
    void showRegion(const BarState& state);
    void showBarOnly(const BarState& state);
    RegionGuideOverlay::Guide guideOf(const BarState& state) const;
    void startWindowFrameTracking();
    void presentClickColourPanel();
    std::optional<NSScreen> screenWithNumber(uint32_t number) const;
    std::optional<NSScreen> screenForEffectiveDisplay() const;
    /// What the next take would capture of the desktop; nothing for a window by itself.
    std::optional<CGRect> capturedPart() const;
    /// Where clicks are to be seen now.
    std::optional<NSScreen> clickScreen() const;

    const Services services;
    std::optional<Recorder> recorder;
    RegionSelectOverlay regionSelect;
    RegionGuideOverlay regionGuide;
    WindowSelectOverlay windowPicker;
    ClickHighlight clickHighlight;
    std::optional<uint32_t> pickerScreen;    ///< on which a picker is, or was last
    std::optional<NSScreen> highlightScreen; ///< on which clicks are shown
    std::unique_ptr<MainThreadTimer> windowFrameTimer;
    Observation ownWindowChanges;
    Observation screenTrackChanges;
    std::unique_ptr<MainThreadTimer> ownWindowsSettle; ///< until they are looked at
    bool isTakeStarting = false;
    bool hasToldOfClicks = false;             ///< that none are shown
    std::unique_ptr<MainThreadTimer> showing; ///< until the screen shows what a take begins with
    std::function<void()> afterShown;         ///< called then
    Observation screenChanges;
};

} // namespace vintra
