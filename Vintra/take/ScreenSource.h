#pragma once

#include "Vintra/platform/Geometry.h"
#include "Vintra/platform/MainThreadTasks.h"
#include "Vintra/platform/Observation.h"
#include "Vintra/platform/Platform.h"
#include "Vintra/platform/ScreenCapture.h"
#include "Vintra/platform/Task.h"
#include "Vintra/take/CaptureArea.h"

#include <optional>

namespace vintra {

/// What is asked of the screen's capture, and the list of displays. Owned by the controller. Main thread.
class ScreenSource {
public:
    /// What a take captures of the screen.
    struct Setup {
        SCContentFilter filter;
        SCStreamConfiguration configuration;
        std::optional<CGSize> windowSize; ///< points, of a window that is captured by itself
    };
    /// All outlive this.
    struct Surroundings {
        const Platform& platform;
        ScreenSelection& selection;
        CaptureArea& area;
        CaptureOverlays& overlays;
    };

    explicit ScreenSource(const Surroundings& surroundings);

    /// By what is chosen now. Throws `RecordingError` and `SystemError`.
    Task<Setup> setUp();
    /// Reads the displays anew. If they can't be read the list stays.
    Task<> refreshDisplays();
    /// From now on the displays are read anew whenever screens change.
    void observeScreenChanges();

private:
    enum class Reads { displays, windowsToo };
    Task<SCShareableContent> shareableContent(Reads reads);
    bool needsWindows() const;
    Task<std::optional<SCWindow>> placeClickHighlight(NSScreen screen);
    SCDisplay chosenDisplay(const SCShareableContent& content) const;
    std::optional<SCWindow> chosenWindow(const SCShareableContent& content) const;
    SCContentFilter::Display wholeDisplay(const SCShareableContent& content, const SCDisplay& display,
                                          const std::optional<SCWindow>& highlight) const;
    SCStreamConfiguration makeStreamConfiguration(const SCDisplay& display,
                                                  const std::optional<SCWindow>& window) const;

    const Platform& platform;
    ScreenSelection& selection;
    CaptureArea& area;
    CaptureOverlays& overlays;
    Observation screenChanges;
    MainThreadTasks tasks;
};

} // namespace vintra
