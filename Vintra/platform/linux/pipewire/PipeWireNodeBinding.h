#pragma once

#include "Vintra/platform/linux/pipewire/PipeWireNode.h"

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>

struct pw_core;
struct pw_node_info;
struct pw_proxy;
struct spa_hook;
struct spa_pod;

namespace vintra {

class PipeWireLoop;

/// Follows the properties and formats of one node of the server. Owned by `PipeWireDeviceList`; everything happens
/// with the loop's lock held.
class PipeWireNodeBinding {
public:
    /// Takes the proxy over.
    PipeWireNodeBinding(PipeWireLoop& loop, pw_core& core, pw_proxy* proxy, uint32_t globalID,
                        PipeWireNodeKind kind);
    ~PipeWireNodeBinding();
    PipeWireNodeBinding(const PipeWireNodeBinding&) = delete;
    PipeWireNodeBinding& operator=(const PipeWireNodeBinding&) = delete;

    /// Whether an answer of the server is awaited before the node can be shown.
    bool isPending() const { return awaitedSync.has_value() || !known; }
    /// The node if the answer makes it complete.
    std::optional<PipeWireNode> syncDone(int sequence, uint32_t graphRate);
    uint32_t globalID() const { return node.globalID; }
    // Empty until the node has said it.
    const std::string& name() const { return node.name; }
    const std::string& linkGroup() const { return node.linkGroup; }

private:
    struct Events;
    void nodeInfo(const pw_node_info* info);
    void parameter(uint32_t id, const spa_pod* parameter);

    PipeWireLoop& loop;
    pw_core& core;
    pw_proxy* const proxy;
    std::unique_ptr<spa_hook> hook;
    PipeWireNode node;
    PipeWireAudioFormat propertyFormat;
    std::map<uint32_t, PipeWireAudioFormat> parameterFormats; ///< by the parameter's id
    std::map<uint32_t, uint32_t> parameterFlags;              ///< their state when they were last read
    std::optional<int> awaitedSync;
    bool known = false;
    bool isRunning = false;
};

} // namespace vintra
