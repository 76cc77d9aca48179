#include "Vintra/platform/linux/wayland/WaylandScreens.h"

#include "Vintra/platform/SystemError.h"
#include "Vintra/platform/linux/wayland/WaylandOutputs.h"

#include <functional>
#include <utility>

namespace vintra {

WaylandScreens::WaylandScreens(std::string displayName)
    : displayName(std::move(displayName)) {}

std::vector<NSScreen> WaylandScreens::screens() const {
    std::vector<NSScreen> screens;
    try {
        for (const WaylandOutput& output : readWaylandOutputs(displayName)) {
            const PixelRect& frame = output.frame;
            screens.push_back({output.displayID, output.name,
                               CGRect{{static_cast<double>(frame.x), static_cast<double>(frame.y)},
                                      {static_cast<double>(frame.width), static_cast<double>(frame.height)}},
                               output.scale()});
        }
    } catch (const SystemError&) {
        // No desktop, no screens.
    }
    return screens;
}

Observation WaylandScreens::observeChanges(std::function<void()>) {
    return nullptr;
}

} // namespace vintra
