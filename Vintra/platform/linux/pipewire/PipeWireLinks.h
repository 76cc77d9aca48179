#pragma once

#include <cstdint>
#include <map>
#include <vector>

struct spa_dict;

namespace vintra {

class PipeWireLoop;

/// Which of the server's nodes sends to which. Owned by the connection, which tells it what the server says;
/// everything happens with the loop's lock held.
class PipeWireLinks {
public:
    explicit PipeWireLinks(PipeWireLoop& loop)
        : loop(loop) {}

    /// False if the object is no link.
    bool bind(uint32_t globalID, const char* type, const spa_dict& properties);
    /// False if the object is none of the links.
    bool remove(uint32_t globalID);
    /// For the end of the server or of the connection.
    void clear();

    // Each node once, in the order of the links.

    /// The nodes that send to that one.
    std::vector<uint32_t> sendersTo(uint32_t node) const;
    /// The nodes that it sends to.
    std::vector<uint32_t> receiversOf(uint32_t node) const;

private:
    struct Link {
        uint32_t output = 0; ///< the node that sends
        uint32_t input = 0;
    };
    PipeWireLoop& loop;
    std::map<uint32_t, Link> links; ///< by global id
};

} // namespace vintra
