#include "Vintra/platform/linux/x11/X11Monitors.h"

#include "Vintra/platform/linux/screen/DisplayID.h"

#include <X11/Xatom.h>
#include <X11/extensions/Xrandr.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <sstream>

namespace vintra {
namespace {

bool hasMonitors(X11Display& display) {
    int eventBase = 0;
    int errorBase = 0;
    int major = 0;
    int minor = 0;
    if (!XRRQueryExtension(display.get(), &eventBase, &errorBase)) return false;
    if (!XRRQueryVersion(display.get(), &major, &minor)) return false;
    return major > 1 || (major == 1 && minor >= 5);
}

std::string atomName(X11Display& display, Atom atom) {
    char* const text = XGetAtomName(display.get(), atom);
    if (!text) return {};
    std::string name = text;
    XFree(text);
    return name;
}

/// Not from the screen record of the connection, which is as old as the connection.
PixelRect rootFrame(X11Display& display) {
    XWindowAttributes attributes{};
    if (!XGetWindowAttributes(display.get(), display.root(), &attributes)) return {};
    return {0, 0, attributes.width, attributes.height};
}

std::vector<X11Monitor> monitorsOfRandR(X11Display& display) {
    std::vector<X11Monitor> monitors;
    int count = 0;
    XRRMonitorInfo* const infos = XRRGetMonitors(display.get(), display.root(), True, &count);
    if (!infos) return monitors;
    for (int i = 0; i < count; ++i) {
        const XRRMonitorInfo& info = infos[i];
        monitors.push_back(
            {0, atomName(display, info.name), {info.x, info.y, info.width, info.height}, info.primary != 0});
    }
    XRRFreeMonitors(infos);
    return monitors;
}

std::string readResources(X11Display& display) {
    constexpr long kMostWords = 1 << 20; // of 4 bytes
    Atom type = 0;
    int format = 0;
    unsigned long count = 0;
    unsigned long left = 0;
    unsigned char* data = nullptr;
    std::string text;
    if (XGetWindowProperty(display.get(), display.root(), XA_RESOURCE_MANAGER, 0, kMostWords, False,
                           XA_STRING, &type, &format, &count, &left, &data) != Success) {
        return text;
    }
    if (data && format == 8) text.assign(reinterpret_cast<const char*>(data), count);
    if (data) XFree(data);
    return text;
}

} // namespace

std::vector<X11Monitor> readMonitors(X11Display& display) {
    if (display.isDead()) return {};
    display.clearErrors();
    const PixelRect root = rootFrame(display);
    std::vector<X11Monitor> monitors;
    if (hasMonitors(display)) {
        monitors = monitorsOfRandR(display);
    } else {
        monitors.push_back({0, "screen", root, true});
    }
    if (display.isDead()) return {};
    for (X11Monitor& monitor : monitors)
        monitor.frame = intersection(monitor.frame, root);
    std::erase_if(monitors, [](const X11Monitor& monitor) { return monitor.frame.isEmpty(); });

    const auto isTaken = [&monitors](uint32_t id) {
        return std::any_of(monitors.begin(), monitors.end(),
                           [id](const X11Monitor& monitor) { return monitor.displayID == id; });
    };
    for (X11Monitor& monitor : monitors) {
        uint32_t id = displayIDFromName(monitor.name);
        while (isTaken(id))
            id = id % 65'536 + 1;
        monitor.displayID = id;
    }
    std::stable_partition(monitors.begin(), monitors.end(),
                          [](const X11Monitor& monitor) { return monitor.isPrimary; });
    return monitors;
}

std::optional<X11Monitor> findMonitor(X11Display& display, uint32_t displayID) {
    for (const X11Monitor& monitor : readMonitors(display)) {
        if (monitor.displayID == displayID) return monitor;
    }
    return std::nullopt;
}

std::vector<NSScreen> readScreens(X11Display& display) {
    std::vector<NSScreen> screens;
    const double scale = readScale(display);
    for (const X11Monitor& monitor : readMonitors(display)) {
        screens.push_back({monitor.displayID, monitor.name, pointsOf(monitor.frame, scale), scale});
    }
    return screens;
}

double readScale(X11Display& display) {
    const std::string key = "Xft.dpi:";
    std::istringstream lines(readResources(display));
    for (std::string line; std::getline(lines, line);) {
        if (line.compare(0, key.size(), key) != 0) continue;
        const double dpi = std::strtod(line.c_str() + key.size(), nullptr);
        if (!(dpi > 0) || dpi > 96 * 16) return 1;
        return std::max(1.0, std::round(dpi / 96 * 4) / 4);
    }
    return 1;
}

int wholePointsCovering(int pixels, double scale) {
    return static_cast<int>(std::ceil(pixels / scale));
}

double pointsCovering(int pixels, double scale) {
    double points = pixels / scale;
    while (points * scale < pixels)
        points = std::nextafter(points, HUGE_VAL);
    return points;
}

CGRect pointsOf(const PixelRect& frame, double scale) {
    return {{frame.x / scale, frame.y / scale},
            {pointsCovering(frame.width, scale), pointsCovering(frame.height, scale)}};
}

int nearestPixel(double points, double scale) {
    constexpr double kFarthest = 1 << 24; // beyond any desktop, and sums of it are still whole numbers
    return static_cast<int>(std::lround(std::clamp(points * scale, -kFarthest, kFarthest)));
}

} // namespace vintra
