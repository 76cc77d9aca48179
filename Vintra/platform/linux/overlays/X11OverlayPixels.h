#pragma once

#include "Vintra/platform/linux/screen/PixelRegion.h"

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XShm.h>

#include <cstdint>
#include <memory>
#include <vector>

namespace vintra {

class X11Display;

/// The pixels of one overlay, 32 bits each, shared with the X server where it can be. Owned by the window;
/// main thread. The display outlives it.
class X11OverlayPixels {
public:
    /// Transparent. Null where there is no memory for it.
    static std::unique_ptr<X11OverlayPixels> make(X11Display& display, Visual* visual, int depth, int width,
                                                  int height);
    ~X11OverlayPixels();
    X11OverlayPixels(const X11OverlayPixels&) = delete;
    X11OverlayPixels& operator=(const X11OverlayPixels&) = delete;

    uint32_t* data() const { return pixels; }
    int width() const { return image->width; }
    int height() const { return image->height; }
    /// Copies the rectangles to the window. True if the pixels are to be left alone until the window is sent an
    /// event of the type `completionEvent`.
    bool put(::Drawable window, GC context, const std::vector<PixelRect>& rects);
    int completionEvent() const { return completion; }

private:
    X11OverlayPixels(X11Display& display)
        : display(display) {}
    bool share(Visual* visual, int depth, int width, int height);

    X11Display& display;
    uint32_t* pixels = nullptr;
    XImage* image = nullptr;
    XShmSegmentInfo segment{};
    bool isShared = false;
    int completion = -1;
};

} // namespace vintra
