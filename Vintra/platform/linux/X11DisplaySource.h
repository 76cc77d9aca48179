#pragma once

#include "Vintra/platform/ScreenCapture.h"
#include "Vintra/platform/linux/PixelRegion.h"
#include "Vintra/platform/linux/X11Display.h"

#include <optional>

namespace vintra {

/// The pixels that a capture of a display, or of a part of it, takes: which part of which drawable, followed
/// through changes of the desktop. Owned by a capture, on its thread.
class X11DisplaySource {
public:
    /// Throws `SystemError` if there is no such display or its pixels aren't 8 bits of blue, green and red in
    /// 32.
    X11DisplaySource(X11Display& display, const SCDisplay& captured, std::optional<CGRect> sourceRect);

    Drawable drawable() const { return root; }
    /// On the drawable.
    const PixelRect& area() const { return area_; }
    int depth() const { return depth_; }

    /// Takes down what an event says of the desktop; other events are passed over.
    void handle(XEvent& event);
    bool isOutOfDate() const { return outOfDate; }
    /// Reads the desktop again. With an error there is nothing to take, and it stays out of date.
    std::optional<SystemError> update(X11Display& display);

private:
    const uint32_t displayID;
    const std::optional<CGRect> sourceRect;
    ::Window root;
    int depth_;
    int randrEvents = -1; ///< number of RandR's first event; -1 if the server hasn't RandR
    PixelRect area_;
    bool outOfDate = true;
};

} // namespace vintra
