#pragma once

#include "Vintra/platform/linux/pipewire/PipeWireNode.h"

#include <cstdint>
#include <memory>

struct pw_core;
struct pw_stream;
struct spa_hook;
struct spa_io_position;

namespace vintra {

class PipeWireConnection;

/// The rate and the length that a driver's cycles are to have; 0: as the server likes.
struct PipeWireCycleWishes {
    uint32_t rate = 0;   ///< hertz
    uint32_t frames = 0; ///< of a cycle
    bool operator==(const PipeWireCycleWishes&) const = default;
};

/// Holds the virtual device's cycles at a rate and a length for as long as it lives: PipeWire lets no program
/// set either on a device, but the streams on it may insist. This one takes part in the device's cycles and
/// passively, so that it is no reason for the device to run. Owned by the device IO; made, asked and
/// destroyed with the loop's lock held.
class PipeWireDevicePin {
public:
    PipeWireDevicePin(PipeWireConnection& connection, const PipeWireNode& node, PipeWireCycleWishes wishes);
    ~PipeWireDevicePin();
    PipeWireDevicePin(const PipeWireDevicePin&) = delete;
    PipeWireDevicePin& operator=(const PipeWireDevicePin&) = delete;

    /// Whether the device's clock has taken the rate on.
    bool isInForce() const;

private:
    struct Events;
    void process();

    PipeWireConnection& connection;
    const PipeWireCycleWishes wishes;
    std::shared_ptr<pw_core> core; ///< outlives the stream
    pw_stream* stream = nullptr;
    std::unique_ptr<spa_hook> hook;
    const spa_io_position* position = nullptr;
    uint32_t nodeID = 0;
};

} // namespace vintra
