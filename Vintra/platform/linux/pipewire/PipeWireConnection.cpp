#include "Vintra/platform/linux/pipewire/PipeWireConnection.h"

#include "Vintra/platform/linux/pipewire/PipeWireMetadata.h"
#include "Vintra/platform/linux/pipewire/PipeWireNodeBinding.h"

#include <pipewire/extensions/metadata.h>
#include <pipewire/pipewire.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <utility>

namespace vintra {
namespace {

// A session manager that has just begun fills its table first. Whoever writes to it meanwhile may wedge it
// (WirePlumber 0.4.13).
constexpr double kSecondsUntilTableIsFilled = 0.25;

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
            self(data).lost("The PipeWire server has stopped, so there is "
                            "no sound input until Vintra is started again.");
        }
    }
    static void global(void* data, uint32_t id, uint32_t, const char* type, uint32_t,
                       const spa_dict* properties) {
        self(data).loop_.assertHeld();
        self(data).globalAppeared(id, type, properties);
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
    : serverName_(serverName) {
    PipeWireLock lock(loop_);
    if (loop_.isUsable() && connect()) {
        awaitDevices();
    } else {
        MutexLock values(mutex);
        problem_ = "No PipeWire server answers, so there is no sound input.";
    }
}

PipeWireConnection::~PipeWireConnection() {
    PipeWireLock lock(loop_);
    newTablesTimer.reset();
    bindings.clear();
    tables.clear();
    if (registry != nullptr) {
        spa_hook_remove(registryHook.get());
        pw_proxy_destroy(reinterpret_cast<pw_proxy*>(registry));
    }
    if (core_ != nullptr) {
        spa_hook_remove(coreHook.get());
        pw_core_disconnect(core_);
    }
    if (context != nullptr) pw_context_destroy(context);
}

bool PipeWireConnection::connect() {
    newTablesTimer = std::make_unique<PipeWireTimer>(loop_, [this] {
        loop_.assertHeld();
        bindNewTables();
    });
    // Captured sound comes in on its data thread, which is a real-time one where the system lets it.
    context =
        pw_context_new(loop_.loop(), pw_properties_new(PW_KEY_CONFIG_NAME, "client-rt.conf", nullptr), 0);
    if (context == nullptr) return false;
    pw_properties* properties = nullptr;
    if (!serverName_.empty()) {
        properties = pw_properties_new(PW_KEY_REMOTE_NAME, serverName_.c_str(), nullptr);
    }
    core_ = pw_context_connect(context, properties, 0);
    if (core_ == nullptr) return false;
    coreHook = std::make_unique<spa_hook>();
    pw_core_add_listener(core_, coreHook.get(), &Events::core, this);
    registry = pw_core_get_registry(core_, PW_VERSION_REGISTRY, 0);
    if (registry == nullptr) return false;
    registryHook = std::make_unique<spa_hook>();
    pw_registry_add_listener(registry, registryHook.get(), &Events::registry, this);
    return true;
}

void PipeWireConnection::awaitDevices() {
    // The first answer comes after all objects were named, the second after each one taken hold of has told
    // about itself; each of those then asks for its formats.
    syncsToCome = 2;
    awaitedSync = requestSync();
    const int64_t deadline = PipeWireLoop::deadlineIn(2.0);
    while (!isComplete()) {
        if (!loop_.waitUntil(deadline)) break;
    }
}

bool PipeWireConnection::isComplete() const {
    if (core_ == nullptr) return true;
    if (syncsToCome > 0) return false;
    for (const auto& [id, binding] : bindings) {
        if (binding->isPending()) return false;
    }
    return true;
}

int PipeWireConnection::requestSync() {
    return pw_core_sync(core_, PW_ID_CORE, 0);
}

void PipeWireConnection::coreInfo(const pw_core_info* info) {
    if (info->props == nullptr) return;
    const char* rate = spa_dict_lookup(info->props, "default.clock.rate");
    const int hertz = rate != nullptr ? std::atoi(rate) : 0;
    if (hertz > 0) defaultRate = static_cast<uint32_t>(hertz);
}

void PipeWireConnection::globalAppeared(uint32_t id, const char* type, const spa_dict* properties) {
    if (properties == nullptr) return;
    if (std::string_view(type) == PW_TYPE_INTERFACE_Metadata) metadataAppeared(id, properties);
    if (std::string_view(type) != PW_TYPE_INTERFACE_Node) return;
    const auto kind = pipeWireNodeKind(spa_dict_lookup(properties, PW_KEY_MEDIA_CLASS));
    if (!kind) return;
    auto* proxy = static_cast<pw_proxy*>(pw_registry_bind(registry, id, type, PW_VERSION_NODE, 0));
    if (proxy == nullptr) return;
    bindings[id] = std::make_unique<PipeWireNodeBinding>(*this, proxy, id, *kind);
}

void PipeWireConnection::metadataAppeared(uint32_t id, const spa_dict* properties) {
    const char* name = spa_dict_lookup(properties, PW_KEY_METADATA_NAME);
    if (name == nullptr) return;
    if (syncsToCome > 0) {
        bindTable(id, name);
        return;
    }
    newTables[id] = name;
    newTablesTimer->startOver(kSecondsUntilTableIsFilled);
}

void PipeWireConnection::bindNewTables() {
    const auto appeared = std::exchange(newTables, {});
    for (const auto& [id, name] : appeared)
        bindTable(id, name);
}

void PipeWireConnection::bindTable(uint32_t id, const std::string& name) {
    if (metadata(name) != nullptr) return;
    void* const proxy = pw_registry_bind(registry, id, PW_TYPE_INTERFACE_Metadata, PW_VERSION_METADATA, 0);
    if (proxy == nullptr) return;
    tables[id] = std::make_unique<PipeWireMetadata>(*this, static_cast<pw_proxy*>(proxy), name);
}

void PipeWireConnection::readMetadataAgain(const std::string& name) {
    const auto found = std::find_if(tables.begin(), tables.end(),
                                    [&](const auto& table) { return table.second->name() == name; });
    if (found == tables.end()) return;
    const uint32_t id = found->first;
    tables.erase(found);
    bindTable(id, name);
}

PipeWireMetadata* PipeWireConnection::metadata(const std::string& name) {
    for (const auto& [id, table] : tables) {
        if (table->name() == name) return table.get();
    }
    return nullptr;
}

void PipeWireConnection::metadataChanged(const PipeWireMetadata& table, const std::string& key) {
    loop_.assertHeld();
    if (table.name() == "default") notify({.defaultsKey = key});
    loop_.signal();
}

uint32_t PipeWireConnection::graphRate() {
    const PipeWireMetadata* const settings = metadata("settings");
    if (settings == nullptr) return defaultRate;
    for (const char* key : {"clock.force-rate", "clock.rate"}) {
        if (const uint32_t rate = settings->number(key); rate != 0) return rate;
    }
    return defaultRate;
}

void PipeWireConnection::globalRemoved(uint32_t id) {
    if (tables.erase(id) > 0 || newTables.erase(id) > 0) return;
    if (bindings.erase(id) == 0) return;
    bool hasGone = false;
    {
        MutexLock values(mutex);
        hasGone = std::erase_if(devices, [id](const auto& entry) { return entry.second.globalID == id; }) > 0;
    }
    if (hasGone) notify({.devices = true});
    loop_.signal();
}

void PipeWireConnection::syncDone(int sequence) {
    if (syncsToCome > 0 && sequence == awaitedSync) {
        --syncsToCome;
        if (syncsToCome > 0) awaitedSync = requestSync();
    }
    for (const auto& [id, binding] : bindings) {
        if (auto node = binding->syncDone(sequence, graphRate())) publish(*std::move(node));
    }
    loop_.signal();
}

void PipeWireConnection::lost(const std::string& reason) {
    // The objects of a server that has gone are only taken down with the connection: callers may be in the
    // middle of using them.
    bindings.clear();
    tables.clear();
    newTables.clear();
    syncsToCome = 0;
    {
        MutexLock values(mutex);
        problem_ = reason;
        devices.clear();
    }
    notify({.devices = true});
    loop_.signal();
}

void PipeWireConnection::publish(PipeWireNode node) {
    PipeWireChange change;
    {
        MutexLock values(mutex);
        const auto [entry, isNew] = numbers.try_emplace(node.name, 0);
        // Number 1 is the system's own.
        if (isNew) entry->second = static_cast<uint32_t>(numbers.size()) + 1;
        const uint32_t number = entry->second;
        const auto forced = forcedRates.find(number);
        if (forced != forcedRates.end()) node.format.sampleRate = forced->second;
        const auto known = devices.find(number);
        const uint32_t rateBefore =
            known != devices.end() ? known->second.format.sampleRate : lastRates[number];
        if (known == devices.end() || known->second.description != node.description ||
            known->second.format.channels != node.format.channels || known->second.kind != node.kind) {
            change.devices = true;
        }
        if (rateBefore != 0 && rateBefore != node.format.sampleRate) change.rateOfDevice = number;
        lastRates[number] = node.format.sampleRate;
        devices[number] = std::move(node);
    }
    if (change.devices || change.rateOfDevice) notify(change);
}

void PipeWireConnection::setForcedRate(uint32_t number, uint32_t rate) {
    PipeWireLock lock(loop_);
    std::optional<PipeWireNode> node;
    {
        MutexLock values(mutex);
        if (rate != 0) {
            forcedRates[number] = rate;
        } else if (forcedRates.erase(number) == 0) {
            return;
        }
        const auto found = devices.find(number);
        if (found == devices.end()) return;
        node = found->second;
    }
    if (rate == 0) node->format.sampleRate = graphRate();
    publish(*std::move(node));
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

std::optional<std::string> PipeWireConnection::problem() const {
    MutexLock values(mutex);
    return problem_;
}

std::vector<uint32_t> PipeWireConnection::deviceNumbers() const {
    MutexLock values(mutex);
    std::vector<uint32_t> result;
    for (const auto& [number, node] : devices)
        result.push_back(number);
    return result;
}

std::optional<PipeWireNode> PipeWireConnection::device(uint32_t number) const {
    MutexLock values(mutex);
    const auto found = devices.find(number);
    return found != devices.end() ? std::optional(found->second) : std::nullopt;
}

std::optional<uint32_t> PipeWireConnection::numberNamed(const std::string& name) const {
    MutexLock values(mutex);
    const auto number = numbers.find(name);
    if (number == numbers.end() || !devices.contains(number->second)) return std::nullopt;
    return number->second;
}

std::optional<PipeWireNode> PipeWireConnection::deviceNamed(const std::string& name) const {
    MutexLock values(mutex);
    const auto number = numbers.find(name);
    if (number == numbers.end()) return std::nullopt;
    const auto found = devices.find(number->second);
    return found != devices.end() ? std::optional(found->second) : std::nullopt;
}

} // namespace vintra
