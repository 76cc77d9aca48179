#pragma once

#include <string>

namespace vintra {

/// Where a Wayland desktop is reached. Empty fields stand for what the environment says.
struct WaylandDesktop {
    std::string displayName;       ///< of the compositor
    std::string busAddress;        ///< of the session's message bus
    std::string restoreTokensFile; ///< path
};

} // namespace vintra
