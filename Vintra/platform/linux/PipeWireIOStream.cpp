#include "Vintra/platform/linux/PipeWireIOStream.h"

#include "Vintra/platform/linux/PipeWireConnection.h"

#include <pipewire/pipewire.h>
#include <spa/node/io.h>
#include <spa/param/audio/format-utils.h>

#include <algorithm>
#include <cstring>
#include <utility>

namespace vintra {
namespace {

const spa_pod* formatPod(spa_pod_builder& builder, uint32_t rate, uint32_t channels,
                         const PipeWireAudioFormat& device) {
    spa_audio_info_raw raw{};
    raw.format = SPA_AUDIO_FORMAT_F32;
    raw.rate = rate;
    raw.channels = channels;
    // Channel for channel as the device has them, numbered where it doesn't say their places.
    const bool areKnown = device.positions.size() >= channels;
    for (uint32_t channel = 0; channel < channels; ++channel) {
        raw.position[channel] = areKnown ? device.positions[channel] : SPA_AUDIO_CHANNEL_AUX0 + channel;
    }
    return spa_format_audio_raw_build(&builder, SPA_PARAM_EnumFormat, &raw);
}

} // namespace

struct PipeWireIOStream::Events {
    static PipeWireIOStream& self(void* data) { return *static_cast<PipeWireIOStream*>(data); }

    static void stateChanged(void* data, pw_stream_state, pw_stream_state now, const char*) {
        self(data).stateChanged(now);
    }
    static void ioChanged(void* data, uint32_t id, void* area, uint32_t) {
        if (id == SPA_IO_Position) self(data).position = static_cast<const spa_io_position*>(area);
    }
    static void process(void* data) {
        if (self(data).isInput) {
            self(data).processInput();
        } else {
            self(data).processOutput();
        }
    }
    static constexpr pw_stream_events table = [] {
        pw_stream_events events{};
        events.version = PW_VERSION_STREAM_EVENTS;
        events.state_changed = stateChanged;
        events.io_changed = ioChanged;
        events.process = process;
        return events;
    }();
};

PipeWireIOStream::PipeWireIOStream(PipeWireConnection& itsConnection, const PipeWireNode& node,
                                   Direction direction, const AudioIOBlock& itsBlock,
                                   std::shared_ptr<PipeWireCycles> itsCycles, uint32_t frames)
    : connection(itsConnection)
    , block(itsBlock)
    , cycles(std::move(itsCycles))
    , channels(std::clamp<uint32_t>(node.format.channels, 1, SPA_AUDIO_MAX_CHANNELS))
    , sampleRate(node.format.sampleRate)
    , isInput(direction == Direction::input)
    , usualFrames(frames)
    , hook(std::make_unique<spa_hook>()) {
    connection.loop().assertHeld();
    if (!connectServer() || !connect(node)) status = Status::ended;
}

PipeWireIOStream::~PipeWireIOStream() {
    connection.loop().assertHeld();
    if (stream != nullptr) {
        // The listener goes first: the stream's end is no news. Destroying takes the stream off its real-time
        // thread and waits for that.
        pw_stream_disconnect(stream);
        spa_hook_remove(hook.get());
        pw_stream_destroy(stream);
    }
    if (core != nullptr) pw_core_disconnect(core);
    if (context != nullptr) pw_context_destroy(context);
    cycles->frames = 0;
    cycles->driver = 0;
}

/// A context for the stream alone, for its real-time thread: what other streams of the program do in their
/// cycles doesn't delay this one's.
bool PipeWireIOStream::connectServer() {
    connection.loop().assertHeld();
    if (connection.core() == nullptr || connection.problem()) return false;
    context = pw_context_new(connection.loop().loop(),
                             pw_properties_new(PW_KEY_CONFIG_NAME, "client-rt.conf", nullptr), 0);
    if (context == nullptr) return false;
    pw_properties* properties = nullptr;
    if (!connection.serverName().empty()) {
        properties = pw_properties_new(PW_KEY_REMOTE_NAME, connection.serverName().c_str(), nullptr);
    }
    core = pw_context_connect(context, properties, 0);
    return core != nullptr;
}

bool PipeWireIOStream::connect(const PipeWireNode& node) {
    pw_properties* properties = pw_properties_new(
        PW_KEY_MEDIA_TYPE, "Audio", PW_KEY_MEDIA_CATEGORY, isInput ? "Capture" : "Playback",
        PW_KEY_MEDIA_ROLE, "Production", PW_KEY_NODE_NAME, isInput ? "vintra.io.input" : "vintra.io.output",
        PW_KEY_NODE_DESCRIPTION, "Vintra", PW_KEY_TARGET_OBJECT, node.name.c_str(),
        PW_KEY_NODE_DONT_RECONNECT, "true", PW_KEY_STREAM_DONT_REMIX, "true", "channelmix.upmix", "false",
        "channelmix.normalize", "false", "state.restore-props", "false", "state.restore-target", "false",
        nullptr);
    if (isInput && node.isMonitored()) pw_properties_set(properties, PW_KEY_STREAM_CAPTURE_SINK, "true");
    pw_properties_setf(properties, PW_KEY_NODE_LATENCY, "%u/%u", usualFrames, sampleRate);
    // Nobody else depends on the virtual device's clock, so its cycles are held at the rate it has been
    // given.
    if (node.isVirtualDevice()) pw_properties_setf(properties, PW_KEY_NODE_FORCE_RATE, "%u", sampleRate);
    stream = pw_stream_new(core, "Vintra", properties);
    if (stream == nullptr) return false;
    pw_stream_add_listener(stream, hook.get(), &Events::table, this);

    uint8_t memory[2048];
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, memory, sizeof memory);
    const spa_pod* params[] = {formatPod(builder, sampleRate, channels, node.format)};
    const auto flags =
        static_cast<pw_stream_flags>(PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_MAP_BUFFERS |
                                     PW_STREAM_FLAG_RT_PROCESS | PW_STREAM_FLAG_DONT_RECONNECT);
    return pw_stream_connect(stream, isInput ? PW_DIRECTION_INPUT : PW_DIRECTION_OUTPUT, PW_ID_ANY, flags,
                             params, 1) >= 0;
}

