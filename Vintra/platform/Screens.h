#pragma once

#include "Vintra/platform/Geometry.h"
#include "Vintra/platform/Observation.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace vintra {

/// A screen as windows are placed on it.
struct NSScreen {
    uint32_t screenNumber = 0; ///< the id of the display that it is
    std::string localizedName;
    CGRect frame;                  ///< points, on the desktop
    double backingScaleFactor = 1; ///< pixels a point
    bool operator==(const NSScreen&) const = default;
};

/// The screens of the desktop. Main thread.
class Screens {
public:
    virtual ~Screens() = default;
    /// The main one first; empty without a desktop.
    virtual std::vector<NSScreen> screens() const = 0;
    /// Calls the block on the main thread after screens have come, gone or changed, for as long as the result
    /// is kept. Null where the machine doesn't tell.
    virtual Observation observeChanges(std::function<void()> block) = 0;
};

} // namespace vintra
