#pragma once

#include "Vintra/platform/CaptureDevices.h"
#include "Vintra/platform/DispatchQueue.h"
#include "Vintra/platform/MainThread.h"
#include "Vintra/platform/Task.h"

#include <memory>

namespace vintra {

/// Starts and stops capture sessions on a queue of their own, which a hanging device may block. Owned by the
/// controller, shared by the previews of sound and the cameras. Main thread.
class SessionControl {
public:
    /// The main thread outlives this.
    SessionControl(DispatchQueues& queues, MainThread& mainThread);

    /// Returns at once.
    void start(std::shared_ptr<AVCaptureSession> session);
    /// Ends once the session has stopped.
    Task<> stop(std::shared_ptr<AVCaptureSession> session);

private:
    MainThread& mainThread;
    const std::shared_ptr<DispatchQueue> sessionControlQueue;
};

} // namespace vintra
