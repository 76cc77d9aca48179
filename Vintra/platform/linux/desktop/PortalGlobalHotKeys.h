#pragma once

#include "Vintra/platform/GlobalHotKey.h"
#include "Vintra/platform/Log.h"
#include "Vintra/platform/linux/desktop/MainThreadBus.h"
#include "Vintra/platform/linux/desktop/PortalRequest.h"

#include <functional>
#include <list>
#include <memory>
#include <string>

namespace vintra {

/// Keys of a desktop that gives them out by its portal, as Wayland's do: org.freedesktop.portal.GlobalShortcuts. The
/// desktop may ask the user, who may choose other keys. Whether there is such a portal is asked at once, and again when
/// a key was refused for the lack of it. Main thread.
class PortalGlobalHotKeys final : public GlobalHotKeys {
public:
    /// The bus outlives this.
    PortalGlobalHotKeys(MainThreadBus& bus, std::shared_ptr<Log> log);

    std::unique_ptr<GlobalHotKey> makeHotKey(const KeyCombination& keys, const std::string& name,
                                             std::function<void()> action) override;

private:
    enum class Presence { unknown, there, absent };
    class HotKey;

    void probe();
    void tookVersion(sd_bus_message* reply);
    void refuse(const KeyCombination& keys, const std::string& why);

    MainThreadBus& bus;
    const std::shared_ptr<Log> log;
    Presence presence = Presence::unknown;
    std::list<HotKey*> hotKeys; ///< those that live
    BusSlot version;
    BusSlot activations;
    BusSlot changes;
    const std::shared_ptr<int> life = std::make_shared<int>();
};

} // namespace vintra
