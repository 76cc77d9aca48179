#pragma once

#include "Vintra/platform/WindowList.h"

#include <vector>

namespace vintra {

/// The windows of a simulated machine, front to back; none at the start. Every member may be changed at any
/// time.
class SimulatedWindowList : public WindowList {
public:
    std::vector<CGWindowInfo> onScreenWindowsExcludingDesktopElements() const override { return list; }
    std::optional<CGWindowInfo> window(uint32_t number) const override {
        for (const CGWindowInfo& each : list) {
            if (each.number == number) return each;
        }
        return std::nullopt;
    }

    std::vector<CGWindowInfo> list;
};

} // namespace vintra
