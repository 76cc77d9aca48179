#pragma once

#include "Vintra/platform/Published.h"

#include <functional>
#include <memory>
#include <string>

namespace vintra {

/// A key that works whatever program is in front. It is given back when this goes. Main thread.
class GlobalHotKey {
public:
    virtual ~GlobalHotKey() = default;
};

/// Keys with the letters and modifiers of a keyboard.
struct KeyCombination {
    char key = 'A'; ///< a letter or digit of ASCII, capital
    bool control = false;
    bool alt = false;
    bool shift = false;
    /// As a user reads it: "Ctrl+Alt+M".
    std::string title() const {
        return std::string(control ? "Ctrl+" : "") + (alt ? "Alt+" : "") + (shift ? "Shift+" : "") + key;
    }
    bool operator==(const KeyCombination&) const = default;
};

/// Registers such keys, and outlives them. Main thread.
class GlobalHotKeys {
public:
    virtual ~GlobalHotKeys() = default;
    /// The action runs on the main thread each time the key is pressed; a key that is held is pressed once. `name` is
    /// what the desktop may show for it. Null if the key is taken, by this program too, or if the desktop has no such
    /// keys. A desktop that takes its time, or asks the user, may still refuse later: `problem` says so.
    virtual std::unique_ptr<GlobalHotKey> makeHotKey(const KeyCombination& keys, const std::string& name,
                                                     std::function<void()> action) = 0;

    /// Why keys don't work, or the latest one doesn't: a sentence for the user. Empty as far as is known.
    Published<std::string> problem;
    /// How the latest key is pressed, in the desktop's words, where its user may have chosen another one. Empty: as it
    /// was asked for.
    Published<std::string> chosenKeys;

protected:
    /// The sentences of all backends.
    static std::string isTaken(const KeyCombination& keys) {
        return keys.title() + " belongs to another program here.";
    }
    static constexpr const char* kNone = "This desktop gives programs no keys of their own.";
};

} // namespace vintra
