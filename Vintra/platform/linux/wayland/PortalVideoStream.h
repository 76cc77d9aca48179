#pragma once

#include "Vintra/platform/SystemError.h"
#include "Vintra/platform/linux/runtime/FileDescriptor.h"
#include "Vintra/platform/linux/wayland/PortalFrame.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

struct pw_buffer;
struct pw_context;
struct pw_core;
struct pw_loop;
struct pw_registry;
struct pw_stream;
struct spa_hook;
struct spa_pod;

namespace vintra {

/// The video stream that the desktop portal granted: frames in shared memory. It keeps the newest one
/// until it is released or a newer one comes. Buffers of the graphics card aren't asked for: every pixel is
/// read by the processor, for which the desktop's own copy into shared memory is the quicker way.
///
/// One thread, which sleeps on `fileDescriptor` and calls `dispatch`; the functions given are called in
/// there. `leaveThread` and then `enterThread` on another one hand it on.
class PortalVideoStream {
public:
    struct Listener {
        std::function<void(const PortalVideoFormat&)> onFormat;
        /// A frame with a picture. True to keep it, in place of an earlier one.
        std::function<bool(const PortalFrame&)> onFrame;
        /// A frame was lost, so the next frame's damage doesn't say all that changed.
        std::function<void()> onLoss;
    };

    /// Connects to a node of the PipeWire server at the other end of `remote`. Throws `SystemError`.
    PortalVideoStream(FileDescriptor remote, uint32_t node, Listener listener);
    ~PortalVideoStream();
    PortalVideoStream(const PortalVideoStream&) = delete;
    PortalVideoStream& operator=(const PortalVideoStream&) = delete;

    int fileDescriptor() const;
    void dispatch();
    void leaveThread();
    void enterThread(Listener newListener);

    bool isStreaming() const { return streaming; }
    /// Why no more frames will come; nothing while they do.
    const std::optional<SystemError>& end() const { return end_; }

    /// The newest frame that the receiver asked to keep, or null.
    const PortalFrame* frame() const { return held ? &heldFrame : nullptr; }
    void releaseFrame();

private:
    struct Events;

    void connect(FileDescriptor remote);
    void connectStream();
    void formatChanged(const spa_pod* param);
    void process();
    void take(pw_buffer* buffer);
    /// The sentence has no full stop; the reason is PipeWire's own, null if it gave none.
    void endWith(int code, const std::string& sentence, const char* reason = nullptr);
    void disconnect();

    const uint32_t node;
    Listener listener;
    pw_loop* loop = nullptr;
    bool isInThread = false;
    pw_context* context = nullptr;
    pw_core* core = nullptr;
    pw_registry* registry = nullptr;
    pw_stream* stream = nullptr;
    std::unique_ptr<spa_hook> coreHook;
    std::unique_ptr<spa_hook> registryHook;
    std::unique_ptr<spa_hook> streamHook;
    std::optional<PortalVideoFormat> format;
    bool streaming = false;
    std::optional<SystemError> end_;
    pw_buffer* held = nullptr;
    PortalFrame heldFrame;
};

} // namespace vintra
