#pragma once

#include "Vintra/platform/linux/pipewire/PipeWireNode.h"
#include "Vintra/platform/linux/pipewire/PipeWireStreamSetup.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <set>

struct pw_stream;
struct spa_source;

namespace vintra {

class PipeWireConnection;

/// The device that a stream was made for, and whether it is the one that the stream is linked to.
///
/// Goal: sound of another device than the chosen one is never taken for it. Constraint: who links streams is the
/// session manager, and its rules differ: one ends a stream whose device has gone, another one leaves it paused and
/// may link it to the default device later; and a property that forbids that is news to some. Method: the properties
/// are set, and what comes of them is read from the server's links.
///
/// Owned by the stream; everything happens with the loop's lock held.
class PipeWireTarget {
public:
    enum class Standing {
        open,      ///< not linked, or nobody knows yet to what
        reached,   ///< linked to the device, perhaps by way of an equaliser or another filter
        elsewhere, ///< linked, but not to the device
        gone       ///< the device is no longer there
    };

    /// The handler is called after each change of links or devices; what has come of it, `standing` tells.
    PipeWireTarget(PipeWireConnection& connection, const PipeWireNode& device,
                   PipeWireStreamDirection direction, std::function<void()> changed);
    ~PipeWireTarget();
    PipeWireTarget(const PipeWireTarget&) = delete;
    PipeWireTarget& operator=(const PipeWireTarget&) = delete;

    Standing standing(pw_stream* stream) const;
    /// Takes the stream off its links soon: not at once, since it may be in a callback of its own.
    void letGoSoon(pw_stream* stream);

private:
    struct Events;
    Standing standingOf(uint32_t node, std::set<uint32_t>& seen) const;
    Standing standingThrough(uint32_t peer, std::set<uint32_t>& seen) const;
    bool isDevice(uint32_t node) const;

    PipeWireConnection& connection;
    const uint32_t device;  ///< the global id
    const std::string name; ///< of the device
    const bool isCapture;
    pw_stream* leaving = nullptr;
    spa_source* event = nullptr; ///< lets `leaving` go
    std::shared_ptr<void> observation;
};

} // namespace vintra
