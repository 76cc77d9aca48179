#pragma once

#include "Vintra/platform/linux/screen/PixelRegion.h"
#include "Vintra/platform/linux/x11/X11Display.h"

#include <X11/extensions/Xfixes.h>

#include <vector>

namespace vintra {

/// What has been drawn on a drawable and all windows in it. The server tells once that there is something and
/// is silent until it was taken, however much is drawn meanwhile. Owned by a capture, on its thread.
class X11DamageWatch {
public:
    /// Throws `SystemError` if the server can't tell.
    X11DamageWatch(X11Display& display, Drawable drawable);

    /// Takes down what an event says; other events are passed over.
    void handle(const XEvent& event);
    bool isPending() const { return pending; }
    /// What was drawn since it was last taken, in the drawable's pixels. What is drawn from now on is told
    /// anew, so pixels that are read after this are never older than what was told.
    std::vector<PixelRect> take(X11Display& display);

private:
    int damageEvent = 0;
    XID damage = 0;
    XserverRegion parts = 0;
    bool pending = false;
};

} // namespace vintra
