#pragma once

#include "Vintra/platform/linux/pipewire/PipeWireNode.h"

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>

struct pw_proxy;
struct pw_registry;
struct spa_dict;
struct spa_hook;

namespace vintra {

class PipeWireLoop;

/// Where the server's filters play to. A filter, such as an equaliser, is a pair of nodes of one node.link-group:
/// a sink, which programs play to, and a stream, which plays on. A stream without a target of its own follows the
/// default output. Owned by the connection, which tells it what the server says; everything happens with the
/// loop's lock held.
class PipeWireFilters {
public:
    explicit PipeWireFilters(PipeWireLoop& loop);
    ~PipeWireFilters();
    PipeWireFilters(const PipeWireFilters&) = delete;
    PipeWireFilters& operator=(const PipeWireFilters&) = delete;

    /// Follows the object if it is a stream that plays, or a link.
    void bind(pw_registry& registry, uint32_t globalID, const char* type, const spa_dict& properties);
    void remove(uint32_t globalID);
    /// For the end of the server or of the connection.
    void clear();

    /// Whether what is played to the sink goes on to whatever the default output is.
    bool followsDefault(const PipeWireNode& sink) const;
    /// The node that a filter that follows the default plays to now.
    std::optional<uint32_t> playsTo(const PipeWireNode& sink) const;

private:
    struct Stream;
    const Stream* streamBehind(const PipeWireNode& sink, uint32_t* globalID = nullptr) const;

    struct Link {
        uint32_t output = 0; ///< the node that plays
        uint32_t input = 0;
    };
    PipeWireLoop& loop;
    std::map<uint32_t, std::unique_ptr<Stream>> streams; ///< by global id
    std::map<uint32_t, Link> links;                      ///< by global id
};

} // namespace vintra
