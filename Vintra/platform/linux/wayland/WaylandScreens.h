#pragma once

#include "Vintra/platform/Screens.h"

#include <functional>
#include <memory>
#include <string>

namespace vintra {

class EventLoop;
class WaylandScreenWatch;

/// The displays of a Wayland desktop. Each reading asks the compositor afresh. Main thread.
class WaylandScreens : public Screens {
public:
    /// An empty name stands for the WAYLAND_DISPLAY of the environment.
    explicit WaylandScreens(std::string displayName = {});
    /// With the event loop changes are told. It outlives this.
    WaylandScreens(std::string displayName, EventLoop& eventLoop);
    ~WaylandScreens() override;
    std::vector<NSScreen> screens() const override;
    Observation observeChanges(std::function<void()> block) override;

private:
    std::string displayName;
    EventLoop* const eventLoop = nullptr;
    std::unique_ptr<WaylandScreenWatch> watch; ///< from the first observer on
};

} // namespace vintra
