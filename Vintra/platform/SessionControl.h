#pragma once

#include "Vintra/platform/CaptureDevices.h"
#include "Vintra/platform/DispatchQueue.h"
#include "Vintra/platform/MainThread.h"
#include "Vintra/platform/Task.h"

#include <functional>
#include <memory>
#include <utility>

namespace vintra {

/// Starts and stops capture sessions on a queue of their own, which a hanging device may block. Owned by the
/// controller. Main thread.
class SessionControl {
public:
    /// The main thread outlives this.
    SessionControl(DispatchQueues& queues, MainThread& mainThread);

    /// Returns at once. `started` is called on the main thread once the device runs or has refused.
    void start(std::shared_ptr<AVCaptureSession> session, std::function<void()> started);
    /// Runs work on the queue of starts and stops, after those asked for before.
    void async(std::function<void()> work) { sessionControlQueue->async(std::move(work)); }
    /// Ends once all that was asked for before has been done.
    Task<> settle();
    /// "com.screenrecorder.sessionControl": cameras are configured on it too.
    const std::shared_ptr<DispatchQueue>& queue() const { return sessionControlQueue; }
    /// Ends once the session has stopped.
    Task<> stop(std::shared_ptr<AVCaptureSession> session);

private:
    MainThread& mainThread;
    const std::shared_ptr<DispatchQueue> sessionControlQueue;
};

} // namespace vintra
