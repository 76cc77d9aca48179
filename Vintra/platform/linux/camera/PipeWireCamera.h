#pragma once

#include "Vintra/platform/CaptureDevices.h"
#include "Vintra/platform/Mutex.h"
#include "Vintra/platform/linux/camera/CameraFormat.h"
#include "Vintra/platform/linux/camera/CameraStreamParams.h"
#include "Vintra/platform/linux/camera/PipeWireCameraStream.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vintra {

class Log;
class PipeWireConnection;
struct PipeWireVideoSource;

/// One of PipeWire's cameras. It has one stream for all sessions of the program, which runs as long as one of them
/// does: so its pictures are converted once, and a change of the format is one for all. Any thread; it is configured,
/// and sessions are started and stopped, by one thread at a time. The last reference must not go on PipeWire's own
/// thread.
///
///     idle --start--> running --(format or rate changed, unlocked)--> running
///      ^                |  \--(refused, camera gone)--> ended --start--> running
///      \-----stop-------/
class PipeWireCamera : public AVCaptureVideoDevice {
public:
    /// Who gets pictures, until the session is stopped.
    struct Receiver {
        std::weak_ptr<AVCaptureSession> session;
        std::weak_ptr<AVCaptureDataOutputSampleBufferDelegate> delegate;
        std::shared_ptr<DispatchQueue> queue;
        std::weak_ptr<AVCaptureOutput> output;
    };
    /// Called on the stream's thread for each session whose stream has ended by itself, but not with the camera.
    using SessionEnded = std::function<void(std::weak_ptr<AVCaptureSession>, const std::string& cameraName)>;

    PipeWireCamera(std::shared_ptr<PipeWireConnection> connection, const PipeWireVideoSource& source,
                   SessionEnded sessionEnded, std::shared_ptr<Log> log);
    ~PipeWireCamera() override;

    const std::string& uniqueID() const override { return id; }
    const std::string& localizedName() const override { return name; }
    bool isConnected() const override EXCLUDES(mutex);
    std::optional<AudioStreamBasicDescription> activeAudioFormat() const override { return std::nullopt; }
    std::vector<AVCaptureDeviceFormat> formats() const override EXCLUDES(mutex);
    std::optional<AVCaptureDeviceFormat> activeFormat() const override EXCLUDES(mutex);
    CMTime activeVideoMinFrameDuration() const override EXCLUDES(mutex);
    CMTime activeVideoMaxFrameDuration() const override EXCLUDES(mutex);
    /// False while another program takes the camera's pictures: all who do share its format.
    bool lockForConfiguration() override EXCLUDES(mutex, control);
    /// A camera that runs goes on with what was set.
    void unlockForConfiguration() override EXCLUDES(mutex, control);
    void setActiveFormat(const AVCaptureDeviceFormat& format) override EXCLUDES(mutex);
    void setActiveVideoMinFrameDuration(CMTime duration) override EXCLUDES(mutex);
    void setActiveVideoMaxFrameDuration(CMTime duration) override EXCLUDES(mutex);

    /// What the server says of it now. Any thread.
    void update(const PipeWireVideoSource& source) EXCLUDES(mutex);
    /// The server no longer has it. Any thread.
    void disconnect() EXCLUDES(mutex);

    /// Blocks until the camera sends or has refused; false if it has. The session's identity is its address.
    bool start(const AVCaptureSession& session, Receiver receiver) EXCLUDES(mutex, control);
    /// Blocks until no further picture will be queued.
    void stop(const AVCaptureSession& session) EXCLUDES(mutex, control);
    bool isRunning(const AVCaptureSession& session) const EXCLUDES(mutex);

private:
    struct Reader {
        const AVCaptureSession* session = nullptr;
        Receiver receiver;
    };

    bool runStream() REQUIRES(control) EXCLUDES(mutex);
    void logOutcome(const CameraWish& wish, bool isRunning) const EXCLUDES(mutex);
    void use(const CameraFormat& format) REQUIRES(mutex);
    std::optional<CameraWish> wish() const REQUIRES(mutex);
    bool supports(CMTime duration) const REQUIRES(mutex);
    void formatAgreed(const AgreedCameraFormat& agreed) EXCLUDES(mutex);
    /// A picture, or the lack of some, to all readers.
    template <typename News>
    void deliver(const News& news) const EXCLUDES(mutex);
    void streamEnded(PipeWireCameraStream::End end) EXCLUDES(mutex);
    bool isReadByAnother() REQUIRES(control) EXCLUDES(mutex);

    const std::shared_ptr<PipeWireConnection> connection;
    const std::string id;
    const std::string name;
    const SessionEnded sessionEnded;
    const std::shared_ptr<Log> log;

    /// Held while a stream is made or destroyed, which the other mutex must not be.
    Mutex control;
    std::unique_ptr<PipeWireCameraStream> stream GUARDED_BY(control);
    /// The streams' nodes, the newest last: the server tells of a stream's end after it.
    std::vector<uint32_t> ownNodes GUARDED_BY(control);

    mutable Mutex mutex;
    std::optional<uint32_t> node GUARDED_BY(mutex); ///< nothing: it isn't there
    std::vector<CameraFormat> offered GUARDED_BY(mutex);
    std::optional<CameraFormat> active GUARDED_BY(mutex);
    CMTime minFrameDuration GUARDED_BY(mutex);
    CMTime maxFrameDuration GUARDED_BY(mutex);
    bool isStreaming GUARDED_BY(mutex) = false;
    bool isChanged GUARDED_BY(mutex) = false; ///< since the stream was asked for
    bool hasEnded GUARDED_BY(mutex) = false;  ///< the stream, since it was asked for
    std::vector<Reader> readers GUARDED_BY(mutex);
};

} // namespace vintra
