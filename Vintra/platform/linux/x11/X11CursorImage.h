#pragma once

#include "Vintra/platform/CVPixelBuffer.h"
#include "Vintra/platform/linux/screen/PixelRegion.h"
#include "Vintra/platform/linux/x11/X11Display.h"

#include <cstdint>
#include <vector>

namespace vintra {

/// The pointer's picture and place, for drawing it into what was captured: the server leaves it out of the
/// pixels that it hands over. Owned by a capture, on its thread.
class X11CursorImage {
public:
    /// Asks the server for events when the pointer moves or changes its picture. It then costs nothing while
    /// it lies still. A program that moves the pointer by itself within a window that listens to motion tells
    /// nobody: that shows with the next frame.
    void watch(X11Display& display);
    /// Notes what an event says of the pointer; ignores other events.
    void handle(const XEvent& event);
    /// Whether an event has said anything of the pointer since the last `update`.
    bool mayHaveChanged() const { return hasMoved || !isCurrent; }
    /// Asks the server where the pointer is, and for its picture if that is out of date. True if either
    /// differs from before.
    bool update(X11Display& display);
    /// What the picture covers of the root window; empty while there is none.
    PixelRect frame() const;
    /// The child of the root window that the pointer is over, as of the last `update`; 0 for none.
    ::Window windowBelow() const { return child; }
    /// Something other than the pointer asks for an `update`.
    void expectMove() { hasMoved = true; }
    /// Draws the picture over `plane`, which shows the part `shown` of the root window, and never beyond it.
    void blend(const CVPixelBuffer::Plane& plane, const PixelRect& shown) const;

private:
    bool fetchImage(X11Display& display);

    std::vector<uint32_t> pixels; ///< ARGB, premultiplied, without row padding
    PixelRect image;              ///< its origin relative to the pointer
    unsigned long serial = 0;     ///< of the picture; the server never gives 0
    ::Window child = 0;
    int pointerX = 0;
    int pointerY = 0;
    bool isCurrent = false; ///< the picture
    bool hasMoved = true;
    int cursorEvent = -1;    ///< number of the event of a changed picture; -1 if the server has none
    int inputExtension = -1; ///< opcode, likewise
};

} // namespace vintra
