#pragma once

#include "Vintra/capturearea/BarState.h"
#include "Vintra/capturearea/CaptureModeChoice.h"
#include "Vintra/capturearea/CaptureOverlays.h"
#include "Vintra/capturearea/CaptureRegion.h"
#include "Vintra/capturearea/PickableWindow.h"
#include "Vintra/capturearea/ScreenSelection.h"
#include "Vintra/platform/CMSampleBuffer.h"
#include "Vintra/platform/MainThreadTasks.h"
#include "Vintra/platform/Observation.h"
#include "Vintra/platform/Platform.h"
#include "Vintra/platform/Screens.h"
#include "Vintra/platform/Task.h"
#include "Vintra/platform/WindowQuestion.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vintra {

/// What of the screen is chosen: measured in pixels, in words, and as the control bar shows and changes it. A
/// region takes the shape of a newly chosen aspect at once. Owned by the controller. Main thread.
class CaptureArea {
public:
    /// All outlive this.
    struct Surroundings {
        const Platform& platform;
        ScreenSelection& selection;
        CaptureOverlays& overlays;
        const Published<bool>& isRecording;
        Published<std::optional<std::string>>& lastError;
    };

    explicit CaptureArea(const Surroundings& surroundings);

    /// One line: "Area · 1280×720 · 16:9".
    std::string captureAreaLabel() const;
    /// A sentence that says what of the choices this desktop doesn't allow; empty if it allows all.
    std::string captureLimits() const;
    BarState currentBarState() const;
    /// What the bar's mode buttons do: takes the mode over, and shows what it captures or lets the user
    /// choose it. Choosing the region mode again draws a new region. A mode that isn't offered is left alone.
    void chooseCaptureMode(CaptureModeChoice mode);
    /// Gives the chosen region the chosen aspect: of the same area around the same centre, within its
    /// display. Freeform leaves it alone, and so does a display without a screen.
    void reshapeRegionToAspect();

    /// The windows that may be chosen, front to back; empty where windows can't be read.
    std::vector<PickableWindow> pickableWindows() const;
    /// Where the chosen window is now: on the screen that shows most of it, else the main one. Nothing if
    /// none is chosen or it has gone.
    std::optional<CaptureRegion> selectedWindowRegion() const;

    std::optional<NSScreen> screenWithNumber(uint32_t number) const;
    /// Pixels a point of the display's screen; 2 if no screen matches the display.
    double backingScale(uint32_t displayID) const;
    /// The size at which so many pixels are captured.
    CMVideoDimensions cappedSize(int width, int height) const;

    /// The window that the desktop's question gives. Throws `SystemError`, and `RecordingError` if the user wants none.
    Task<SCWindow> sharedWindow();

private:
    void beginWindowSelection();
    Task<> askForWindow();
    Task<WindowQuestion::Answer> answerOfDesktop(WindowQuestion::Wish wish);

    const Platform& platform;
    ScreenSelection& selection;
    CaptureOverlays& overlays;
    const Published<bool>& isRecording;
    Published<std::optional<std::string>>& lastError;
    int questions = 0; ///< asked of the desktop so far
    Observation windowOfferChanges;
    MainThreadTasks tasks;
};

} // namespace vintra
