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

} // namespace vintra
