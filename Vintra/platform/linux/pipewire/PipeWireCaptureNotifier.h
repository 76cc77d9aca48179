#pragma once

#include "Vintra/platform/CaptureDevices.h"
#include "Vintra/platform/MainThread.h"
#include "Vintra/platform/linux/pipewire/PipeWireCaptureStream.h"
#include "Vintra/platform/linux/pipewire/PipeWireNode.h"

#include <atomic>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace vintra {

class Log;
class PipeWireConnection;

/// Tells those who observe capture devices, on the main thread, what PipeWire's thread finds out. Shared by
/// the capture devices and their sessions; the last reference must not go on PipeWire's thread.
class PipeWireCaptureNotifier : public std::enable_shared_from_this<PipeWireCaptureNotifier> {
public:
    static std::shared_ptr<PipeWireCaptureNotifier> make(std::shared_ptr<PipeWireConnection> connection,
                                                         std::shared_ptr<MainThread> mainThread);
    ~PipeWireCaptureNotifier();
    PipeWireCaptureNotifier(const PipeWireCaptureNotifier&) = delete;
    PipeWireCaptureNotifier& operator=(const PipeWireCaptureNotifier&) = delete;

    /// Main thread.
    Observation observe(CaptureDeviceNotifications notifications);
    /// PipeWire's thread, with the loop's lock held: a session that ran or was to run doesn't any more. Told only if its
    /// device is still there.
    void sessionHasEnded(std::weak_ptr<AVCaptureSession> session, const std::string& deviceName,
                         CaptureEnd why);
    /// PipeWire's thread: the system has refused real-time rights to the thread that hears the graph. Logged
    /// once.
    void soundIsWithoutRealTime(Log& log);
    /// Any thread.
    bool isSoundWithoutRealTime() const { return isWithoutRealTime.load(std::memory_order_relaxed); }

private:
    PipeWireCaptureNotifier(std::shared_ptr<PipeWireConnection> connection,
                            std::shared_ptr<MainThread> mainThread);
    using Call = void (PipeWireCaptureNotifier::*)(const PipeWireNode&);

    std::map<std::string, PipeWireNode> inputs() const;
    void devicesHaveChanged();
    void post(const PipeWireNode& node, Call call);
    // The rest is the main thread's.
    void tellConnected(const PipeWireNode& node);
    void tellDisconnected(const PipeWireNode& node);
    void tellRuntimeError(const std::shared_ptr<AVCaptureSession>& session, const std::string& sentence);
    std::vector<std::shared_ptr<CaptureDeviceNotifications>> present();

    const std::shared_ptr<PipeWireConnection> connection;
    const std::shared_ptr<MainThread> mainThread;
    std::map<std::string, PipeWireNode> known; ///< by name, as they were told last; under the loop's lock
    std::atomic<bool> isWithoutRealTime{false};
    std::shared_ptr<void> observation;
    std::vector<std::weak_ptr<CaptureDeviceNotifications>> observers; ///< main thread
};

} // namespace vintra
