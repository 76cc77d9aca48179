#include "Vintra/platform/linux/pipewire/PipeWireCaptureStream.h"

#include "Vintra/platform/HostClock.h"
#include "Vintra/platform/linux/pipewire/PipeWireConnection.h"
#include "Vintra/platform/linux/pipewire/PipeWireStreamSetup.h"

#include <pipewire/pipewire.h>
#include <spa/param/audio/format-utils.h>

#include <algorithm>
#include <cmath>
#include <sched.h>
#include <utility>

namespace vintra {
namespace {

// Half a second of frames: what PipeWire's other thread may be late by before sound is lost.
constexpr uint32_t kRingFractionOfSecond = 2;
constexpr size_t kRingBlocks = 1024;

spa_audio_format sampleFormat(const AudioStreamBasicDescription& format) {
    if (format.isNonInterleaved() || format.isBigEndian()) return SPA_AUDIO_FORMAT_UNKNOWN;
    if (format.isFloat()) {
        return format.mBitsPerChannel == 32 ? SPA_AUDIO_FORMAT_F32 : SPA_AUDIO_FORMAT_UNKNOWN;
    }
    switch (format.mBitsPerChannel) {
    case 16:
        return SPA_AUDIO_FORMAT_S16;
    case 24:
        return SPA_AUDIO_FORMAT_S24;
    case 32:
        return SPA_AUDIO_FORMAT_S32;
    default:
        return SPA_AUDIO_FORMAT_UNKNOWN;
    }
}

bool isThisThreadRealTime() {
    const int policy = sched_getscheduler(0) & ~SCHED_RESET_ON_FORK;
    return policy == SCHED_FIFO || policy == SCHED_RR;
}

} // namespace

struct PipeWireCaptureStream::Events {
    static void stateChanged(void* data, pw_stream_state before, pw_stream_state now, const char*) {
        static_cast<PipeWireCaptureStream*>(data)->stateChanged(before, now);
    }
    static void process(void* data) { static_cast<PipeWireCaptureStream*>(data)->process(); }
    static void handOn(void* data, uint64_t) { static_cast<PipeWireCaptureStream*>(data)->handOn(); }
    static constexpr pw_stream_events table = [] {
        pw_stream_events events{};
        events.version = PW_VERSION_STREAM_EVENTS;
        events.state_changed = stateChanged;
        events.process = process;
        return events;
    }();
};

bool PipeWireCaptureStream::canDeliver(const AudioStreamBasicDescription& format) {
    return sampleFormat(format) != SPA_AUDIO_FORMAT_UNKNOWN && format.mChannelsPerFrame >= 1 &&
           format.mChannelsPerFrame <= SPA_AUDIO_MAX_CHANNELS && format.mSampleRate >= 1 &&
           format.mSampleRate <= 768'000;
}

PipeWireCaptureStream::PipeWireCaptureStream(PipeWireConnection& connection, const PipeWireNode& node,
                                             const AudioStreamBasicDescription& format, Handlers handlers)
    : connection(connection)
    , format(format)
    , description(CMAudioFormatDescriptionCreate(format))
    , handlers(std::move(handlers))
    , hook(std::make_unique<spa_hook>())
    , ring(static_cast<size_t>(format.mSampleRate) / kRingFractionOfSecond * format.mBytesPerFrame,
           kRingBlocks)
    , stamps(static_cast<uint32_t>(format.mSampleRate)) {
    this->connection.loop().assertHeld();
    target = std::make_unique<PipeWireTarget>(this->connection, node, PipeWireStreamDirection::capture,
                                              [this] { targetChanged(); });
    if (!connect(node)) status = Status::ended;
}

PipeWireCaptureStream::~PipeWireCaptureStream() {
    connection.loop().assertHeld();
    target.reset();
    if (stream != nullptr) {
        // What it says of its end from here on is no news. Destroying takes it off the real-time thread and waits
        // for that.
        status = Status::ended;
        pw_stream_disconnect(stream);
        spa_hook_remove(hook.get());
        pw_stream_destroy(stream);
    }
    if (wakeUp != nullptr) pw_loop_destroy_source(connection.loop().loop(), wakeUp);
}

bool PipeWireCaptureStream::connect(const PipeWireNode& node) {
    connection.loop().assertHeld();
    core = connection.core();
    if (core == nullptr || !canDeliver(format)) return false;
    wakeUp = pw_loop_add_event(connection.loop().loop(), Events::handOn, this);
    if (wakeUp == nullptr) return false;
    pw_properties* properties =
        pipeWireStreamProperties("vintra.capture", node, PipeWireStreamDirection::capture);
    pw_properties_setf(properties, PW_KEY_NODE_LATENCY, "512/%u", static_cast<unsigned>(format.mSampleRate));
    stream = pw_stream_new(core.get(), "Vintra", properties);
    if (stream == nullptr) return false;
    pw_stream_add_listener(stream, hook.get(), &Events::table, this);

    spa_audio_info_raw raw{};
    raw.format = sampleFormat(format);
    raw.rate = static_cast<uint32_t>(format.mSampleRate);
    raw.channels = format.mChannelsPerFrame;
    setChannelPositions(raw, node.format);
    return connectPipeWireStream(stream, PipeWireStreamDirection::capture, raw);
}

void PipeWireCaptureStream::stateChanged(int, int now) {
    connection.loop().assertHeld();
    if (status == Status::ended) return;
    if (now == PW_STREAM_STATE_ERROR || now == PW_STREAM_STATE_UNCONNECTED) {
        end(CaptureEnd::stopped);
    } else if (now == PW_STREAM_STATE_STREAMING) {
        status = Status::streaming;
        isPaused = false;
    } else {
        isPaused = status == Status::streaming;
    }
    targetChanged();
    connection.loop().signal();
}

void PipeWireCaptureStream::targetChanged() {
    connection.loop().assertHeld();
    if (status == Status::ended) return;
    const PipeWireTarget::Standing standing = target->standing(stream);
    isReached.store(standing == PipeWireTarget::Standing::reached, std::memory_order_relaxed);
    if (standing == PipeWireTarget::Standing::gone) end(CaptureEnd::stopped);
    if (standing == PipeWireTarget::Standing::elsewhere) end(CaptureEnd::elsewhere);
    if (isStreaming()) hasBegun = true;
    connection.loop().signal();
}

void PipeWireCaptureStream::giveUpWaiting() {
    connection.loop().assertHeld();
    if (mayStillBegin()) end(CaptureEnd::neverBegan);
}

void PipeWireCaptureStream::end(CaptureEnd how) {
    status = Status::ended;
    isReached.store(false, std::memory_order_relaxed);
    target->letGoSoon(stream); // nothing may keep it for another device
    handlers.ended(how);
}

void PipeWireCaptureStream::process() {
    // The graph's time of a buffer's first frame, in nanoseconds of CLOCK_MONOTONIC:
    //
    //     now - delay × rate - buffered / sampleRate
    //
    // `now` is when the cycle began that brought the buffer. `delay`, in units of the graph's `rate`, is what
    // the device and the nodes on the way report as their latency: for hardware the cycle that it took to
    // fill its buffer, and what lies in its converters, so that `now - delay` is when the first frame was
    // heard. `buffered` are the frames that the stream's own resampler holds back, at the stream's rate. The
    // resampler inside a device's node, one that runs at another rate than the graph, isn't reported by
    // PipeWire: it adds under a millisecond that no formula here can know. Frames that were queued in the
    // stream count as none: each cycle's buffer is taken in that cycle.
    if (!hasLookedAtThread) {
        hasLookedAtThread = true;
        isWithoutRealTime.store(!isThisThreadRealTime(), std::memory_order_relaxed);
    }
    pw_time time{};
    const bool isTimed = pw_stream_get_time_n(stream, &time, sizeof time) >= 0 && time.rate.denom != 0;
    const int64_t delay = isTimed ? time.delay * 1'000'000'000 * time.rate.num / time.rate.denom : 0;
    const auto sampleRate = static_cast<int64_t>(format.mSampleRate);
    const int64_t held = static_cast<int64_t>(time.buffered) * 1'000'000'000 / sampleRate;
    int64_t graphTime = time.now - delay - held;

    const bool isHeard = isReached.load(std::memory_order_relaxed);
    bool hasWritten = false;
    while (pw_buffer* buffer = pw_stream_dequeue_buffer(stream)) {
        const spa_data& data = buffer->buffer->datas[0];
        const uint32_t offset = std::min(data.chunk->offset, data.maxsize);
        const uint32_t size = std::min(data.chunk->size, data.maxsize - offset);
        const uint32_t frames = size / format.mBytesPerFrame;
        if (data.data != nullptr && frames > 0 && time.now != 0 && isHeard) {
            const int64_t stamp = stamps.stamp(graphTime, frames);
            hasWritten |= ring.write(stamp, frames, static_cast<const uint8_t*>(data.data) + offset,
                                     size_t{frames} * format.mBytesPerFrame);
            graphTime += int64_t{frames} * 1'000'000'000 / sampleRate;
        }
        pw_stream_queue_buffer(stream, buffer);
    }
    if (hasWritten) pw_loop_signal_event(connection.loop().loop(), wakeUp);
}

void PipeWireCaptureStream::handOn() {
    const CMSampleTimingInfo frame{.duration = CMTimeMake(1, static_cast<int32_t>(format.mSampleRate)),
                                   .presentationTimeStamp = kCMTimeInvalid,
                                   .decodeTimeStamp = kCMTimeInvalid};
    CaptureRing::Block block;
    while (ring.peek(block)) {
        if (!hasToldOfThread) {
            hasToldOfThread = true;
            if (isWithoutRealTime.load(std::memory_order_relaxed)) handlers.withoutRealTime();
        }
        auto data = CMBlockBuffer::make(block.bytes);
        ring.read(data->contiguousBytes());
        CMSampleTimingInfo timing = frame;
        timing.presentationTimeStamp = hostTimeFromNanoseconds(block.time);
        followTime(block.time, block.frames);
        handlers.sample(CMSampleBuffer::makeAudio(std::move(data), description, block.frames, timing));
    }
}

void PipeWireCaptureStream::followTime(int64_t time, uint32_t frames) {
    if (nextTime && time - *nextTime >= SampleStamps::kGapNanoseconds) {
        const double seconds = static_cast<double>(time - *nextTime) * 1e-9;
        const uint64_t leftOut = ring.blocksLeftOut();
        const uint64_t gaps = stamps.gaps();
        handlers.missing({.frames = static_cast<uint32_t>(std::lround(seconds * format.mSampleRate)),
                          .leftOut = leftOut - std::exchange(blocksToldOf, leftOut),
                          .graphGaps = gaps - std::exchange(gapsToldOf, gaps)});
    }
    nextTime = time + std::llround(frames * 1e9 / format.mSampleRate);
}

} // namespace vintra
