#pragma once

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

/// Registers such keys. Main thread.
class GlobalHotKeys {
public:
    virtual ~GlobalHotKeys() = default;
    /// The action runs on the main thread each time the key is pressed. `name` is what the desktop may show for it.
    /// Null if the key is taken, or if the desktop has no such keys.
    virtual std::unique_ptr<GlobalHotKey> makeHotKey(const KeyCombination& keys, const std::string& name,
                                                     std::function<void()> action) = 0;
};

} // namespace vintra
