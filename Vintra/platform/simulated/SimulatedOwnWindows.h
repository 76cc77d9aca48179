#pragma once

#include "Vintra/platform/OwnWindows.h"

#include <vector>

namespace vintra {

/// The program's windows as a test sets them; none at the start, and another program is the active one.
class SimulatedOwnWindows final : public OwnWindows {
public:
    bool isActive() const override { return active; }
    std::vector<Window> windows() const override { return list; }

    bool active = false;
    std::vector<Window> list;
};

} // namespace vintra
