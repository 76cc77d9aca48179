#pragma once

#include "Vintra/platform/Geometry.h"
#include "Vintra/platform/WindowList.h"

#include <cstdint>
#include <string>
#include <vector>

namespace vintra {

/// A window that the user may choose to record.
struct PickableWindow {
    uint32_t id = 0; ///< the window's number
    std::string appName;
    std::string title; ///< may be empty
    CGRect frame;      ///< points, on the desktop

    /// The application with the title behind, if there is one.
    std::string label() const;

    bool operator==(const PickableWindow&) const = default;
};

/// Those of the windows that are offered, in their order: ordinary ones of other programs, large enough to
/// be seen and pointed at.
std::vector<PickableWindow> pickableWindows(const std::vector<CGWindowInfo>& windows, int32_t ownProcess);

} // namespace vintra
