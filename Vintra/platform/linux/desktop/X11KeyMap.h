#pragma once

#include "Vintra/platform/GlobalHotKey.h"

#include <vector>

namespace vintra {

class X11Display;

/// Which numbers the X server's keyboard gives to keys and modifiers at this moment. A value; to be read anew when the
/// keyboard's mapping changes.
class X11KeyMap {
public:
    struct Key {
        int code = 0; ///< 0 if the keyboard hasn't that key
        unsigned int modifiers = 0;
        bool operator==(const Key&) const = default;
    };

    /// Asks the server.
    static X11KeyMap read(X11Display& display);

    /// A keyboard without Latin letters has its keys by their places on one that has them.
    Key keyFor(const KeyCombination& keys, X11Display& display) const;
    /// The modifiers of an event without the locks.
    unsigned int withoutLocks(unsigned int state) const { return state & kAllModifiers & ~locks; }
    /// The modifiers together with each combination of locks: Caps Lock, Num Lock and Scroll Lock change what is
    /// pressed in the server's eyes.
    std::vector<unsigned int> withEachLock(unsigned int modifiers) const;
    bool operator==(const X11KeyMap&) const = default;

private:
    static constexpr unsigned int kAllModifiers =
        0xFF; // of an event's state, in which buttons and more follow

    unsigned int alt = 0;
    unsigned int locks = 0;
};

} // namespace vintra
