#pragma once

#include "Vintra/platform/OwnWindows.h"
#include "Vintra/platform/linux/overlays/X11OverlayConnection.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace vintra {

/// The windows that this process has on an X desktop, whichever toolkit made them, as the server knows them: with what
/// the window manager puts around them. Read anew only after something has changed, and at most 10 times a second.
/// Main thread.
class X11OwnWindows final : public OwnWindows {
public:
    explicit X11OwnWindows(std::shared_ptr<X11OverlayConnection> connection);

    bool isActive() const override;
    std::vector<Window> windows() const override;
    Observation observeChanges(std::function<void()> block) override {
        return connection->observeStructure(std::move(block));
    }

private:
    void refreshIfNeeded() const;

    const std::shared_ptr<X11OverlayConnection> connection;
    mutable std::vector<Window> others; ///< but for the overlays
    mutable uint64_t knownStructure = 0;
    mutable int64_t readAt = 0; ///< nanoseconds of the monotonic clock; 0 for never
};

} // namespace vintra
