#include "Vintra/platform/linux/overlays/X11Keys.h"

#include <X11/Xutil.h>
#include <X11/keysym.h>

#include <iterator>

namespace vintra {
namespace {

/// Of the kernel, with the 8 that the X server adds.
constexpr unsigned kFirstDigitOfX11 = 2 + 8;
constexpr KeyCode kDigits[] = {kKey1, kKey2, kKey3, kKey4, kKey5};

} // namespace

std::optional<KeyCode> keyCodeOf(XKeyEvent& event) {
    if ((event.state & (ControlMask | Mod1Mask | Mod4Mask)) != 0) return std::nullopt;
    switch (XLookupKeysym(&event, 0)) {
    case XK_Return:
        return kKeyReturn;
    case XK_KP_Enter:
        return kKeyEnter;
    case XK_Escape:
        return kKeyEscape;
    default:
        break;
    }
    const unsigned place = event.keycode - kFirstDigitOfX11;
    if (place < std::size(kDigits)) return kDigits[place];
    return std::nullopt;
}

} // namespace vintra
