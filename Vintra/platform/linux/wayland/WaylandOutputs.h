#pragma once

#include "Vintra/platform/linux/screen/PixelRegion.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vintra {

/// A display of a Wayland desktop as its compositor tells it.
struct WaylandOutput {
    /// From the name alone, so it stays the same when other displays come and go, and from one session to the
    /// next; 1 to 65536.
    uint32_t displayID = 0;
    std::string name;        ///< of the connector: "DP-1"
    std::string description; ///< for people; may be empty
    PixelRect frame;         ///< points, on the desktop
    int pixelWidth = 0;      ///< as it is turned
    int pixelHeight = 0;
    /// Pixels a point; not a whole number where the desktop scales so.
    double scale() const { return frame.width > 0 ? static_cast<double>(pixelWidth) / frame.width : 1; }
    bool operator==(const WaylandOutput&) const = default;
};

/// The displays in the compositor's order, asked for over a connection of its own; switched-off ones are left
/// out. An empty name stands for the WAYLAND_DISPLAY of the environment. Throws `SystemError` if no
/// compositor answers within 2 s. Any thread.
std::vector<WaylandOutput> readWaylandOutputs(const std::string& displayName = {});

/// Whether a Wayland compositor takes connections there.
bool isWaylandReachable(const std::string& displayName = {});

} // namespace vintra
