#pragma once

#include "Vintra/platform/Geometry.h"
#include "Vintra/platform/Observation.h"

#include <functional>

namespace vintra {

/// The pointer and its buttons wherever it is, over windows of any program. Points on the desktop. Main
/// thread.
class EventMonitors {
public:
    virtual ~EventMonitors() = default;
    /// Where the pointer is now.
    virtual CGPoint mouseLocation() const = 0;
    /// Calls the block when the pointer moves, over this program's windows or another's, for as long as the
    /// result is kept.
    virtual Observation observeMouseMoves(std::function<void()> block) = 0;
    /// Whether the machine tells any program of clicks in others; what is asked below is no use without.
    virtual bool canObserveClicks() const = 0;
    /// Whether the user lets this program see clicks in others.
    virtual bool isTrusted() const = 0;
    /// Calls the block with the place of each press of the left or right button in another program's windows,
    /// for as long as the result is kept.
    virtual Observation observeClicks(std::function<void(CGPoint)> block) = 0;
};

} // namespace vintra
