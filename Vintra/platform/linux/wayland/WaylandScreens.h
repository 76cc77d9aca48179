#pragma once

#include "Vintra/platform/Screens.h"

#include <functional>
#include <string>

namespace vintra {

/// The displays of a Wayland desktop. Each reading asks the compositor afresh. Main thread.
class WaylandScreens : public Screens {
public:
    /// An empty name stands for the WAYLAND_DISPLAY of the environment.
    explicit WaylandScreens(std::string displayName = {});
    std::vector<NSScreen> screens() const override;
    Observation observeChanges(std::function<void()> block) override;

private:
    std::string displayName;
};

} // namespace vintra
