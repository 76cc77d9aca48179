#pragma once

#include "Vintra/platform/Geometry.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vintra {

/// What the window server says of a window of any program. What it doesn't say is absent.
struct CGWindowInfo {
    std::optional<uint32_t> number;
    std::optional<CGRect> bounds; ///< points, on the desktop, the origin at the top left
    int layer = 0;                ///< 0 for ordinary windows; docks, menus and tips have others
    std::optional<int32_t> ownerPID;
    std::optional<std::string> ownerName;
    std::optional<std::string> name; ///< the title
    bool operator==(const CGWindowInfo&) const = default;
};

/// The windows of all programs. Empty, or nothing, where they can't be read. Main thread.
class WindowList {
public:
    virtual ~WindowList() = default;
    /// Front to back, without those that make up the desktop.
    virtual std::vector<CGWindowInfo> onScreenWindowsExcludingDesktopElements() const = 0;
    /// One window, on the screen or not; nothing if there is none with that number.
    virtual std::optional<CGWindowInfo> window(uint32_t number) const = 0;
};

} // namespace vintra
