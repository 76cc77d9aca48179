#pragma once

#include "Vintra/platform/AudioDeviceIO.h"
#include "Vintra/platform/linux/pipewire/PipeWireNode.h"
#include "Vintra/platform/linux/pipewire/PipeWireTarget.h"

#include <atomic>
#include <cstdint>
#include <memory>

struct pw_context;
struct pw_core;
struct pw_stream;
struct spa_hook;
struct spa_io_position;

namespace vintra {

class PipeWireConnection;

/// What a stream sees of its device's cycles. Any thread.
struct PipeWireCycles {
    std::atomic<uint32_t> frames{0}; ///< of the latest cycle; 0: none
    std::atomic<uint32_t> driver{0}; ///< the node whose clock drives them; 0: none
};

/// The running part of an IO proc: a stream between one device and the block, on a real-time thread of its
/// own. Owned by its proc; made, asked and destroyed with the loop's lock held.
///
/// The stream runs at the device's nominal rate and has the device's own channels, so nothing is resampled
/// or mixed on the way. It never goes to another device when its own goes: the block is called only while the stream is
/// linked to its device.
class PipeWireIOStream {
public:
    enum class Direction { input, output };

    /// A sink's input is its monitor. The block outlives the stream. Cycles longer than `frames` are asked
    /// not to be: of all that the streams on a device ask for, the least counts.
    PipeWireIOStream(PipeWireConnection& connection, const PipeWireNode& node, Direction direction,
                     const AudioIOBlock& block, std::shared_ptr<PipeWireCycles> cycles, uint32_t frames);
    /// No call of the block is under way after this.
    ~PipeWireIOStream();
    PipeWireIOStream(const PipeWireIOStream&) = delete;
    PipeWireIOStream& operator=(const PipeWireIOStream&) = delete;

    bool isStreaming() const { return status == Status::streaming && isReached; }
    /// The server refused it, the device or the server is no longer there, or it was linked to another device.
    bool hasEnded() const { return status == Status::ended; }
    /// The node whose clock drives the cycles; 0 if not known.
    uint32_t driver() const;

private:
    enum class Status { connecting, streaming, ended };
    struct Events;

    bool connectServer();
    bool connect(const PipeWireNode& node);
    void stateChanged(int now);
    void targetChanged();
    void end();
    /// Real-time, both: they don't allocate, lock, block or throw, nor does the block.
    void processInput();
    void processOutput();

    PipeWireConnection& connection;
    const AudioIOBlock& block;
    const std::shared_ptr<PipeWireCycles> cycles;
    const uint32_t channels;
    const uint32_t sampleRate;
    const bool isInput;
    uint32_t usualFrames; ///< of a cycle that doesn't say its length
    pw_context* context = nullptr;
    pw_core* core = nullptr;
    pw_stream* stream = nullptr;
    std::unique_ptr<spa_hook> hook;
    const spa_io_position* position = nullptr;
    Status status = Status::connecting;
    std::unique_ptr<PipeWireTarget> target;
    std::atomic<bool> isReached{false}; ///< linked to the device
};

} // namespace vintra
