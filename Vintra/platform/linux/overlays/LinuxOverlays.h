#pragma once

#include <memory>
#include <string>

namespace vintra {

class EventLoop;
class EventMonitors;
class OverlayPainter;
class OverlayWindows;
class OwnWindows;

/// What overlays are made of on a desktop of the session. All three are null where there is none. Main thread.
struct LinuxOverlays {
    /// The event loop and the painter outlive the services. An empty name stands for what the environment
    /// says. On Wayland the compositor must have layers for programs (zwlr_layer_shell_v1).
    static LinuxOverlays ofWayland(EventLoop& eventLoop, OverlayPainter& painter,
                                   const std::string& displayName = {});
    static LinuxOverlays ofX11(EventLoop& eventLoop, OverlayPainter& painter,
                               const std::string& displayName = {});

    std::shared_ptr<OverlayWindows> windows;
    std::shared_ptr<EventMonitors> monitors;
    std::shared_ptr<OwnWindows> ownWindows;
};

} // namespace vintra
