#pragma once

#include "Vintra/platform/Geometry.h"
#include "Vintra/platform/Observation.h"

#include <cstdint>
#include <functional>
#include <vector>

namespace vintra {

/// The windows of this program itself. Main thread.
class OwnWindows {
public:
    struct Window {
        uint32_t number = 0;
        CGRect frame; ///< points, on the desktop
        bool isVisible = false;
        bool isPanel = false;           ///< one that floats: a camera's preview, an overlay
        bool isSelectionPanel = false;  ///< an overlay in which a region or a window is chosen
        bool letsClicksThrough = false; ///< for good, as the click highlight does
        bool operator==(const Window&) const = default;
    };

    virtual ~OwnWindows() = default;
    /// Whether the user works with this program now.
    virtual bool isActive() const = 0;
    /// Every window, overlays included.
    virtual std::vector<Window> windows() const = 0;
    /// Calls the block when one of them may have come, gone or moved, for as long as the result is kept. Where that
    /// isn't told it is never called.
    virtual Observation observeChanges(std::function<void()> block) = 0;
};

} // namespace vintra
