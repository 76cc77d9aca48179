#include "Vintra/platform/linux/pipewire/PipeWireConnection.h"

#include "Vintra/platform/linux/pipewire/PipeWireContext.h"
#include "Vintra/platform/linux/pipewire/PipeWireMetadata.h"

#include <pipewire/extensions/metadata.h>
#include <pipewire/pipewire.h>

#include <cerrno>
#include <cstdlib>
#include <string_view>
#include <utility>

namespace vintra {
namespace {

constexpr double kSecondsBetweenTries = 0.5; ///< to reach a server that is away

} // namespace

struct PipeWireConnection::Events {
    static PipeWireConnection& self(void* data) { return *static_cast<PipeWireConnection*>(data); }

    static void info(void* data, const pw_core_info* info) {
        self(data).loop_.assertHeld();
        self(data).coreInfo(info);
    }
    static void done(void* data, uint32_t id, int sequence) {
        self(data).loop_.assertHeld();
        if (id == PW_ID_CORE) self(data).syncDone(sequence);
    }
    static void error(void* data, uint32_t id, int, int result, const char*) {
        self(data).loop_.assertHeld();
        if (id == PW_ID_CORE && result == -EPIPE) {
            self(data).lost();
        }
    }
    static void global(void* data, uint32_t id, uint32_t, const char* type, uint32_t,
                       const spa_dict* properties) {
        self(data).loop_.assertHeld();
        if (properties != nullptr) self(data).globalAppeared(id, type, *properties);
    }
    static void globalRemove(void* data, uint32_t id) {
        self(data).loop_.assertHeld();
        self(data).globalRemoved(id);
    }
    static constexpr pw_core_events core = [] {
        pw_core_events events{};
        events.version = PW_VERSION_CORE_EVENTS;
        events.info = info;
        events.done = done;
        events.error = error;
        return events;
    }();
    static constexpr pw_registry_events registry = [] {
        pw_registry_events events{};
        events.version = PW_VERSION_REGISTRY_EVENTS;
        events.global = global;
        events.global_remove = globalRemove;
        return events;
    }();
};

PipeWireConnection::PipeWireConnection(const std::string& serverName)
    : serverName_(serverName)
    , devices_(loop_, [this](const PipeWireChange& change) { notify(change); })
    , tables_(loop_, [this](const std::string& table, const std::string& key) { tableChanged(table, key); })
    , filters_(loop_, links_, [this] { notify({.links = true}); })
    , videoSources_(loop_, links_, [this](const PipeWireChange& change) { notify(change); }) {
    PipeWireLock lock(loop_);
    if (loop_.isUsable()) {
        retry = std::make_unique<PipeWireTimer>(loop_, [this] {
            loop_.assertHeld();
            reconnect();
        });
        if (connect()) {
            awaitDevices();
            return;
        }
        disconnect();
        retry->startOver(kSecondsBetweenTries);
    }
    MutexLock values(mutex);
    problem_ = "No PipeWire server answers, so there is no sound input.";
}

PipeWireConnection::~PipeWireConnection() {
    PipeWireLock lock(loop_);
    retry.reset();
    disconnect();
    if (context != nullptr) pw_context_destroy(context);
}

/// Not from a callback of the core's own.
void PipeWireConnection::disconnect() {
    devices_.unbind();
    tables_.clear();
    links_.clear();
    filters_.clear();
    videoSources_.unbind();
    if (registry != nullptr) {
        if (registryHook) spa_hook_remove(registryHook.get());
        pw_proxy_destroy(reinterpret_cast<pw_proxy*>(registry));
    }
    registryHook.reset();
    registry = nullptr;
    if (coreHook) spa_hook_remove(coreHook.get());
    coreHook.reset();
    core_.reset();
    syncsToCome = 0;
}

bool PipeWireConnection::connect() {
    // Captured sound comes in on its data thread, which is a real-time one where the system lets it.
    if (context == nullptr) context = newRealTimeContext(loop_.loop());
    if (context == nullptr) return false;
    pw_properties* properties = nullptr;
    if (!serverName_.empty()) {
        properties = pw_properties_new(PW_KEY_REMOTE_NAME, serverName_.c_str(), nullptr);
    }
    pw_core* const made = pw_context_connect(context, properties, 0);
    if (made == nullptr) return false;
    core_ = std::shared_ptr<pw_core>(made, [](pw_core* core) { pw_core_disconnect(core); });
    coreHook = std::make_unique<spa_hook>();
    pw_core_add_listener(made, coreHook.get(), &Events::core, this);
    registry = pw_core_get_registry(made, PW_VERSION_REGISTRY, 0);
    if (registry == nullptr) return false;
    tables_.begin(*registry);
    registryHook = std::make_unique<spa_hook>();
    pw_registry_add_listener(registry, registryHook.get(), &Events::registry, this);
    // The first answer comes after all objects were named, the second after each one taken hold of has told
    // about itself; each of those then asks for its formats.
    syncsToCome = 2;
    awaitedSync = requestSync();
    return true;
}

void PipeWireConnection::reconnect() {
    isFirstServer = false;
    disconnect();
    if (connect()) return;
    disconnect();
    retry->startOver(kSecondsBetweenTries);
}

void PipeWireConnection::awaitDevices() {
    const int64_t deadline = PipeWireLoop::deadlineIn(2.0);
    while (!isComplete()) {
        if (!loop_.waitUntil(deadline)) break;
    }
}

bool PipeWireConnection::isComplete() const {
    if (core_ == nullptr) return true;
    return syncsToCome == 0 && !devices_.isPending() && !videoSources_.isPending();
}

int PipeWireConnection::requestSync() {
    return pw_core_sync(core_.get(), PW_ID_CORE, 0);
}

void PipeWireConnection::coreInfo(const pw_core_info* info) {
    if (info->props == nullptr) return;
    const char* rate = spa_dict_lookup(info->props, "default.clock.rate");
    const int hertz = rate != nullptr ? std::atoi(rate) : 0;
    if (hertz > 0) defaultRate = static_cast<uint32_t>(hertz);
}

void PipeWireConnection::globalAppeared(uint32_t id, const char* type, const spa_dict& properties) {
    if (links_.bind(id, type, properties)) {
        notify({.links = true});
        return;
    }
    if (std::string_view(type) == PW_TYPE_INTERFACE_Node) devices_.bind(*core_, *registry, id, properties);
    filters_.bind(*registry, id, type, properties);
    videoSources_.bind(*core_, *registry, id, type, properties);
    if (std::string_view(type) != PW_TYPE_INTERFACE_Metadata) return;
    const char* const name = spa_dict_lookup(&properties, PW_KEY_METADATA_NAME);
    if (name == nullptr) return;
    // What a session manager has just begun with is only known to be filled where both were there before.
    const bool isServersOwn = std::string_view(name) == "settings";
    if (isServersOwn || (syncsToCome > 0 && isFirstServer)) {
        tables_.bind(id, name);
    } else {
        tables_.bindWhenFilled(id, name);
    }
}

void PipeWireConnection::tableChanged(const std::string& table, const std::string& key) {
    loop_.assertHeld();
    if (table == "default") notify({.defaultsKey = key});
    loop_.signal();
}

uint32_t PipeWireConnection::graphRate() {
    const PipeWireMetadata* const settings = tables_.named("settings");
    if (settings == nullptr) return defaultRate;
    for (const char* key : {"clock.force-rate", "clock.rate"}) {
        if (const uint32_t rate = settings->number(key); rate != 0) return rate;
    }
    return defaultRate;
}

void PipeWireConnection::globalRemoved(uint32_t id) {
    if (links_.remove(id)) {
        notify({.links = true});
        return;
    }
    filters_.remove(id);
    videoSources_.remove(id);
    if (tables_.remove(id)) {
        notify({});
    } else if (devices_.remove(id)) {
        loop_.signal();
    }
}

void PipeWireConnection::syncDone(int sequence) {
    if (syncsToCome > 0 && sequence == awaitedSync) {
        --syncsToCome;
        if (syncsToCome > 0) {
            awaitedSync = requestSync();
        } else {
            answered();
        }
    }
    devices_.syncDone(sequence, graphRate());
    videoSources_.syncDone(sequence);
    loop_.signal();
}

void PipeWireConnection::answered() {
    bool wasAway = false;
    {
        MutexLock values(mutex);
        wasAway = std::exchange(problem_, std::nullopt).has_value();
    }
    if (wasAway) notify({});
}

void PipeWireConnection::lost() {
    // This is a callback of the core's: it and the registry go when the timer has come.
    tables_.clear();
    links_.clear();
    filters_.clear();
    syncsToCome = 0;
    {
        MutexLock values(mutex);
        problem_ = "The PipeWire server has stopped, so there is no sound input until it runs again.";
    }
    devices_.clear();
    videoSources_.clear();
    if (retry) retry->startOver(kSecondsBetweenTries);
    loop_.signal();
}

void PipeWireConnection::setForcedRate(uint32_t number, uint32_t rate) {
    PipeWireLock lock(loop_);
    devices_.setForcedRate(number, rate, graphRate());
}

void PipeWireConnection::notify(const PipeWireChange& change) {
    std::vector<std::shared_ptr<Block>> blocks;
    {
        MutexLock values(mutex);
        std::erase_if(observers, [](const auto& observer) { return observer.expired(); });
        for (const auto& observer : observers) {
            if (auto block = observer.lock()) blocks.push_back(std::move(block));
        }
    }
    for (const auto& block : blocks)
        (*block)(change);
}

std::shared_ptr<void> PipeWireConnection::observe(Block block) {
    auto kept = std::make_shared<Block>(std::move(block));
    MutexLock values(mutex);
    observers.push_back(kept);
    return kept;
}

bool PipeWireConnection::isServiceRunning() {
    PipeWireLock lock(loop_);
    return !problem() && tables_.named("default") != nullptr;
}

std::optional<std::string> PipeWireConnection::problem() const {
    MutexLock values(mutex);
    return problem_;
}

} // namespace vintra
