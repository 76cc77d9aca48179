#pragma once

#include "Vintra/platform/CMSampleBuffer.h"
#include "Vintra/platform/CaptureDevices.h"
#include "Vintra/platform/linux/camera/CameraPictureConverter.h"
#include "Vintra/platform/linux/camera/CameraPicturePool.h"
#include "Vintra/platform/linux/camera/CameraStamps.h"
#include "Vintra/platform/linux/camera/CameraStreamParams.h"
#include "Vintra/platform/linux/camera/CompressedPictureDecoder.h"
#include "Vintra/platform/linux/pipewire/PipeWireLoop.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

struct pw_buffer;
struct pw_context;
struct pw_core;
struct pw_registry;
struct pw_stream;
struct spa_hook;
struct spa_meta_header;
struct spa_pod;

namespace vintra {

/// The pictures of one camera, converted, from a connection and a thread of its own: a camera that takes long to
/// decode holds up neither sound nor another camera. Owned by its `PipeWireCamera`, which makes, starts and destroys
/// it on one thread at a time.
class PipeWireCameraStream {
public:
    struct Target {
        std::string serverName; ///< empty: the user's own
        std::string nodeName;
        uint32_t node = 0;
    };
    enum class End {
        refused,    ///< by the server or the camera
        cameraGone, ///< the camera or the server is no longer there
    };
    /// Why pictures are missing since the last time; at least one isn't 0.
    struct Missing {
        int64_t before = 0;   ///< lost before they came here
        int64_t broken = 0;   ///< that couldn't be read
        int64_t noMemory = 0; ///< for which nothing was free: all that comes behind is full
    };
    /// All are called on the stream's thread.
    struct Handlers {
        std::function<void(const AgreedCameraFormat&)> format;
        std::function<void(CMSampleBuffer)> picture;
        std::function<void(const AVCaptureMissedPictures&)> missed; ///< in order with the pictures
        std::function<void(const Missing&)> missing;                ///< the same, with the reasons
        std::function<void(End)> ended; ///< once, if it ends by itself after its start
    };

    PipeWireCameraStream(Target target, Handlers handlers);
    /// No handler is called after this.
    ~PipeWireCameraStream();
    PipeWireCameraStream(const PipeWireCameraStream&) = delete;
    PipeWireCameraStream& operator=(const PipeWireCameraStream&) = delete;

    /// Asks for that format, and waits until the camera sends or has refused. False if it has, or if it doesn't
    /// within 3 s.
    bool start(const CameraWish& wish);
    /// Its node in the server, for telling its link from those of others.
    uint32_t node();

private:
    enum class Status { connecting, streaming, ended };
    struct Events;

    bool connect(const CameraWish& wish) REQUIRES(loop);
    void formatChanged(const spa_pod* parameter) REQUIRES(loop);
    void stateChanged(int now) REQUIRES(loop);
    void endWith(End end) REQUIRES(loop);
    void process() REQUIRES(loop);
    void take(const pw_buffer& buffer, int64_t cycle) REQUIRES(loop);
    bool convert(const pw_buffer& buffer, int64_t stamp) REQUIRES(loop);
    void followSequence(const spa_meta_header* header) REQUIRES(loop);
    void deliver(const CameraPicture& picture, int64_t stamp) REQUIRES(loop);
    /// `count` pictures from one stamp up to another.
    void miss(int64_t from, int64_t to, int64_t count) REQUIRES(loop);
    int64_t slotNanoseconds() const REQUIRES(loop);
    void tellOfMissing() REQUIRES(loop);

    const Target target;
    const Handlers handlers;
    PipeWireLoop loop{"vintra-camera"};
    pw_context* context GUARDED_BY(loop) = nullptr;
    pw_core* core GUARDED_BY(loop) = nullptr;
    pw_registry* registry GUARDED_BY(loop) = nullptr;
    pw_stream* stream GUARDED_BY(loop) = nullptr;
    std::unique_ptr<spa_hook> coreHook GUARDED_BY(loop);
    std::unique_ptr<spa_hook> registryHook GUARDED_BY(loop);
    std::unique_ptr<spa_hook> streamHook GUARDED_BY(loop);
    Status status GUARDED_BY(loop) = Status::connecting;
    std::optional<AgreedCameraFormat> agreed GUARDED_BY(loop);
    std::unique_ptr<CompressedPictureDecoder> decoder GUARDED_BY(loop);
    CameraPictureConverter converter GUARDED_BY(loop);
    CameraPicturePool pool GUARDED_BY(loop);
    CameraStamps stamps GUARDED_BY(loop);
    std::optional<uint64_t> lastSequence GUARDED_BY(loop);
    std::optional<int64_t> lastStamp GUARDED_BY(loop);
    int64_t lostBefore GUARDED_BY(loop) = 0; ///< since the last picture
    Missing missing GUARDED_BY(loop);
};

} // namespace vintra
