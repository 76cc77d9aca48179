#pragma once

#include "Vintra/platform/CMSampleBuffer.h"
#include "Vintra/platform/linux/pipewire/CaptureRing.h"
#include "Vintra/platform/linux/pipewire/PipeWireNode.h"
#include "Vintra/platform/linux/pipewire/PipeWireTarget.h"
#include "Vintra/platform/linux/pipewire/SampleStamps.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

struct pw_core;
struct pw_stream;
struct spa_hook;
struct spa_source;

namespace vintra {

class PipeWireConnection;

/// Why a stream that was to run doesn't.
enum class CaptureEnd {
    stopped,   ///< the server or the device has ended it
    elsewhere, ///< another device was linked in the place of its own
    neverBegan ///< nothing has come of its device in the time given to it
};

/// A running stream from one device. Owned by its session; made, asked and destroyed with the loop's lock
/// held.
///
/// PipeWire's real-time thread, which all streams of the program share, only stamps each buffer and copies it
/// into the ring; PipeWire's other thread makes the samples and hands them on. So a queue that is slow to
/// take its work never delays the graph.
///
///     connecting --(linked to its device, sound flows)--> streaming --(not its device's any more)--> ended
///          \--(the server refuses, the device goes, another one is linked)--> ended
///
/// Sound is taken only while the stream is linked to its own device.
class PipeWireCaptureStream {
public:
    struct MissingSound {
        uint32_t frames = 0;    ///< between the two samples
        uint64_t leftOut = 0;   ///< blocks that found the ring full since the last time
        uint64_t graphGaps = 0; ///< times since then that the graph went on at another time than expected
    };
    /// All are called on PipeWire's thread, with the loop's lock held; they must not block.
    struct Handlers {
        std::function<void(CMSampleBuffer)> sample;
        /// Before a sample that doesn't begin where the one before it ended.
        std::function<void(const MissingSound&)> missing;
        /// Once, with the first sample, if the thread that hears the graph was refused real-time rights.
        std::function<void()> withoutRealTime;
        /// Once, if the stream ends by itself.
        std::function<void(CaptureEnd)> ended;
    };

    PipeWireCaptureStream(PipeWireConnection& connection, const PipeWireNode& node,
                          const AudioStreamBasicDescription& format, Handlers handlers);
    /// No sample is handed on after this.
    ~PipeWireCaptureStream();
    PipeWireCaptureStream(const PipeWireCaptureStream&) = delete;
    PipeWireCaptureStream& operator=(const PipeWireCaptureStream&) = delete;

    bool isStreaming() const { return status == Status::streaming && !isPaused && isReached; }
    /// It has yet to hear its device for the first time.
    bool mayStillBegin() const { return status != Status::ended && !hasBegun; }
    /// Ends it, unless it has begun.
    void giveUpWaiting();
    /// The server refused it, the device or the server is no longer there, or it was linked to another device.
    bool hasEnded() const { return status == Status::ended; }

    /// Whether PipeWire can deliver that format.
    static bool canDeliver(const AudioStreamBasicDescription& format);

private:
    enum class Status { connecting, streaming, ended };
    struct Events;

    bool connect(const PipeWireNode& node);
    void stateChanged(int before, int now);
    void targetChanged();
    void end(CaptureEnd how);
    /// Real-time: doesn't allocate, lock, block or throw.
    void process();
    void handOn();
    void followTime(int64_t time, uint32_t frames);

    PipeWireConnection& connection;
    const AudioStreamBasicDescription format;
    const std::shared_ptr<const CMFormatDescription> description;
    const Handlers handlers;
    std::shared_ptr<pw_core> core; ///< outlives the stream
    pw_stream* stream = nullptr;
    spa_source* wakeUp = nullptr; ///< an event that runs `handOn`
    std::unique_ptr<spa_hook> hook;
    Status status = Status::connecting;
    /// After it streamed: its link has gone, as with the session manager, and nobody makes it again.
    bool isPaused = false;
    bool hasBegun = false; ///< has streamed from its device
    std::unique_ptr<PipeWireTarget> target;
    std::atomic<bool> isReached{
        false}; ///< linked to the device; the real-time thread takes nothing otherwise
    CaptureRing ring;
    SampleStamps stamps;                        ///< the real-time thread's
    std::atomic<bool> isWithoutRealTime{false}; ///< said by the real-time thread's first cycle
    bool hasLookedAtThread = false;             ///< the real-time thread's
    bool hasToldOfThread = false;               ///< the other thread's
    uint64_t blocksToldOf = 0;                  ///< the other thread's
    uint64_t gapsToldOf = 0;                    ///< the other thread's
    std::optional<int64_t> nextTime; ///< nanoseconds, the end of what was handed on; the other thread's
};

} // namespace vintra
