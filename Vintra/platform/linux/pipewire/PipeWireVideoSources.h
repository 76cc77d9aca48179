#pragma once

#include "Vintra/platform/linux/pipewire/PipeWireChange.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

struct pw_core;
struct pw_registry;
struct spa_dict;

namespace vintra {

class PipeWireLinks;
class PipeWireLoop;

/// A camera as PipeWire shows it. A value.
struct PipeWireVideoSource {
    uint32_t globalID = 0; ///< of the node, which the server gives to another object when this one has ended
    std::string name;      ///< node.name: what the camera is known by from one run to the next
    std::string description; ///< as the user knows it
    /// Its EnumFormat parameters in its own order, each a whole spa_pod.
    std::vector<std::vector<uint64_t>> formats;
    bool operator==(const PipeWireVideoSource&) const = default;
};

/// The server's cameras, and which programs read them. Screens that a desktop shares are video sources too, but no
/// cameras: those say of themselves that they are. Owned by the connection, which tells it what the server says;
/// everything happens with the loop's lock held.
class PipeWireVideoSources {
public:
    using ChangeHandler = std::function<void(const PipeWireChange&)>;

    /// The handler is called after each change of the list. The links outlive this.
    PipeWireVideoSources(PipeWireLoop& loop, const PipeWireLinks& links, ChangeHandler changed);
    ~PipeWireVideoSources();
    PipeWireVideoSources(const PipeWireVideoSources&) = delete;
    PipeWireVideoSources& operator=(const PipeWireVideoSources&) = delete;

    /// In the order in which the server has them, those that have said all of themselves.
    std::vector<PipeWireVideoSource> all() const;
    /// Whether another node than those takes a camera's pictures.
    bool isReadByAnother(uint32_t source, const std::vector<uint32_t>& than) const;

    // What follows is the connection's.

    /// Follows the object if it is a camera.
    void bind(pw_core& core, pw_registry& registry, uint32_t globalID, const char* type,
              const spa_dict& properties);
    /// Whether a camera has yet to say what it is.
    bool isPending() const;
    void syncDone(int sequence);
    void remove(uint32_t globalID);
    /// For the end of the server: no camera is left.
    void clear();
    /// Follows nothing any more, for the end of the connection.
    void unbind();

private:
    struct Node;
    PipeWireLoop& loop;
    const PipeWireLinks& links;
    const ChangeHandler changed;
    std::map<uint32_t, std::unique_ptr<Node>> nodes; ///< by global id
};

} // namespace vintra
