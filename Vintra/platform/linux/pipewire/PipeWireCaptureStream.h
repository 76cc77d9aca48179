#pragma once

#include "Vintra/platform/CMSampleBuffer.h"
#include "Vintra/platform/linux/pipewire/CaptureRing.h"
#include "Vintra/platform/linux/pipewire/PipeWireNode.h"
#include "Vintra/platform/linux/pipewire/SampleStamps.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

struct pw_stream;
struct spa_hook;
struct spa_source;

namespace vintra {

class PipeWireConnection;

/// A running stream from one device. Owned by its session; made, asked and destroyed with the loop's lock
/// held.
///
/// PipeWire's real-time thread, which all streams of the program share, only stamps each buffer and copies it
/// into the ring; PipeWire's other thread makes the samples and hands them on. So a queue that is slow to
/// take its work never delays the graph.
class PipeWireCaptureStream {
public:
    /// All are called on PipeWire's thread, with the loop's lock held; they must not block.
    struct Handlers {
        std::function<void(CMSampleBuffer)> sample;
        /// Before a sample that doesn't begin where the one before it ended: the sound server has lost a cycle, or
        /// the ring was full. So many frames lie between the two.
        std::function<void(uint32_t frames)> missing;
        std::function<void()> ended; ///< once, if the stream ends by itself while it streams
    };

    PipeWireCaptureStream(PipeWireConnection& connection, const PipeWireNode& node,
                          const AudioStreamBasicDescription& format, Handlers handlers);
    /// No sample is handed on after this.
    ~PipeWireCaptureStream();
    PipeWireCaptureStream(const PipeWireCaptureStream&) = delete;
    PipeWireCaptureStream& operator=(const PipeWireCaptureStream&) = delete;

    bool isStreaming() const { return status == Status::streaming; }
    /// The server refused it, or the device or the server is no longer there.
    bool hasEnded() const { return status == Status::ended; }

    /// Whether PipeWire can deliver that format.
    static bool canDeliver(const AudioStreamBasicDescription& format);

private:
    enum class Status { connecting, streaming, ended };
    struct Events;

    bool connect(const PipeWireNode& node);
    void stateChanged(int before, int now);
    /// Real-time: doesn't allocate, lock, block or throw.
    void process();
    void handOn();
    void followTime(int64_t time, uint32_t frames);

    PipeWireConnection& connection;
    const AudioStreamBasicDescription format;
    const std::shared_ptr<const CMFormatDescription> description;
    const Handlers handlers;
    pw_stream* stream = nullptr;
    spa_source* wakeUp = nullptr; ///< an event that runs `handOn`
    std::unique_ptr<spa_hook> hook;
    Status status = Status::connecting;
    CaptureRing ring;
    SampleStamps stamps;             ///< the real-time thread's
    std::optional<int64_t> nextTime; ///< nanoseconds, the end of what was handed on; the other thread's
};

} // namespace vintra
