#include "Vintra/platform/linux/wayland/PortalVideoStream.h"

#include "Vintra/platform/linux/wayland/PortalVideoParams.h"

#include <pipewire/pipewire.h>
#include <spa/utils/result.h>

#include <cerrno>
#include <utility>

namespace vintra {

struct PortalVideoStream::Events {
    static PortalVideoStream& self(void* data) { return *static_cast<PortalVideoStream*>(data); }

    static void error(void* data, uint32_t id, int, int result, const char*) {
        if (id == PW_ID_CORE && result == -EPIPE) {
            self(data).endWith(2, "The PipeWire server, which hands out the screen, has stopped");
        }
    }
    static void globalRemoved(void* data, uint32_t id) {
        if (id == self(data).node) self(data).endWith(3, "The desktop no longer shares the screen");
    }
    static void stateChanged(void* data, pw_stream_state, pw_stream_state now, const char* reason) {
        PortalVideoStream& owner = self(data);
        // The stream pauses while its size changes or the screen rests: there is no new frame until it resumes.
        owner.streaming = now == PW_STREAM_STATE_STREAMING;
        if (now == PW_STREAM_STATE_ERROR || now == PW_STREAM_STATE_UNCONNECTED) {
            owner.endWith(3,
                          owner.format ? "The desktop no longer shares the screen"
                                       : "The desktop shares the screen in no form that can be read",
                          reason);
        }
    }
    static void paramChanged(void* data, uint32_t id, const spa_pod* param) {
        if (id == SPA_PARAM_Format && param) self(data).formatChanged(param);
    }
    static void removeBuffer(void* data, pw_buffer* buffer) {
        PortalVideoStream& owner = self(data);
        if (owner.held != buffer) return;
        owner.held = nullptr;
        owner.listener.onLoss();
    }
    static void process(void* data) { self(data).process(); }

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
        events.remove_buffer = removeBuffer;
        events.process = process;
        return events;
    }();
};

PortalVideoStream::PortalVideoStream(FileDescriptor remote, uint32_t node, Listener listener)
    : node(node)
    , listener(std::move(listener))
    , coreHook(std::make_unique<spa_hook>())
    , registryHook(std::make_unique<spa_hook>())
    , streamHook(std::make_unique<spa_hook>()) {
    pw_init(nullptr, nullptr);
    try {
        connect(std::move(remote));
    } catch (...) {
        disconnect();
        throw;
    }
}

PortalVideoStream::~PortalVideoStream() {
    disconnect();
}

void PortalVideoStream::connect(FileDescriptor remote) {
    loop = pw_loop_new(nullptr);
    if (loop) {
        pw_loop_enter(loop);
        isInThread = true;
        context = pw_context_new(loop, nullptr, 0);
    }
    // From here on the connection owns the descriptor, also if connecting fails.
    if (context) core = pw_context_connect_fd(context, remote.release(), nullptr, 0);
    if (core) {
        pw_core_add_listener(core, coreHook.get(), &Events::core, this);
        registry = pw_core_get_registry(core, PW_VERSION_REGISTRY, 0);
    }
    if (registry) pw_registry_add_listener(registry, registryHook.get(), &Events::registry, this);
    if (registry) connectStream();
    if (!stream || end_) {
        throw SystemError("pipewire", 1,
                          "The screen can't be recorded: the PipeWire server, which hands it out, refused.");
    }
}

void PortalVideoStream::connectStream() {
    stream = pw_stream_new(core, "Vintra screen",
                           pw_properties_new(PW_KEY_MEDIA_TYPE, "Video", PW_KEY_MEDIA_CATEGORY, "Capture",
                                             PW_KEY_MEDIA_ROLE, "Screen", PW_KEY_NODE_DONT_RECONNECT, "true",
                                             nullptr));
    if (!stream) return;
    pw_stream_add_listener(stream, streamHook.get(), &Events::stream, this);
    const PortalVideoParams params = PortalVideoParams::formats();
    auto pods = params.pods();
    const int flags = PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_MAP_BUFFERS;
    const int result =
        pw_stream_connect(stream, PW_DIRECTION_INPUT, node, static_cast<pw_stream_flags>(flags), pods.data(),
                          static_cast<uint32_t>(pods.size()));
    if (result < 0) endWith(1, "The PipeWire server refused the screen", spa_strerror(result));
}

/// The hooks go first, so that nothing is reported of the end.
void PortalVideoStream::disconnect() {
    held = nullptr;
    if (loop && !std::exchange(isInThread, true)) pw_loop_enter(loop);
    if (stream) {
        spa_hook_remove(streamHook.get());
        pw_stream_destroy(stream);
    }
    if (registry) {
        spa_hook_remove(registryHook.get());
        pw_proxy_destroy(reinterpret_cast<pw_proxy*>(registry));
    }
    if (core) {
        spa_hook_remove(coreHook.get());
        pw_core_disconnect(core);
    }
    if (context) pw_context_destroy(context);
    if (loop) {
        pw_loop_leave(loop);
        pw_loop_destroy(loop);
    }
    pw_deinit();
}

void PortalVideoStream::leaveThread() {
    if (std::exchange(isInThread, false)) pw_loop_leave(loop);
}

void PortalVideoStream::enterThread(Listener newListener) {
    listener = std::move(newListener);
    if (!std::exchange(isInThread, true)) pw_loop_enter(loop);
}

int PortalVideoStream::fileDescriptor() const {
    return pw_loop_get_fd(loop);
}

void PortalVideoStream::dispatch() {
    while (pw_loop_iterate(loop, 0) > 0) {
    }
}

void PortalVideoStream::endWith(int code, const std::string& sentence, const char* reason) {
    streaming = false;
    if (end_) return;
    const bool isToldWhy = reason != nullptr && *reason != 0;
    end_.emplace("pipewire", code,
                 sentence + (isToldWhy ? std::string(" (") + reason + ")." : std::string(".")));
}

void PortalVideoStream::formatChanged(const spa_pod* param) {
    format = readPortalVideoFormat(param);
    if (!format) {
        pw_stream_set_error(stream, -EINVAL, "no such format was asked for");
        return;
    }
    const PortalVideoParams params = PortalVideoParams::buffers(*format);
    auto pods = params.pods();
    pw_stream_update_params(stream, pods.data(), static_cast<uint32_t>(pods.size()));
    listener.onFormat(*format);
}

void PortalVideoStream::process() {
    while (pw_buffer* const buffer = pw_stream_dequeue_buffer(stream))
        take(buffer);
}

void PortalVideoStream::take(pw_buffer* buffer) {
    const auto read = format && buffer->buffer ? readPortalFrame(*buffer->buffer, *format) : std::nullopt;
    if (!read) listener.onLoss();
    if (!read || !listener.onFrame(*read)) {
        pw_stream_queue_buffer(stream, buffer);
        return;
    }
    releaseFrame();
    held = buffer;
    heldFrame = *read;
}

void PortalVideoStream::releaseFrame() {
    if (pw_buffer* const buffer = std::exchange(held, nullptr)) pw_stream_queue_buffer(stream, buffer);
}

} // namespace vintra
