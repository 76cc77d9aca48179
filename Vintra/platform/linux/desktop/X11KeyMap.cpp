#include "Vintra/platform/linux/desktop/X11KeyMap.h"

#include "Vintra/platform/linux/x11/X11Display.h"

#include <X11/keysym.h>

#include <cctype>
#include <initializer_list>
#include <memory>
#include <string_view>

namespace vintra {
namespace {

using ModifierMap =
    std::unique_ptr<XModifierKeymap, decltype([](XModifierKeymap* map) { XFreeModifiermap(map); })>;

/// The modifiers that this key is one of; 0 for none.
unsigned int modifiersOf(KeySym symbol, const XModifierKeymap& map, ::Display* display) {
    const int code = XKeysymToKeycode(display, symbol);
    unsigned int found = 0;
    if (code == 0) return found;
    for (int modifier = 0; modifier < 8; ++modifier) {
        for (int key = 0; key < map.max_keypermod; ++key) {
            if (map.modifiermap[modifier * map.max_keypermod + key] == code) found |= 1u << modifier;
        }
    }
    return found;
}

/// Where the key lies on a keyboard for the Latin alphabet, in the numbers that X servers on Linux use; 0 if nowhere.
int placeOf(char key) {
    struct Row {
        std::string_view keys;
        int first;
    };
    for (const Row& row :
         {Row{"1234567890", 10}, Row{"QWERTYUIOP", 24}, Row{"ASDFGHJKL", 38}, Row{"ZXCVBNM", 52}}) {
        const size_t place = row.keys.find(key);
        if (place != std::string_view::npos) return row.first + static_cast<int>(place);
    }
    return 0;
}

} // namespace

X11KeyMap X11KeyMap::read(X11Display& display) {
    X11KeyMap result;
    result.alt = Mod1Mask;
    result.locks = LockMask;
    const ModifierMap map(XGetModifierMapping(display.get()));
    if (!map) return result;
    if (const unsigned int alt = modifiersOf(XK_Alt_L, *map, display.get())) result.alt = alt;
    for (const KeySym symbol : {XK_Num_Lock, XK_Scroll_Lock})
        result.locks |= modifiersOf(symbol, *map, display.get());
    result.locks &= ~(result.alt | ControlMask | ShiftMask);
    return result;
}

X11KeyMap::Key X11KeyMap::keyFor(const KeyCombination& keys, X11Display& display) const {
    // Small letters and digits are their own symbols.
    const auto symbol = static_cast<KeySym>(std::tolower(static_cast<unsigned char>(keys.key)));
    const int code = XKeysymToKeycode(display.get(), symbol);
    return {.code = code != 0 ? code : placeOf(keys.key),
            .modifiers =
                (keys.control ? ControlMask : 0u) | (keys.shift ? ShiftMask : 0u) | (keys.alt ? alt : 0u)};
}

std::vector<unsigned int> X11KeyMap::withEachLock(unsigned int modifiers) const {
    std::vector<unsigned int> all;
    // Every subset of the set bits, from all of them down to none.
    for (unsigned int subset = locks;; subset = (subset - 1) & locks) {
        all.push_back(modifiers | subset);
        if (subset == 0) break;
    }
    return all;
}

} // namespace vintra
