#pragma once

#include "Vintra/platform/linux/overlays/LinuxOverlays.h"
#include "Vintra/platform/linux/overlays/painter/QtOverlayPainter.h"
#include "tools/vintra/overlays/ClickColourPanel.h"

#include <memory>

namespace vintra {

class EventLoop;
class ScreenOverlays;
class ScreenRecorderManager;
struct LinuxPlatform;

/// The program's overlays on the desktop of the session. Made before the recorder, with whose platform they go. Where
/// the desktop has none, it does nothing. Main thread.
class ProgramOverlays {
public:
    /// The event loop and what the services of the machine are outlive this.
    ProgramOverlays(LinuxPlatform& machine, EventLoop& eventLoop);
    ~ProgramOverlays();
    ProgramOverlays(const ProgramOverlays&) = delete;
    ProgramOverlays& operator=(const ProgramOverlays&) = delete;

    void attach(ScreenRecorderManager& recorder);
    /// Before the recorder goes.
    void detach();

private:
    QtOverlayPainter painter;
    const LinuxOverlays services;
    ClickColourPanel colourPanel;
    std::shared_ptr<ScreenOverlays> overlays;
};

} // namespace vintra
