#pragma once

#include "Vintra/platform/GlobalHotKey.h"

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
        if (areTaken) return nullptr;
        return std::make_unique<Key>(registered,
                                     registered.insert(registered.end(), {keys, name, std::move(action)}));
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
