#pragma once

#include "Vintra/platform/CaptureDevices.h"
#include "Vintra/platform/MainThread.h"
#include "Vintra/platform/Mutex.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace vintra {

class Log;
class PipeWireCamera;
class PipeWireConnection;

/// The cameras that PipeWire has, and those who are told when one comes or goes. A camera is one object for as long
/// as this lives, whether it is there or not. Main thread; the last reference must not go on PipeWire's own.
class PipeWireCameras : public std::enable_shared_from_this<PipeWireCameras> {
public:
    static std::shared_ptr<PipeWireCameras> make(std::shared_ptr<PipeWireConnection> connection,
                                                 std::shared_ptr<MainThread> mainThread,
                                                 std::shared_ptr<Log> log);
    ~PipeWireCameras();
    PipeWireCameras(const PipeWireCameras&) = delete;
    PipeWireCameras& operator=(const PipeWireCameras&) = delete;

    /// Those that are there, in the order in which they came.
    std::vector<std::shared_ptr<AVCaptureVideoDevice>> cameras() const EXCLUDES(mutex);
    /// Null if there is no such camera.
    std::shared_ptr<PipeWireCamera> camera(const std::string& uniqueID) const EXCLUDES(mutex);
    Observation observe(CaptureDeviceNotifications notifications);

private:
    using Camera = std::shared_ptr<PipeWireCamera>;
    using Call = void (PipeWireCameras::*)(const Camera&);

    PipeWireCameras(std::shared_ptr<PipeWireConnection> connection, std::shared_ptr<MainThread> mainThread,
                    std::shared_ptr<Log> log);
    /// With PipeWire's lock held.
    void bringInLine() EXCLUDES(mutex);
    Camera made(const std::string& name) const EXCLUDES(mutex);
    void post(const Camera& camera, Call call);
    // The rest is the main thread's.
    void tellConnected(const Camera& camera);
    void tellDisconnected(const Camera& camera);
    void tellRuntimeError(const std::shared_ptr<AVCaptureSession>& session, const std::string& cameraName);
    std::vector<std::shared_ptr<CaptureDeviceNotifications>> present();

    const std::shared_ptr<PipeWireConnection> connection;
    const std::shared_ptr<MainThread> mainThread;
    const std::shared_ptr<Log> log;
    std::shared_ptr<void> observation;
    std::vector<std::weak_ptr<CaptureDeviceNotifications>> observers; ///< main thread

    mutable Mutex mutex;
    std::map<std::string, Camera> all GUARDED_BY(mutex); ///< by name, also those that have gone
    std::vector<std::string> present_ GUARDED_BY(mutex); ///< names, in the order of the list
};

} // namespace vintra
