#pragma once

#include <memory>
#include <string>

namespace vintra {

class EventLoop;
class EventMonitors;
class OverlayPainter;
class OverlayWindows;
class OwnWindows;
struct WaylandDesktop;

/// What overlays are made of on a desktop of the session. All three are null where there is none. Main thread.
struct LinuxOverlays {
    /// The event loop and the painter outlive the services. An empty name stands for what the environment
    /// says. On a Wayland desktop without layers for programs (zwlr_layer_shell_v1) there are only windows that take
    /// clicks; without `usesLayers` it counts as such a one.
    static LinuxOverlays ofWayland(EventLoop& eventLoop, OverlayPainter& painter,
                                   const WaylandDesktop& desktop, bool usesLayers = true);
    static LinuxOverlays ofX11(EventLoop& eventLoop, OverlayPainter& painter,
                               const std::string& displayName = {});

    std::shared_ptr<OverlayWindows> windows;
    std::shared_ptr<EventMonitors> monitors;
    std::shared_ptr<OwnWindows> ownWindows;
};

} // namespace vintra
