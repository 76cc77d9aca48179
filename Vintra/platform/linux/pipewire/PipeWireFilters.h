#pragma once

#include "Vintra/platform/linux/pipewire/PipeWireNode.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

struct pw_proxy;
struct pw_registry;
struct spa_dict;
struct spa_hook;

namespace vintra {

class PipeWireLinks;
class PipeWireLoop;

/// The streams of the server's filters. A filter, such as an equaliser, is a pair of nodes of one node.link-group: a
/// sink, which programs play to, and a stream, which plays on; or a source, which programs listen to, and a stream,
/// which listens before it. A stream without a target of its own follows the default device. Owned by the connection,
/// which tells it what the server says; everything happens with the loop's lock held.
class PipeWireFilters {
public:
    /// The handler is called when a stream has said what filter it belongs to. The links outlive this.
    PipeWireFilters(PipeWireLoop& loop, const PipeWireLinks& links, std::function<void()> changed);
    ~PipeWireFilters();
    PipeWireFilters(const PipeWireFilters&) = delete;
    PipeWireFilters& operator=(const PipeWireFilters&) = delete;

    /// Follows the object if it is a stream of sound.
    void bind(pw_registry& registry, uint32_t globalID, const char* type, const spa_dict& properties);
    void remove(uint32_t globalID);
    /// For the end of the server or of the connection.
    void clear();

    /// Whether what is played to the sink goes on to whatever the default output is.
    bool followsDefault(const PipeWireNode& sink) const;
    /// The node that a filter that follows the default plays to now.
    std::optional<uint32_t> playsTo(const PipeWireNode& sink) const;
    /// The streams of a node.link-group that play, or those that listen.
    std::vector<uint32_t> streamsOf(const std::string& linkGroup, bool thatPlay) const;

private:
    struct Stream;
    const Stream* streamBehind(const PipeWireNode& sink, uint32_t* globalID = nullptr) const;

    PipeWireLoop& loop;
    const PipeWireLinks& links;
    const std::function<void()> changed;
    std::map<uint32_t, std::unique_ptr<Stream>> streams; ///< by global id
};

} // namespace vintra
