#include "Vintra/platform/linux/pipewire/PipeWireDeviceList.h"

#include "Vintra/platform/linux/pipewire/PipeWireNodeBinding.h"

#include <pipewire/pipewire.h>

#include <algorithm>
#include <utility>

namespace vintra {

PipeWireDeviceList::PipeWireDeviceList(PipeWireLoop& loop, ChangeHandler changed)
    : loop(loop)
    , changed(std::move(changed)) {}

PipeWireDeviceList::~PipeWireDeviceList() = default;

std::vector<uint32_t> PipeWireDeviceList::numbers() const {
    MutexLock values(mutex);
    std::vector<uint32_t> result;
    for (const auto& [number, node] : devices)
        result.push_back(number);
    return result;
}

std::optional<PipeWireNode> PipeWireDeviceList::device(uint32_t number) const {
    MutexLock values(mutex);
    const auto found = devices.find(number);
    return found != devices.end() ? std::optional(found->second) : std::nullopt;
}

std::optional<uint32_t> PipeWireDeviceList::numberNamed(const std::string& name) const {
    MutexLock values(mutex);
    const auto number = numbers_.find(name);
    if (number == numbers_.end() || !devices.contains(number->second)) return std::nullopt;
    return number->second;
}

std::optional<PipeWireNode> PipeWireDeviceList::deviceNamed(const std::string& name) const {
    const auto number = numberNamed(name);
    return number ? device(*number) : std::nullopt;
}

std::optional<std::string> PipeWireDeviceList::nameOf(uint32_t number) const {
    MutexLock values(mutex);
    const auto found =
        std::ranges::find_if(numbers_, [&](const auto& entry) { return entry.second == number; });
    return found != numbers_.end() ? std::optional(found->first) : std::nullopt;
}

std::optional<uint32_t> PipeWireDeviceList::numberOfNode(uint32_t globalID) const {
    MutexLock values(mutex);
    const auto found =
        std::ranges::find_if(devices, [&](const auto& entry) { return entry.second.globalID == globalID; });
    return found != devices.end() ? std::optional(found->first) : std::nullopt;
}

std::optional<std::string> PipeWireDeviceList::nameOfNode(uint32_t globalID) const {
    loop.assertHeld();
    const auto found = bindings.find(globalID);
    return found != bindings.end() ? std::optional(found->second->name()) : std::nullopt;
}

std::optional<std::string> PipeWireDeviceList::linkGroupOfNode(uint32_t globalID) const {
    loop.assertHeld();
    const auto found = bindings.find(globalID);
    return found != bindings.end() ? std::optional(found->second->linkGroup()) : std::nullopt;
}

void PipeWireDeviceList::bind(pw_core& core, pw_registry& registry, uint32_t globalID,
                              const spa_dict& properties) {
    loop.assertHeld();
    const auto kind = pipeWireNodeKind(spa_dict_lookup(&properties, PW_KEY_MEDIA_CLASS));
    if (!kind) return;
    void* const proxy = pw_registry_bind(&registry, globalID, PW_TYPE_INTERFACE_Node, PW_VERSION_NODE, 0);
    if (proxy == nullptr) return;
    bindings[globalID] =
        std::make_unique<PipeWireNodeBinding>(loop, core, static_cast<pw_proxy*>(proxy), globalID, *kind);
}

bool PipeWireDeviceList::isPending() const {
    loop.assertHeld();
    return std::ranges::any_of(bindings, [](const auto& entry) { return entry.second->isPending(); });
}

void PipeWireDeviceList::syncDone(int sequence, uint32_t graphRate) {
    loop.assertHeld();
    for (const auto& [id, binding] : bindings) {
        if (auto node = binding->syncDone(sequence, graphRate)) publish(*std::move(node));
    }
}

bool PipeWireDeviceList::remove(uint32_t globalID) {
    loop.assertHeld();
    if (bindings.erase(globalID) == 0) return false;
    bool hasGone = false;
    {
        MutexLock values(mutex);
        hasGone =
            std::erase_if(devices, [&](const auto& entry) { return entry.second.globalID == globalID; }) > 0;
    }
    // One that has been replaced under its name is no change of the list, but streams on it have lost it.
    changed(hasGone ? PipeWireChange{.devices = true} : PipeWireChange{.links = true});
    return true;
}

void PipeWireDeviceList::unbind() {
    loop.assertHeld();
    bindings.clear();
}

void PipeWireDeviceList::clear() {
    unbind();
    {
        MutexLock values(mutex);
        devices.clear();
        forcedRates.clear(); // what forced them has ended with the server
    }
    changed({.devices = true});
}

void PipeWireDeviceList::publish(PipeWireNode node) {
    PipeWireChange change;
    {
        MutexLock values(mutex);
        const auto [entry, isNew] = numbers_.try_emplace(node.name, 0);
        // Number 1 is the system's own.
        if (isNew) entry->second = static_cast<uint32_t>(numbers_.size()) + 1;
        const uint32_t number = entry->second;
        const auto forced = forcedRates.find(number);
        if (forced != forcedRates.end()) node.format.sampleRate = forced->second;
        const auto known = devices.find(number);
        const uint32_t rateBefore =
            known != devices.end() ? known->second.format.sampleRate : lastRates[number];
        change.devices = known == devices.end() || known->second.description != node.description ||
                         known->second.format.channels != node.format.channels ||
                         known->second.kind != node.kind;
        if (rateBefore != 0 && rateBefore != node.format.sampleRate) change.rateOfDevice = number;
        if (known != devices.end() &&
            (known->second.channelVolumes != node.channelVolumes || known->second.isMuted != node.isMuted))
            change.volumeOfDevice = number;
        lastRates[number] = node.format.sampleRate;
        devices[number] = std::move(node);
    }
    if (change.devices || change.rateOfDevice || change.volumeOfDevice) changed(change);
}

void PipeWireDeviceList::setForcedRate(uint32_t number, uint32_t rate, uint32_t graphRate) {
    loop.assertHeld();
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
    if (rate == 0) node->format.sampleRate = graphRate;
    publish(*std::move(node));
}

} // namespace vintra
