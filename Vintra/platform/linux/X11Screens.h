#pragma once

#include "Vintra/platform/Screens.h"

#include <string>

namespace vintra {

/// The monitors of an X desktop. Each reading asks the server afresh over a connection of its own. Main
/// thread.
class X11Screens : public Screens {
public:
    /// An empty name stands for the DISPLAY of the environment.
    explicit X11Screens(std::string displayName = {});
    std::vector<NSScreen> screens() const override;
    Observation observeChanges(std::function<void()> block) override;

private:
    std::string displayName;
};

} // namespace vintra
