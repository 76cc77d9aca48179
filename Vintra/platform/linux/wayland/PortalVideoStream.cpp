#include "Vintra/platform/linux/wayland/PortalVideoStream.h"

#include "Vintra/platform/linux/wayland/PortalVideoParams.h"

#include <pipewire/pipewire.h>
#include <spa/utils/result.h>

#include <cerrno>
#include <cstring>
#include <utility>

namespace vintra {

struct PortalVideoStream::Events {
    static PortalVideoStream& self(void* data) { return *static_cast<PortalVideoStream*>(data); }

    static void error(void* data, uint32_t id, int, int result, const char* message) {
        if (id == PW_ID_CORE && result == -EPIPE) {
            self(data).endWith(2, "The PipeWire server, which hands out the screen, has stopped");
        } else {
            self(data).complaint_ = message && *message ? message : spa_strerror(result);
        }
    }
    static void globalRemoved(void* data, uint32_t id) {
        if (id == self(data).nodeID) self(data).endWith(3, "The desktop no longer shares the screen");
    }
    static void stateChanged(void* data, pw_stream_state, pw_stream_state now, const char* reason) {
        PortalVideoStream& owner = self(data);
        // The stream pauses while its size changes or the screen rests: there is no new frame until it resumes.
        owner.streaming = now == PW_STREAM_STATE_STREAMING;
        if (owner.firstPicture && PortalFirstPicture::mayHalt(owner.nodeName()))
            owner.firstPicture->streamRuns(owner.streaming);
        if (now == PW_STREAM_STATE_ERROR || now == PW_STREAM_STATE_UNCONNECTED)
            owner.streamEnded(now == PW_STREAM_STATE_ERROR, reason);
    }
    static void paramChanged(void* data, uint32_t id, const spa_pod* param) {
        if (id == SPA_PARAM_Format && param) self(data).formatChanged(param);
    }
    static void removeBuffer(void* data, pw_buffer* buffer) {
        PortalVideoStream& owner = self(data);
        const bool isHeld = owner.held == buffer;
        if (isHeld) owner.held = nullptr;
        if (buffer->buffer) owner.graphics.forget(*buffer->buffer);
        if (isHeld) owner.listener.onLoss();
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

PortalVideoStream::PortalVideoStream(FileDescriptor remote, uint32_t node, Listener listener,
                                     EglLibraries libraries)
    : nodeID(node)
    , listener(std::move(listener))
    , coreHook(std::make_unique<spa_hook>())
    , registryHook(std::make_unique<spa_hook>())
    , streamHook(std::make_unique<spa_hook>())
    , graphics(std::move(libraries)) {
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
    errno = 0;
    if (context) core = pw_context_connect_fd(context, remote.release(), nullptr, 0);
    if (core) {
        pw_core_add_listener(core, coreHook.get(), &Events::core, this);
        registry = pw_core_get_registry(core, PW_VERSION_REGISTRY, 0);
    }
    if (registry) pw_registry_add_listener(registry, registryHook.get(), &Events::registry, this);
    if (!registry) {
        const std::string why = errno != 0 ? std::string(" (") + std::strerror(errno) + ")" : "";
        throw SystemError("pipewire", 1,
                          "The screen can't be recorded: the PipeWire server, which hands it out, refused" +
                              why + ".");
    }
    node = std::make_unique<PortalNode>(core, registry, nodeID,
                                        PortalNode::Listener{.onFormats = [this] { negotiate(); }});
}

void PortalVideoStream::connectStream() {
    stream = pw_stream_new(core, "Vintra screen",
                           pw_properties_new(PW_KEY_MEDIA_TYPE, "Video", PW_KEY_MEDIA_CATEGORY, "Capture",
                                             PW_KEY_MEDIA_ROLE, "Screen", PW_KEY_NODE_DONT_RECONNECT, "true",
                                             nullptr));
    if (!stream) {
        endWith(1, "The screen can't be recorded: PipeWire has no stream for it", std::strerror(errno));
        return;
    }
    firstPicture = std::make_unique<PortalFirstPicture>(loop, stream);
    pw_stream_add_listener(stream, streamHook.get(), &Events::stream, this);
    offered = graphics.offers();
    const PortalVideoParams params = PortalVideoParams::formats(offered);
    auto pods = params.pods();
    const int flags = PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_MAP_BUFFERS;
    const int result =
        pw_stream_connect(stream, PW_DIRECTION_INPUT, nodeID, static_cast<pw_stream_flags>(flags),
                          pods.data(), static_cast<uint32_t>(pods.size()));
    if (result < 0)
        endWith(1, "The screen can't be recorded: the PipeWire server, which hands it out, refused",
                spa_strerror(result));
}

/// The hooks go first, so that nothing is reported of the end.
void PortalVideoStream::disconnect() {
    held = nullptr;
    if (loop && !std::exchange(isInThread, true)) pw_loop_enter(loop);
    firstPicture.reset();
    if (stream) {
        spa_hook_remove(streamHook.get());
        pw_stream_destroy(stream);
    }
    node.reset();
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
    graphics.leaveThread();
    if (firstPicture) firstPicture->resume();
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

std::string PortalVideoStream::whyNoPicture() const {
    const std::string complaint = complaint_.empty() ? "" : " (" + complaint_ + ")";
    if (!stream) return "the PipeWire server doesn't answer" + complaint + ".";
    if (format || isUndecided)
        return "a form for it was agreed on, but the desktop provides no memory" + complaint +
               ". Its graphics driver may have failed.";
    return "nothing connects it" + complaint +
           ". See that a PipeWire session manager (wireplumber) is running.";
}

void PortalVideoStream::endWith(int code, const std::string& sentence, const std::string& reason) {
    streaming = false;
    if (end_) return;
    end_.emplace("pipewire", code, reason.empty() ? sentence + "." : sentence + " (" + reason + ").");
}

/// Between two formats there is none for a moment, and a stream that the user ends then isn't one that can't be read.
void PortalVideoStream::streamEnded(bool isError, const char* reason) {
    const std::string why = reason && *reason ? reason : complaint_;
    const bool isRefused = isError && !format && node->hasToldFormats();
    if (isRefused || !node->canSendAnyOf(PortalVideoParams::formats(offered).pods()))
        return endWithoutFormat(why);
    endWith(3, "The desktop no longer shares the screen", why);
}

void PortalVideoStream::endWithoutFormat(const std::string& reason) {
    const std::string& problem = graphics.problem();
    endWith(3, "The desktop shares the screen in no form that can be read",
            reason + (reason.empty() || problem.empty() ? "" : "; ") + problem);
}

void PortalVideoStream::formatChanged(const spa_pod* param) {
    format.reset();
    isUndecided = isModifierUndecided(param);
    if (isUndecided) return;
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

/// The graphics card is put to use only for what nothing else can read, or may not.
bool PortalVideoStream::hasFormatInCommon() {
    if (!node->hasToldFormats()) {
        graphics.useCard();
        return true;
    }
    if (node->canSendAnyOf(PortalVideoParams::formats(graphics.offers()).pods())) return true;
    return graphics.useCard() && node->canSendAnyOf(PortalVideoParams::formats(graphics.offers()).pods());
}

/// At the beginning, and whenever one of the two sides can do something else than before.
void PortalVideoStream::negotiate() {
    if (end_) return;
    if (!hasFormatInCommon()) return endWithoutFormat(node->formatsInWords());
    if (!stream) return connectStream();
    if (graphics.offers() == offered) return;
    offered = graphics.offers();
    const PortalVideoParams params = PortalVideoParams::formats(offered);
    auto pods = params.pods();
    pw_stream_update_params(stream, pods.data(), static_cast<uint32_t>(pods.size()));
}

void PortalVideoStream::process() {
    while (pw_buffer* const buffer = pw_stream_dequeue_buffer(stream))
        take(buffer);
}

void PortalVideoStream::take(pw_buffer* buffer) {
    const auto frame = read(*buffer);
    if (frame) firstPicture->came();
    if (!frame) listener.onLoss();
    if (!frame || !listener.onFrame(*frame)) {
        pw_stream_queue_buffer(stream, buffer);
        return;
    }
    releaseFrame();
    held = buffer;
    heldFrame = *frame;
}

std::optional<PortalFrame> PortalVideoStream::read(const pw_buffer& buffer) {
    if (!format || !buffer.buffer || !isPortalFrameIntact(*buffer.buffer)) return std::nullopt;
    if (buffer.buffer->datas[0].type != SPA_DATA_DmaBuf) return readPortalFrame(*buffer.buffer, *format);
    const auto memory = graphics.memory(*buffer.buffer, *format);
    if (memory) return readPortalFrame(*buffer.buffer, *format, &*memory);
    if (!format->dmaBuf || graphics.canRead(*format->dmaBuf)) return std::nullopt; // this one alone
    if (graphics.offers() == offered) {
        endWithoutFormat(node->formatsInWords());
        return std::nullopt;
    }
    format.reset(); // until there is another
    negotiate();
    return std::nullopt;
}

void PortalVideoStream::releaseFrame() {
    if (pw_buffer* const buffer = std::exchange(held, nullptr)) pw_stream_queue_buffer(stream, buffer);
}

} // namespace vintra
