#pragma once

#include "Vintra/platform/GlobalHotKey.h"

#include <algorithm>
#include <functional>
#include <list>
#include <memory>
#include <string>
#include <utility>

namespace vintra {

/// Keys that a test presses. Main thread; it outlives what it has made.
class SimulatedGlobalHotKeys final : public GlobalHotKeys {
public:
    struct Registration {
        KeyCombination keys;
        std::string name;
        std::function<void()> action;
    };

    std::list<Registration> registered;
    bool areTaken = false; ///< by another program

    std::unique_ptr<GlobalHotKey> makeHotKey(const KeyCombination& keys, const std::string& name,
                                             std::function<void()> action) override {
        const bool isOurs = std::any_of(registered.begin(), registered.end(),
                                        [&](const Registration& one) { return one.keys == keys; });
        const bool isRefused = areTaken || isOurs;
        problem.set(isRefused ? isTaken(keys) : "");
        if (isRefused) return nullptr;
        return std::make_unique<Key>(registered,
                                     registered.insert(registered.end(), {keys, name, std::move(action)}));
    }
    /// Presses and releases the keys. False if nobody has them.
    bool press(const KeyCombination& keys) {
        for (const Registration& one : registered) {
            if (one.keys != keys) continue;
            const auto action = one.action; // it may give the key back
            action();
            return true;
        }
        return false;
    }

private:
    class Key final : public GlobalHotKey {
    public:
        Key(std::list<Registration>& registered, std::list<Registration>::iterator place)
            : registered(registered)
            , place(place) {}
        ~Key() override { registered.erase(place); }

    private:
        std::list<Registration>& registered;
        const std::list<Registration>::iterator place;
    };
};

} // namespace vintra
