#pragma once

#include "Vintra/platform/Screens.h"

#include <vector>

namespace vintra {

/// The screens of a simulated machine: at the start one of 1440 × 900 points at two pixels a point, number 1.
class SimulatedScreens : public Screens {
public:
    std::vector<NSScreen> screens() const override { return list; }

    std::vector<NSScreen> list{{1, "Built-in Display", {{0, 0}, {1440, 900}}, 2.0}};
};

} // namespace vintra
