#include "Vintra/platform/linux/x11/X11PixelFormat.h"

#include <X11/Xutil.h>

namespace vintra {

std::optional<X11PixelFormat> pixelFormatOf(X11Display& display, const Visual& visual, int depth) {
    int bitsPerPixel = 0;
    int count = 0;
    if (XPixmapFormatValues* const formats = XListPixmapFormats(display.get(), &count)) {
        for (int i = 0; i < count; ++i) {
            if (formats[i].depth == depth) bitsPerPixel = formats[i].bits_per_pixel;
        }
        XFree(formats);
    }
    const auto red = colourBitsOf(visual.red_mask);
    const auto green = colourBitsOf(visual.green_mask);
    const auto blue = colourBitsOf(visual.blue_mask);
    const bool isWholeBytes = bitsPerPixel == 16 || bitsPerPixel == 24 || bitsPerPixel == 32;
    if (visual.c_class != TrueColor || !isWholeBytes || !red || !green || !blue ||
        ImageByteOrder(display.get()) != LSBFirst) {
        return std::nullopt;
    }
    return X11PixelFormat{depth, {bitsPerPixel / 8, *red, *green, *blue}};
}

} // namespace vintra
