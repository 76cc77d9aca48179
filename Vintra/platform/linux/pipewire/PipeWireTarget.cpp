#include "Vintra/platform/linux/pipewire/PipeWireTarget.h"

#include "Vintra/platform/linux/pipewire/PipeWireConnection.h"

#include <pipewire/pipewire.h>

#include <optional>
#include <utility>

namespace vintra {
struct PipeWireTarget::Events {
    static void letGo(void* data, uint64_t) {
        auto& self = *static_cast<PipeWireTarget*>(data);
        if (pw_stream* const stream = std::exchange(self.leaving, nullptr)) pw_stream_disconnect(stream);
    }
};

PipeWireTarget::PipeWireTarget(PipeWireConnection& connection, const PipeWireNode& device,
                               PipeWireStreamDirection direction, std::function<void()> changed)
    : connection(connection)
    , device(device.globalID)
    , name(device.name)
    , isCapture(direction == PipeWireStreamDirection::capture) {
    this->connection.loop().assertHeld();
    event = pw_loop_add_event(this->connection.loop().loop(), Events::letGo, this);
    observation = this->connection.observe([changed = std::move(changed)](const PipeWireChange& change) {
        if (change.links || change.devices) changed();
    });
}

PipeWireTarget::~PipeWireTarget() {
    connection.loop().assertHeld();
    observation.reset();
    if (event != nullptr) pw_loop_destroy_source(connection.loop().loop(), event);
}

void PipeWireTarget::letGoSoon(pw_stream* stream) {
    connection.loop().assertHeld();
    leaving = stream;
    if (event != nullptr) pw_loop_signal_event(connection.loop().loop(), event);
}

PipeWireTarget::Standing PipeWireTarget::standing(pw_stream* stream) const {
    connection.loop().assertHeld();
    if (!connection.devices().nameOfNode(device)) return Standing::gone;
    const uint32_t node = stream != nullptr ? pw_stream_get_node_id(stream) : PW_ID_ANY;
    if (node == PW_ID_ANY) return Standing::open;
    std::set<uint32_t> seen;
    return standingOf(node, seen);
}

/// One link to the device is enough: a second one is a person's doing, at a patch bay.
PipeWireTarget::Standing PipeWireTarget::standingOf(uint32_t node, std::set<uint32_t>& seen) const {
    const auto peers = isCapture ? connection.links().sendersTo(node) : connection.links().receiversOf(node);
    Standing result = Standing::open;
    for (const uint32_t peer : peers) {
        const Standing there = isDevice(peer) ? Standing::reached : standingThrough(peer, seen);
        if (there == Standing::reached) return there;
        if (there == Standing::elsewhere) result = there;
    }
    return result;
}

/// A node between leads on by its own links, or it is one of a filter's pair and the other one does.
PipeWireTarget::Standing PipeWireTarget::standingThrough(uint32_t peer, std::set<uint32_t>& seen) const {
    if (!seen.insert(peer).second) return Standing::elsewhere; // nodes may be linked in a circle
    if (connection.devices().nameOfNode(peer) == "") return Standing::open;
    if (standingOf(peer, seen) == Standing::reached) return Standing::reached;
    const auto group = connection.devices().linkGroupOfNode(peer);
    if (!group || group->empty()) return Standing::elsewhere;
    Standing result = Standing::open; // it may be linked yet
    for (const uint32_t stream : connection.filters().streamsOf(*group, !isCapture)) {
        const Standing there = standingOf(stream, seen);
        if (there == Standing::reached) return there;
        if (there == Standing::elsewhere) result = there;
    }
    return result;
}

/// Of two devices of one name the session manager takes either.
bool PipeWireTarget::isDevice(uint32_t node) const {
    return node == device || connection.devices().nameOfNode(node) == name;
}

} // namespace vintra
