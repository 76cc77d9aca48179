#pragma once

#include "Vintra/platform/EventLoop.h"
#include "Vintra/platform/GlobalHotKey.h"
#include "Vintra/platform/linux/desktop/X11KeyMap.h"

#include <functional>
#include <list>
#include <memory>
#include <string>

namespace vintra {

class X11Display;

/// Keys of an X desktop: grabbed on its root window, over a connection of their own, which is made with the first key.
/// A server that hangs is given up after `X11Display::kPatience`. Main thread.
class X11GlobalHotKeys final : public GlobalHotKeys {
public:
    /// An empty name stands for the DISPLAY of the environment. The loop outlives this.
    explicit X11GlobalHotKeys(EventLoop& loop, std::string displayName = {});
    ~X11GlobalHotKeys() override;

    std::unique_ptr<GlobalHotKey> makeHotKey(const KeyCombination& keys, const std::string& name,
                                             std::function<void()> action) override;

private:
    struct Registration {
        KeyCombination keys;
        std::function<void()> action;
        X11KeyMap::Key grabbed; ///< without a code while it isn't
        bool isHeld = false;
    };
    using Registrations = std::list<Registration>;
    class HotKey;

    bool connect();
    bool grab(Registration& registration);
    void release(const X11KeyMap::Key& key);
    void giveBack(Registrations::iterator place);
    void grabAllAnew();
    void readEvents();
    std::function<void()> actionOf(const X11KeyMap::Key& key, bool isPress);
    void leave();

    EventLoop& loop;
    const std::string displayName;
    std::unique_ptr<X11Display> display;
    X11KeyMap map;
    Registrations registrations;
    std::shared_ptr<void> watch;
    const std::shared_ptr<int> life = std::make_shared<int>();
};

} // namespace vintra
