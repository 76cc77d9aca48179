#pragma once

#include "Vintra/platform/linux/overlays/WaylandOverlayConnection.h"

#include <cstdint>
#include <functional>
#include <memory>

namespace vintra {

/// What a surface is to the compositor: how it comes to cover a display. Owned by the window, which destroys it before
/// the surface. Main thread.
class WaylandOverlayRole {
public:
    /// Each may destroy the role.
    struct Listener {
        /// Points; 0 leaves it to the surface. Nothing is shown before the first.
        std::function<void(int width, int height)> onSize;
        std::function<void()> onClosed;
    };

    /// In the uppermost of the compositor's layers, above panels and windows on every workspace; where it has none, a
    /// full-screen window.
    static std::unique_ptr<WaylandOverlayRole> make(const WaylandOverlayConnection& connection,
                                                    wl_surface* surface, wl_output* output,
                                                    bool takesKeyboard, Listener listener);
    virtual ~WaylandOverlayRole() = default;
    WaylandOverlayRole(const WaylandOverlayRole&) = delete;
    WaylandOverlayRole& operator=(const WaylandOverlayRole&) = delete;

protected:
    explicit WaylandOverlayRole(Listener listener)
        : listener(std::move(listener)) {}

    const Listener listener;
};

} // namespace vintra
