#pragma once

#include "Vintra/platform/linux/screen/PackedColours.h"
#include "Vintra/platform/linux/x11/X11Display.h"

#include <X11/Xlib.h>

#include <optional>

namespace vintra {

/// How the pixels of a drawable lie in memory when it is read.
struct X11PixelFormat {
    int depth = 24;
    PackedColours colours;
    bool operator==(const X11PixelFormat&) const = default;
};

/// Nothing if the pixels are of a kind that can't be read, such as numbers of a palette's colours.
std::optional<X11PixelFormat> pixelFormatOf(X11Display& display, const Visual& visual, int depth);

} // namespace vintra
