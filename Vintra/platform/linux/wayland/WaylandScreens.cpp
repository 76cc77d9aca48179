#include "Vintra/platform/linux/wayland/WaylandScreens.h"

#include "Vintra/platform/SystemError.h"
#include "Vintra/platform/linux/wayland/WaylandOutputs.h"
#include "Vintra/platform/linux/wayland/WaylandScreenWatch.h"

#include <functional>
#include <utility>

namespace vintra {

WaylandScreens::WaylandScreens(std::string displayName)
    : displayName(std::move(displayName)) {}

WaylandScreens::WaylandScreens(std::string displayName, EventLoop& eventLoop)
    : displayName(std::move(displayName))
    , eventLoop(&eventLoop) {}

WaylandScreens::~WaylandScreens() = default;

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

Observation WaylandScreens::observeChanges(std::function<void()> block) {
    if (!eventLoop) return nullptr;
    if (!watch) watch = std::make_unique<WaylandScreenWatch>(*eventLoop, displayName);
    return watch->isConnected() ? watch->observe(std::move(block)) : nullptr;
}

} // namespace vintra