uint32_t PipeWireIOStream::driver() const {
    return position != nullptr ? position->clock.id : 0;
}

void PipeWireIOStream::stateChanged(int now) {
    connection.loop().assertHeld();
    if (status == Status::ended) return;
    if (now == PW_STREAM_STATE_ERROR || now == PW_STREAM_STATE_UNCONNECTED) {
        status = Status::ended;
        cycles->frames = 0;
        cycles->driver = 0;
    } else if (now == PW_STREAM_STATE_STREAMING) {
        status = Status::streaming;
        cycles->driver = driver();
    }
    connection.loop().signal();
}

void PipeWireIOStream::processInput() {
    while (pw_buffer* buffer = pw_stream_dequeue_buffer(stream)) {
        const spa_data& data = buffer->buffer->datas[0];
        const uint32_t offset = std::min(data.chunk->offset, data.maxsize);
        const uint32_t size = std::min(data.chunk->size, data.maxsize - offset);
        if (data.data != nullptr && size > 0) {
            const auto bytesPerFrame = channels * static_cast<uint32_t>(sizeof(float));
            cycles->frames.store(size / bytesPerFrame, std::memory_order_relaxed);
            const AudioBuffer samples{channels, size,
                                      reinterpret_cast<float*>(static_cast<uint8_t*>(data.data) + offset)};
            block(AudioBufferList(&samples, 1), {});
        }
        pw_stream_queue_buffer(stream, buffer);
    }
}

void PipeWireIOStream::processOutput() {
    // One buffer a cycle: a second one would lie in the queue for a cycle.
    pw_buffer* const buffer = pw_stream_dequeue_buffer(stream);
    if (buffer == nullptr) return;
    spa_data& data = buffer->buffer->datas[0];
    const auto bytesPerFrame = channels * static_cast<uint32_t>(sizeof(float));
    if (data.data != nullptr) {
        const auto wanted = buffer->requested != 0 ? static_cast<uint32_t>(buffer->requested) : usualFrames;
        const uint32_t frames = std::min(wanted, data.maxsize / bytesPerFrame);
        usualFrames = frames;
        cycles->frames.store(frames, std::memory_order_relaxed);
        const AudioBuffer samples{channels, frames * bytesPerFrame, static_cast<float*>(data.data)};
        // What the block leaves untouched is silence.
        std::memset(samples.mData, 0, samples.mDataByteSize);
        block({}, AudioBufferList(&samples, 1));
        data.chunk->offset = 0;
        data.chunk->stride = static_cast<int32_t>(bytesPerFrame);
        data.chunk->size = samples.mDataByteSize;
    }
    pw_stream_queue_buffer(stream, buffer);
}

} // namespace vintra
