#pragma once

#include "Vintra/platform/Drawing.h"

#include <vector>

namespace vintra {

/// The ripples that spread from clicks: each a ring that grows and fades, removed by itself. Times are host
/// time in seconds; points are those of the overlay. Owned by the click highlight. Main thread.
class ClickRippleView {
public:
    /// The ripple keeps its colour.
    void showRipple(CGPoint at, const NSColor& color, double now);
    /// Forgets those whose time is over.
    void removeEnded(double now);
    void draw(double now, Drawing& drawing) const;
    size_t count() const { return ripples.size(); }

private:
    struct Ripple {
        CGPoint centre;
        NSColor color;
        double start = 0;
    };

    std::vector<Ripple> ripples; ///< oldest first
};

} // namespace vintra
