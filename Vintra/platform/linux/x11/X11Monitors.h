#pragma once

#include "Vintra/platform/Screens.h"
#include "Vintra/platform/linux/screen/PixelRegion.h"
#include "Vintra/platform/linux/x11/X11Display.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vintra {

/// A monitor of an X desktop as RandR tells it: an output that shows a part of the root window, or a part
/// that the user has set apart as a monitor of its own.
struct X11Monitor {
    /// From the name alone, so it stays the same when other monitors come and go, and from one session to the
    /// next; 1 to 65536.
    uint32_t displayID = 0;
    std::string name;
    PixelRect frame; ///< on the root window
    bool isPrimary = false;
    bool operator==(const X11Monitor&) const = default;
};

/// The primary one first, the others in the server's order. A server without RandR has one, of the size of
/// its root window. Empty if the server has ended.
std::vector<X11Monitor> readMonitors(X11Display& display);

std::optional<X11Monitor> findMonitor(X11Display& display, uint32_t displayID);

/// The monitors as windows are placed on them.
std::vector<NSScreen> readScreens(X11Display& display);

/// Pixels a point, of the whole desktop: the resource Xft.dpi over 96, rounded to quarters and at least 1; 1
/// where the desktop hasn't set it. As it is at the moment: a connection's own copy is as old as that.
double readScale(X11Display& display);

/// The fewest whole points that cover this number of pixels.
int wholePointsCovering(int pixels, double scale);
/// `pixels` over `scale`, so that `scale` times it is never less than `pixels`: a product that was rounded
/// down would lose a pixel.
double pointsCovering(int pixels, double scale);
/// A frame on the root window in points, its size as `pointsCovering` has it.
CGRect pointsOf(const PixelRect& frame, double scale);
/// The pixel nearest to a length in points.
int nearestPixel(double points, double scale);

} // namespace vintra
