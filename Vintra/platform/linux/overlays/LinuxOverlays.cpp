#include "Vintra/platform/linux/overlays/LinuxOverlays.h"

#include "Vintra/platform/linux/overlays/WaylandOverlayWindows.h"
#include "Vintra/platform/linux/overlays/X11EventMonitors.h"
#include "Vintra/platform/linux/overlays/X11OverlayConnection.h"
#include "Vintra/platform/linux/overlays/X11OverlayWindows.h"
#include "Vintra/platform/linux/overlays/X11OwnWindows.h"
#include "Vintra/platform/linux/wayland/WaylandDesktop.h"

namespace vintra {

LinuxOverlays LinuxOverlays::ofWayland(EventLoop& eventLoop, OverlayPainter& painter,
                                       const WaylandDesktop& desktop, bool usesLayers) {
    const auto connection = WaylandOverlayConnection::open(eventLoop, desktop.displayName, usesLayers);
    if (!connection) return {};
    return {.windows = std::make_shared<WaylandOverlayWindows>(connection, painter, desktop),
            .monitors = std::make_shared<WaylandEventMonitors>(connection),
            .ownWindows = std::make_shared<WaylandOwnWindows>()};
}

LinuxOverlays LinuxOverlays::ofX11(EventLoop& eventLoop, OverlayPainter& painter,
                                   const std::string& displayName) {
    const auto connection = X11OverlayConnection::open(eventLoop, displayName);
    if (!connection) return {};
    return {.windows = std::make_shared<X11OverlayWindows>(connection, painter),
            .monitors = std::make_shared<X11EventMonitors>(eventLoop, connection, displayName),
            .ownWindows = std::make_shared<X11OwnWindows>(connection)};
}

} // namespace vintra
