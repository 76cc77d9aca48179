#pragma once

#include <cstdint>
#include <functional>
#include <string>

struct pw_thread_loop;
struct pw_stream;

namespace vintra {

struct PublishedSourceOptions {
    std::string name = "vintra.headless.microphone"; ///< node.name
    std::string description = "Headless Microphone"; ///< node.description
    uint32_t channels = 1;
    uint32_t sampleRate = 48000;
};

/// Frames to be filled by a `PublishedSource`.
struct SourceFrames {
    float* samples = nullptr; ///< interleaved
    uint32_t frames = 0;
    uint32_t channels = 0;
    uint64_t firstFrame = 0;    ///< frames since the source began to play
    int64_t firstFrameTime = 0; ///< of the graph, in nanoseconds of CLOCK_MONOTONIC
};

/// A microphone that others find in PipeWire and that plays what a function makes. The frames of a cycle
/// count as heard from the cycle's start on: the source reports no latency. Owned and started by a tool's
/// main thread; `fill` runs on PipeWire's data thread and must not allocate, lock, block or throw.
class PublishedSource {
public:
    PublishedSource(PublishedSourceOptions options, std::function<void(const SourceFrames&)> fill);
    ~PublishedSource();
    PublishedSource(const PublishedSource&) = delete;
    PublishedSource& operator=(const PublishedSource&) = delete;

    /// Blocks until others can find the source. False, with the reason on stderr, if that can't be done.
    bool start();
    /// Called, on PipeWire's thread, once the server has gone. Set before `start`.
    std::function<void()> onLost;

private:
    struct Events;
    bool connectStream();
    void process();
    void stateChanged(int state, const char* error);

    const PublishedSourceOptions options;
    const std::function<void(const SourceFrames&)> fill;
    pw_thread_loop* loop = nullptr;
    pw_stream* stream = nullptr;
    int state = 0; ///< of the stream; under the loop's lock
    // The data thread's own.
    uint64_t framesPlayed = 0;
    int64_t cycleStart = 0;
    uint32_t framesOfCycle = 0;
};

} // namespace vintra
