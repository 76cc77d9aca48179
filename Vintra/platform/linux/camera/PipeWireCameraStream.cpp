#include "Vintra/platform/linux/camera/PipeWireCameraStream.h"

#include "Vintra/platform/HostClock.h"
#include "Vintra/platform/linux/pipewire/PipeWireContext.h"
#include "Vintra/platform/linux/runtime/LinuxHostClock.h"

#include <pipewire/pipewire.h>
#include <spa/buffer/meta.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <utility>

namespace vintra {
namespace {

constexpr double kSecondsUntilCameraRefused = 3.0;
constexpr uint64_t kMostLostAtOnce = 1000; // pictures; a number further on was begun anew

const spa_meta_header* headerOf(const spa_buffer& buffer) {
    return static_cast<const spa_meta_header*>(
        spa_buffer_find_meta_data(&buffer, SPA_META_Header, sizeof(spa_meta_header)));
}

CameraMemory memoryOf(const spa_data& data) {
    if (data.data == nullptr || data.chunk == nullptr) return {};
    const uint32_t offset = std::min(data.chunk->offset, data.maxsize);
    return {.bytes = static_cast<const uint8_t*>(data.data) + offset,
            .size = data.maxsize - offset,
            .row = static_cast<size_t>(std::max(data.chunk->stride, 0))};
}

} // namespace

struct PipeWireCameraStream::Events {
    static PipeWireCameraStream& self(void* data) { return *static_cast<PipeWireCameraStream*>(data); }
    static void error(void* data, uint32_t id, int, int result, const char*) {
        PipeWireCameraStream& owner = self(data);
        owner.loop.assertHeld();
        if (id == PW_ID_CORE && result == -EPIPE) owner.endWith(End::cameraGone);
    }
    static void globalRemoved(void* data, uint32_t id) {
        PipeWireCameraStream& owner = self(data);
        owner.loop.assertHeld();
        if (id == owner.target.node) owner.endWith(End::cameraGone);
    }
    static void stateChanged(void* data, pw_stream_state, pw_stream_state now, const char*) {
        PipeWireCameraStream& owner = self(data);
        owner.loop.assertHeld();
        owner.stateChanged(now);
    }
    static void paramChanged(void* data, uint32_t id, const spa_pod* parameter) {
        PipeWireCameraStream& owner = self(data);
        owner.loop.assertHeld();
        if (id == SPA_PARAM_Format && parameter != nullptr) owner.formatChanged(parameter);
    }
    static void process(void* data) {
        PipeWireCameraStream& owner = self(data);
        owner.loop.assertHeld();
        owner.process();
    }
    static constexpr pw_core_events core = [] {
        pw_core_events events{};
        events.version = PW_VERSION_CORE_EVENTS;
        events.error = error;
        return events;
    }();
    static constexpr pw_registry_events registry = [] {
        pw_registry_events events{};
        events.version = PW_VERSION_REGISTRY_EVENTS;
        events.global_remove = globalRemoved;
        return events;
    }();
    static constexpr pw_stream_events stream = [] {
        pw_stream_events events{};
        events.version = PW_VERSION_STREAM_EVENTS;
        events.state_changed = stateChanged;
        events.param_changed = paramChanged;
        events.process = process;
        return events;
    }();
};

PipeWireCameraStream::PipeWireCameraStream(Target target, Handlers handlers)
    : target(std::move(target))
    , handlers(std::move(handlers))
    , coreHook(std::make_unique<spa_hook>())
    , registryHook(std::make_unique<spa_hook>())
    , streamHook(std::make_unique<spa_hook>()) {}

PipeWireCameraStream::~PipeWireCameraStream() {
    PipeWireLock lock(loop);
    // The hooks go first, so that nothing is told of the end.
    if (stream != nullptr) {
        spa_hook_remove(streamHook.get());
        pw_stream_destroy(stream);
    }
    if (registry != nullptr) {
        spa_hook_remove(registryHook.get());
        pw_proxy_destroy(reinterpret_cast<pw_proxy*>(registry));
    }
    if (core != nullptr) {
        spa_hook_remove(coreHook.get());
        pw_core_disconnect(core);
    }
    if (context != nullptr) pw_context_destroy(context);
}

bool PipeWireCameraStream::start(const CameraWish& wish) {
    PipeWireLock lock(loop);
    if (!loop.isUsable() || !connect(wish)) return false;
    const int64_t deadline = PipeWireLoop::deadlineIn(kSecondsUntilCameraRefused);
    while (status == Status::connecting) {
        if (!loop.waitUntil(deadline)) break;
    }
    return status == Status::streaming;
}

uint32_t PipeWireCameraStream::node() {
    PipeWireLock lock(loop);
    return stream != nullptr ? pw_stream_get_node_id(stream) : SPA_ID_INVALID;
}

bool PipeWireCameraStream::connect(const CameraWish& wish) {
    // Its data thread passes pictures on in each cycle of the graph; a camera waits for that.
    context = newRealTimeContext(loop.loop());
    if (context == nullptr) return false;
    pw_properties* remote = nullptr;
    if (!target.serverName.empty())
        remote = pw_properties_new(PW_KEY_REMOTE_NAME, target.serverName.c_str(), nullptr);
    core = pw_context_connect(context, remote, 0);
    if (core == nullptr) return false;
    pw_core_add_listener(core, coreHook.get(), &Events::core, this);
    registry = pw_core_get_registry(core, PW_VERSION_REGISTRY, 0);
    if (registry == nullptr) return false;
    pw_registry_add_listener(registry, registryHook.get(), &Events::registry, this);
    stream = pw_stream_new(core, "Vintra camera",
                           pw_properties_new(PW_KEY_MEDIA_TYPE, "Video", PW_KEY_MEDIA_CATEGORY, "Capture",
                                             PW_KEY_MEDIA_ROLE, "Camera", PW_KEY_NODE_NAME, "vintra.camera",
                                             PW_KEY_NODE_DESCRIPTION, "Vintra", PW_KEY_TARGET_OBJECT,
                                             target.nodeName.c_str(), PW_KEY_NODE_DONT_RECONNECT, "true",
                                             nullptr));
    if (stream == nullptr) return false;
    pw_stream_add_listener(stream, streamHook.get(), &Events::stream, this);
    const CameraStreamParams params = CameraStreamParams::formats(wish);
    auto pods = params.pods();
    const auto flags = static_cast<pw_stream_flags>(PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_MAP_BUFFERS |
                                                    PW_STREAM_FLAG_DONT_RECONNECT);
    return pw_stream_connect(stream, PW_DIRECTION_INPUT, PW_ID_ANY, flags, pods.data(),
                             static_cast<uint32_t>(pods.size())) >= 0;
}

void PipeWireCameraStream::stateChanged(int now) {
    if (now == PW_STREAM_STATE_ERROR || now == PW_STREAM_STATE_UNCONNECTED) {
        endWith(End::refused);
    } else if (now == PW_STREAM_STATE_STREAMING && status == Status::connecting) {
        status = Status::streaming;
    }
    loop.signal();
}

void PipeWireCameraStream::endWith(End end) {
    const bool wasStreaming = status == Status::streaming;
    status = Status::ended;
    if (wasStreaming) handlers.ended(end);
    loop.signal();
}

void PipeWireCameraStream::formatChanged(const spa_pod* parameter) {
    agreed = readAgreedCameraFormat(parameter);
    decoder.reset();
    lastSequence.reset();
    lastStamp.reset();
    lostBefore = 0;
    if (!agreed) {
        pw_stream_set_error(stream, -EINVAL, "no such format was asked for");
        return;
    }
    if (isCompressed(agreed->names.layout)) {
        decoder = CompressedPictureDecoder::make(agreed->names.layout, agreed->colour);
        if (!decoder) {
            pw_stream_set_error(stream, -ENOTSUP, "this machine can't decode the camera's pictures");
            return;
        }
    }
    const CameraStreamParams params = CameraStreamParams::buffers();
    auto pods = params.pods();
    pw_stream_update_params(stream, pods.data(), static_cast<uint32_t>(pods.size()));
    handlers.format(*agreed);
}

void PipeWireCameraStream::process() {
    pw_time time{};
    const int64_t cycle = pw_stream_get_time_n(stream, &time, sizeof time) >= 0 ? time.now : 0;
    while (pw_buffer* const buffer = pw_stream_dequeue_buffer(stream)) {
        if (agreed && status != Status::ended) take(*buffer, cycle);
        pw_stream_queue_buffer(stream, buffer);
    }
    tellOfMissing();
}

void PipeWireCameraStream::take(const pw_buffer& buffer, int64_t cycle) {
    const spa_buffer& content = *buffer.buffer;
    const spa_meta_header* const header = headerOf(content);
    followSequence(header);
    // A buffer without content is a cycle without a picture.
    if (content.n_datas < 1 || content.datas[0].chunk == nullptr || content.datas[0].chunk->size == 0) return;
    const bool isCorrupted = (header != nullptr && (header->flags & SPA_META_HEADER_FLAG_CORRUPTED) != 0) ||
                             (content.datas[0].chunk->flags & SPA_CHUNK_FLAG_CORRUPTED) != 0;
    const int64_t stamp = stamps.stamp({.header = header != nullptr ? std::max<int64_t>(header->pts, 0) : 0,
                                        .cycle = cycle,
                                        .arrival = monotonicNanoseconds()});
    if (lostBefore > 0 && lastStamp) miss(*lastStamp + slotNanoseconds(), stamp, lostBefore);
    lostBefore = 0;
    lastStamp = stamp;
    if (!isCorrupted && convert(buffer, stamp)) return;
    ++missing.broken;
    miss(stamp, stamp + slotNanoseconds(), 1);
}

void PipeWireCameraStream::miss(int64_t from, int64_t to, int64_t count) {
    handlers.missed(
        {.first = hostTimeFromNanoseconds(from), .end = hostTimeFromNanoseconds(to), .count = count});
}

int64_t PipeWireCameraStream::slotNanoseconds() const {
    const double seconds = CMTimeGetSeconds(agreed->rate.duration());
    return std::isfinite(seconds) ? static_cast<int64_t>(seconds * 1e9) : 0;
}

void PipeWireCameraStream::followSequence(const spa_meta_header* header) {
    if (header == nullptr) return;
    if (lastSequence && header->seq > *lastSequence + 1 && header->seq - *lastSequence < kMostLostAtOnce) {
        const auto lost = static_cast<int64_t>(header->seq - *lastSequence - 1);
        missing.before += lost;
        lostBefore += lost;
    }
    lastSequence = header->seq;
}

bool PipeWireCameraStream::convert(const pw_buffer& buffer, int64_t stamp) {
    CameraMemory blocks[3];
    const uint32_t count = std::min<uint32_t>(buffer.buffer->n_datas, 3);
    for (uint32_t i = 0; i < count; ++i)
        blocks[i] = memoryOf(buffer.buffer->datas[i]);
    if (decoder) {
        const uint32_t size = buffer.buffer->datas[0].chunk->size;
        if (blocks[0].bytes == nullptr) return false;
        return decoder->decode({blocks[0].bytes, std::min<size_t>(size, blocks[0].size)}, stamp,
                               [this](const CameraPicture& picture, int64_t time) {
                                   loop.assertHeld();
                                   deliver(picture, time);
                               });
    }
    CameraPicture picture{.layout = agreed->names.layout,
                          .width = static_cast<size_t>(agreed->size.width),
                          .height = static_cast<size_t>(agreed->size.height),
                          .planes = {},
                          .colour = agreed->colour};
    if (!layOut(picture, {blocks, count})) return false;
    deliver(picture, stamp);
    return true;
}

void PipeWireCameraStream::deliver(const CameraPicture& picture, int64_t stamp) {
    const auto image =
        pool.picture(CameraPictureConverter::pixelFormat(picture.layout), picture.width, picture.height);
    if (!image) {
        ++missing.noMemory;
        miss(stamp, stamp + slotNanoseconds(), 1);
        return;
    }
    converter.convert(picture, *image);
    handlers.picture(
        CMSampleBuffer::makeVideo(image, {.duration = agreed->rate.duration(),
                                          .presentationTimeStamp = hostTimeFromNanoseconds(stamp),
                                          .decodeTimeStamp = kCMTimeInvalid}));
}

void PipeWireCameraStream::tellOfMissing() {
    if (missing.before == 0 && missing.broken == 0 && missing.noMemory == 0) return;
    handlers.missing(std::exchange(missing, {}));
}

} // namespace vintra
