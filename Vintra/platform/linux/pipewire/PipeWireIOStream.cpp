#include "Vintra/platform/linux/pipewire/PipeWireIOStream.h"

#include "Vintra/platform/linux/pipewire/PipeWireConnection.h"
#include "Vintra/platform/linux/pipewire/PipeWireContext.h"
#include "Vintra/platform/linux/pipewire/PipeWireStreamSetup.h"

#include <pipewire/pipewire.h>
#include <spa/node/io.h>
#include <spa/param/audio/format-utils.h>

#include <algorithm>
#include <cstring>
#include <utility>

namespace vintra {

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

PipeWireIOStream::PipeWireIOStream(PipeWireConnection& connection, const PipeWireNode& node,
                                   Direction direction, const AudioIOBlock& block,
                                   std::shared_ptr<PipeWireCycles> cycles, uint32_t frames)
    : connection(connection)
    , block(block)
    , cycles(std::move(cycles))
    , channels(std::clamp<uint32_t>(node.format.channels, 1, SPA_AUDIO_MAX_CHANNELS))
    , sampleRate(node.format.sampleRate)
    , isInput(direction == Direction::input)
    , usualFrames(frames)
    , hook(std::make_unique<spa_hook>()) {
    this->connection.loop().assertHeld();
    const auto way = isInput ? PipeWireStreamDirection::capture : PipeWireStreamDirection::playback;
    target = std::make_unique<PipeWireTarget>(this->connection, node, way, [this] { targetChanged(); });
    if (!connectServer() || !connect(node)) status = Status::ended;
}

PipeWireIOStream::~PipeWireIOStream() {
    connection.loop().assertHeld();
    target.reset();
    if (stream != nullptr) {
        // What it says of its end from here on is no news. Destroying takes it off its real-time thread and waits
        // for that.
        status = Status::ended;
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
    context = newRealTimeContext(connection.loop().loop());
    if (context == nullptr) return false;
    pw_properties* properties = nullptr;
    if (!connection.serverName().empty()) {
        properties = pw_properties_new(PW_KEY_REMOTE_NAME, connection.serverName().c_str(), nullptr);
    }
    core = pw_context_connect(context, properties, 0);
    return core != nullptr;
}

bool PipeWireIOStream::connect(const PipeWireNode& node) {
    const auto way = isInput ? PipeWireStreamDirection::capture : PipeWireStreamDirection::playback;
    pw_properties* properties =
        pipeWireStreamProperties(isInput ? "vintra.io.input" : "vintra.io.output", node, way);
    pw_properties_setf(properties, PW_KEY_NODE_LATENCY, "%u/%u", usualFrames, sampleRate);
    // Nobody else depends on the virtual device's clock, so its cycles are held at the rate it has been
    // given.
    if (node.isVirtualDevice()) pw_properties_setf(properties, PW_KEY_NODE_FORCE_RATE, "%u", sampleRate);
    stream = pw_stream_new(core, "Vintra", properties);
    if (stream == nullptr) return false;
    pw_stream_add_listener(stream, hook.get(), &Events::table, this);

    spa_audio_info_raw raw{};
    raw.format = SPA_AUDIO_FORMAT_F32;
    raw.rate = sampleRate;
    raw.channels = channels;
    setChannelPositions(raw, node.format);
    return connectPipeWireStream(stream, way, raw);
}

uint32_t PipeWireIOStream::driver() const {
    return position != nullptr ? position->clock.id : 0;
}

void PipeWireIOStream::stateChanged(int now) {
    connection.loop().assertHeld();
    if (status == Status::ended) return;
    if (now == PW_STREAM_STATE_ERROR || now == PW_STREAM_STATE_UNCONNECTED) {
        end();
    } else if (now == PW_STREAM_STATE_STREAMING) {
        status = Status::streaming;
        cycles->driver = driver();
    }
    targetChanged();
    connection.loop().signal();
}

void PipeWireIOStream::targetChanged() {
    connection.loop().assertHeld();
    if (status == Status::ended) return;
    const PipeWireTarget::Standing standing = target->standing(stream);
    isReached.store(standing == PipeWireTarget::Standing::reached, std::memory_order_relaxed);
    if (standing == PipeWireTarget::Standing::gone || standing == PipeWireTarget::Standing::elsewhere) end();
    connection.loop().signal();
}

void PipeWireIOStream::end() {
    status = Status::ended;
    isReached.store(false, std::memory_order_relaxed);
    cycles->frames = 0;
    cycles->driver = 0;
    target->letGoSoon(stream); // nothing may keep it for another device
}

void PipeWireIOStream::processInput() {
    while (pw_buffer* buffer = pw_stream_dequeue_buffer(stream)) {
        const spa_data& data = buffer->buffer->datas[0];
        const uint32_t offset = std::min(data.chunk->offset, data.maxsize);
        const uint32_t size = std::min(data.chunk->size, data.maxsize - offset);
        if (data.data != nullptr && size > 0 && isReached.load(std::memory_order_relaxed)) {
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
        if (isReached.load(std::memory_order_relaxed)) block({}, AudioBufferList(&samples, 1));
        data.chunk->offset = 0;
        data.chunk->stride = static_cast<int32_t>(bytesPerFrame);
        data.chunk->size = samples.mDataByteSize;
    }
    pw_stream_queue_buffer(stream, buffer);
}

} // namespace vintra
