#include "Vintra/platform/linux/x11/X11PictureSource.h"

#include "Vintra/platform/linux/x11/X11DisplaySource.h"
#include "Vintra/platform/linux/x11/X11WindowSource.h"

#include <X11/Xutil.h>

namespace vintra {

std::unique_ptr<X11PictureSource> makePictureSource(X11Display& display, const X11PictureSubject& subject,
                                                    std::optional<CGRect> sourceRect) {
    if (const auto* window = std::get_if<SCWindow>(&subject)) {
        return std::make_unique<X11WindowSource>(display, window->windowID);
    }
    return std::make_unique<X11DisplaySource>(display, std::get<SCDisplay>(subject), sourceRect);
}

bool hasReadablePixels(X11Display& display, const Visual& visual, int depth) {
    int bitsPerPixel = 0;
    int count = 0;
    if (XPixmapFormatValues* const formats = XListPixmapFormats(display.get(), &count)) {
        for (int i = 0; i < count; ++i) {
            if (formats[i].depth == depth) bitsPerPixel = formats[i].bits_per_pixel;
        }
        XFree(formats);
    }
    return visual.c_class == TrueColor && visual.red_mask == 0xff0000 && visual.green_mask == 0xff00 &&
           visual.blue_mask == 0xff && bitsPerPixel == 32 && ImageByteOrder(display.get()) == LSBFirst;
}

} // namespace vintra
