#pragma once

#include "Vintra/platform/linux/screen/PixelRegion.h"
#include "Vintra/platform/linux/x11/X11Display.h"

#include <X11/extensions/Xfixes.h>

#include <cstdint>
#include <vector>

namespace vintra {

/// What has been drawn on a drawable and all windows in it. The server sends one event when something is drawn, and
/// no other until that has been taken, however much is drawn meanwhile. Owned by a capture, on its thread.
class X11DamageWatch {
public:
    /// Throws `SystemError` if the server can't tell.
    X11DamageWatch(X11Display& display, Drawable drawable);

    /// Notes what an event says; ignores other events.
    void handle(const XEvent& event);
    bool isPending() const { return pending; }
    /// When the first of what is pending was drawn: milliseconds of the server's clock.
    uint32_t pendingSince() const { return since; }
    /// What was drawn since the last call, in the drawable's pixels. Later drawing makes a new event, so pixels that
    /// are read after this call are at least as new as its result.
    std::vector<PixelRect> take(X11Display& display);

private:
    int damageEvent = 0;
    XID damage = 0;
    XserverRegion parts = 0;
    bool pending = false;
    uint32_t since = 0;
};

} // namespace vintra
