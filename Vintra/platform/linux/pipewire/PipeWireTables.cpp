#include "Vintra/platform/linux/pipewire/PipeWireTables.h"

#include "Vintra/platform/linux/pipewire/PipeWireMetadata.h"

#include <pipewire/extensions/metadata.h>
#include <pipewire/pipewire.h>

#include <algorithm>
#include <utility>

namespace vintra {
namespace {

constexpr double kSecondsUntilFilled = 0.25;

} // namespace

PipeWireTables::PipeWireTables(PipeWireLoop& loop, ChangeHandler changed)
    : loop(loop)
    , changed(std::move(changed)) {}

PipeWireTables::~PipeWireTables() = default;

void PipeWireTables::begin(pw_registry& ofServer) {
    loop.assertHeld();
    registry = &ofServer;
    timer = std::make_unique<PipeWireTimer>(loop, [this] { bindFilled(); });
}

void PipeWireTables::bind(uint32_t globalID, const std::string& name) {
    loop.assertHeld();
    if (named(name) != nullptr) return;
    void* const proxy =
        pw_registry_bind(registry, globalID, PW_TYPE_INTERFACE_Metadata, PW_VERSION_METADATA, 0);
    if (proxy == nullptr) return;
    tables[globalID] =
        std::make_unique<PipeWireMetadata>(loop, static_cast<pw_proxy*>(proxy), name,
                                           [this, name](const std::string& key) { changed(name, key); });
}

void PipeWireTables::bindWhenFilled(uint32_t globalID, const std::string& name) {
    loop.assertHeld();
    if (!timer) return; // the server has ended
    beingFilled[globalID] = name;
    timer->startOver(kSecondsUntilFilled);
}

void PipeWireTables::bindFilled() {
    loop.assertHeld();
    for (const auto& [globalID, name] : std::exchange(beingFilled, {})) {
        bind(globalID, name);
        changed(name, "");
    }
}

bool PipeWireTables::remove(uint32_t globalID) {
    loop.assertHeld();
    return tables.erase(globalID) > 0 || beingFilled.erase(globalID) > 0;
}

void PipeWireTables::clear() {
    loop.assertHeld();
    timer.reset();
    tables.clear();
    beingFilled.clear();
}

PipeWireMetadata* PipeWireTables::named(const std::string& name) const {
    loop.assertHeld();
    const auto found =
        std::ranges::find_if(tables, [&](const auto& entry) { return entry.second->name() == name; });
    return found != tables.end() ? found->second.get() : nullptr;
}

void PipeWireTables::readAgain(const std::string& name) {
    loop.assertHeld();
    const auto found =
        std::ranges::find_if(tables, [&](const auto& entry) { return entry.second->name() == name; });
    if (found == tables.end()) return;
    const uint32_t globalID = found->first;
    tables.erase(found);
    bind(globalID, name);
}

} // namespace vintra
