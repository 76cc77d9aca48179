#pragma once

#include "Vintra/platform/SystemError.h"
#include "Vintra/platform/linux/runtime/FileDescriptor.h"
#include "Vintra/platform/linux/wayland/PortalFirstPicture.h"
#include "Vintra/platform/linux/wayland/PortalFrame.h"
#include "Vintra/platform/linux/wayland/PortalGraphicsBuffers.h"
#include "Vintra/platform/linux/wayland/PortalNode.h"

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

/// The video stream that the desktop portal granted. It keeps the newest frame until it is released or a newer one
/// comes. Frames in plain memory come first in what it asks for: every pixel is read by the processor, for which the
/// desktop's own copy there is the quicker way. From a desktop that has none it takes buffers of the graphics card.
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
    PortalVideoStream(FileDescriptor remote, uint32_t node, Listener listener, EglLibraries libraries = {});
    ~PortalVideoStream();
    PortalVideoStream(const PortalVideoStream&) = delete;
    PortalVideoStream& operator=(const PortalVideoStream&) = delete;

    int fileDescriptor() const;
    void dispatch();
    void leaveThread();
    void enterThread(Listener newListener);

    bool isStreaming() const { return streaming; }
    /// What the desktop calls what it shares; known from the first format on, empty if it doesn't.
    const std::string& nodeName() const { return node->name(); }
    /// Why no more frames will come; nothing while they do.
    const std::optional<SystemError>& end() const { return end_; }
    /// Of a stream that isn't streaming, some time after it was connected: the end of a sentence.
    std::string whyNoPicture() const;

    /// The newest frame that the receiver asked to keep, or null.
    const PortalFrame* frame() const { return held ? &heldFrame : nullptr; }
    void releaseFrame();

private:
    struct Events;

    void connect(FileDescriptor remote);
    void connectStream();
    void formatChanged(const spa_pod* param);
    void negotiate();
    bool hasFormatInCommon();
    void endWithoutFormat(const std::string& reason);
    void streamEnded(bool isError, const char* reason);
    void process();
    void take(pw_buffer* buffer);
    std::optional<PortalFrame> read(const pw_buffer& buffer);
    /// The sentence has no full stop; the reason is PipeWire's own, empty if it gave none.
    void endWith(int code, const std::string& sentence, const std::string& reason = {});
    void disconnect();

    const uint32_t nodeID;
    Listener listener;
    pw_loop* loop = nullptr;
    bool isInThread = false;
    pw_context* context = nullptr;
    pw_core* core = nullptr;
    pw_registry* registry = nullptr;
    std::unique_ptr<PortalNode> node;
    pw_stream* stream = nullptr;                      ///< null until the node's formats are known
    std::unique_ptr<PortalFirstPicture> firstPicture; ///< of the stream
    std::unique_ptr<spa_hook> coreHook;
    std::unique_ptr<spa_hook> registryHook;
    std::unique_ptr<spa_hook> streamHook;
    PortalGraphicsBuffers graphics;
    std::vector<DmaBufOffer> offered;        ///< to the desktop
    std::optional<PortalVideoFormat> format; ///< nothing while it is negotiated
    bool isUndecided = false; ///< which modifier a format in common has is the desktop's to say
    bool streaming = false;
    std::optional<SystemError> end_;
    std::string complaint_; ///< what PipeWire last complained of
    pw_buffer* held = nullptr;
    PortalFrame heldFrame;
};

} // namespace vintra
