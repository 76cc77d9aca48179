#include "Vintra/platform/linux/X11Screens.h"

#include "Vintra/platform/linux/X11Monitors.h"

namespace vintra {

X11Screens::X11Screens(std::string aDisplayName)
    : displayName(std::move(aDisplayName)) {}

std::vector<NSScreen> X11Screens::screens() const {
    std::vector<NSScreen> screens;
    try {
        const auto display = X11Display::open(displayName);
        const double scale = readScale(*display);
        for (const X11Monitor& monitor : readMonitors(*display)) {
            const CGRect frame{{monitor.frame.x / scale, monitor.frame.y / scale},
                               {monitor.frame.width / scale, monitor.frame.height / scale}};
            screens.push_back({monitor.displayID, monitor.name, frame, scale});
        }
    } catch (const SystemError&) {
        // No desktop, no screens.
    }
    return screens;
}

Observation X11Screens::observeChanges(std::function<void()>) {
    return nullptr;
}

} // namespace vintra
