#include "Vintra/platform/linux/PipeWireCaptureStream.h"

#include "Vintra/platform/HostClock.h"
#include "Vintra/platform/linux/PipeWireConnection.h"

#include <pipewire/pipewire.h>
#include <spa/param/audio/format-utils.h>

#include <algorithm>
#include <utility>

namespace vintra {
namespace {

// Half a second of frames: what PipeWire's other thread may be late by before sound is lost.
constexpr uint32_t ringFractionOfSecond = 2;
constexpr size_t ringBlocks = 1024;

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

/// Channel for channel as the device has them. Where their places are known the stream names the same ones:
/// then there is nothing to mix. Otherwise they are numbered.
void setPositions(spa_audio_info_raw& raw, const PipeWireAudioFormat& device) {
    const bool areKnown = device.positions.size() >= raw.channels;
    for (uint32_t channel = 0; channel < raw.channels; ++channel) {
        raw.position[channel] = areKnown ? device.positions[channel] : SPA_AUDIO_CHANNEL_AUX0 + channel;
    }
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

PipeWireCaptureStream::PipeWireCaptureStream(PipeWireConnection& itsConnection, const PipeWireNode& node,
                                             const AudioStreamBasicDescription& itsFormat,
                                             SampleHandler itsHandler, EndHandler itsEndHandler)
    : connection(itsConnection)
    , format(itsFormat)
    , description(CMAudioFormatDescriptionCreate(itsFormat))
    , handler(std::move(itsHandler))
    , ended(std::move(itsEndHandler))
    , hook(std::make_unique<spa_hook>())
    , ring(static_cast<size_t>(itsFormat.mSampleRate) / ringFractionOfSecond * itsFormat.mBytesPerFrame,
           ringBlocks)
    , stamps(static_cast<uint32_t>(itsFormat.mSampleRate)) {
    connection.loop().assertHeld();
    if (!connect(node)) status = Status::ended;
}

PipeWireCaptureStream::~PipeWireCaptureStream() {
    connection.loop().assertHeld();
    if (stream != nullptr) {
        // The listener goes first: the stream's end is no news. Destroying takes the stream off the real-time
        // thread and waits for that.
        pw_stream_disconnect(stream);
        spa_hook_remove(hook.get());
        pw_stream_destroy(stream);
    }
    if (wakeUp != nullptr) pw_loop_destroy_source(connection.loop().loop(), wakeUp);
}

bool PipeWireCaptureStream::connect(const PipeWireNode& node) {
    connection.loop().assertHeld();
    if (connection.core() == nullptr || !canDeliver(format)) return false;
    wakeUp = pw_loop_add_event(connection.loop().loop(), Events::handOn, this);
    if (wakeUp == nullptr) return false;
    // Never another device than this one, neither now nor when it goes, and never a mix of its channels.
    pw_properties* properties = pw_properties_new(
        PW_KEY_MEDIA_TYPE, "Audio", PW_KEY_MEDIA_CATEGORY, "Capture", PW_KEY_MEDIA_ROLE, "Production",
        PW_KEY_NODE_NAME, "vintra.capture", PW_KEY_NODE_DESCRIPTION, "Vintra", PW_KEY_TARGET_OBJECT,
        node.name.c_str(), PW_KEY_NODE_DONT_RECONNECT, "true", PW_KEY_STREAM_DONT_REMIX, "true",
        "channelmix.upmix", "false", "channelmix.normalize", "false", "state.restore-props", "false",
        "state.restore-target", "false", nullptr);
    if (node.isMonitored()) pw_properties_set(properties, PW_KEY_STREAM_CAPTURE_SINK, "true");
    pw_properties_setf(properties, PW_KEY_NODE_LATENCY, "512/%u", static_cast<unsigned>(format.mSampleRate));
    stream = pw_stream_new(connection.core(), "Vintra", properties);
    if (stream == nullptr) return false;
    pw_stream_add_listener(stream, hook.get(), &Events::table, this);

    spa_audio_info_raw raw{};
    raw.format = sampleFormat(format);
    raw.rate = static_cast<uint32_t>(format.mSampleRate);
    raw.channels = format.mChannelsPerFrame;
    setPositions(raw, node.format);
    uint8_t memory[2048];
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, memory, sizeof memory);
    const spa_pod* params[] = {spa_format_audio_raw_build(&builder, SPA_PARAM_EnumFormat, &raw)};
    const auto flags =
        static_cast<pw_stream_flags>(PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_MAP_BUFFERS |
                                     PW_STREAM_FLAG_RT_PROCESS | PW_STREAM_FLAG_DONT_RECONNECT);
    return pw_stream_connect(stream, PW_DIRECTION_INPUT, PW_ID_ANY, flags, params, 1) >= 0;
}

void PipeWireCaptureStream::stateChanged(int, int now) {
    connection.loop().assertHeld();
    if (status == Status::ended) return;
    if (now == PW_STREAM_STATE_ERROR || now == PW_STREAM_STATE_UNCONNECTED) {
        const bool wasStreaming = status == Status::streaming;
        status = Status::ended;
        if (wasStreaming) ended();
    } else if (now == PW_STREAM_STATE_STREAMING) {
        status = Status::streaming;
    }
    connection.loop().signal();
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
    pw_time time{};
    const bool isTimed = pw_stream_get_time_n(stream, &time, sizeof time) >= 0 && time.rate.denom != 0;
    const int64_t delay = isTimed ? time.delay * 1'000'000'000 * time.rate.num / time.rate.denom : 0;
    const auto sampleRate = static_cast<int64_t>(format.mSampleRate);
    const int64_t held = static_cast<int64_t>(time.buffered) * 1'000'000'000 / sampleRate;
    int64_t graphTime = time.now - delay - held;

    bool hasWritten = false;
    while (pw_buffer* buffer = pw_stream_dequeue_buffer(stream)) {
        const spa_data& data = buffer->buffer->datas[0];
        const uint32_t offset = std::min(data.chunk->offset, data.maxsize);
        const uint32_t size = std::min(data.chunk->size, data.maxsize - offset);
        const uint32_t frames = size / format.mBytesPerFrame;
        if (data.data != nullptr && frames > 0 && time.now != 0) {
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
        auto data = CMBlockBuffer::make(block.bytes);
        ring.read(data->contiguousBytes());
        CMSampleTimingInfo timing = frame;
        timing.presentationTimeStamp = hostTimeFromNanoseconds(block.time);
        handler(CMSampleBuffer::makeAudio(std::move(data), description, block.frames, timing));
    }
}

} // namespace vintra
