#include "Vintra/platform/linux/camera/PipeWireCameras.h"

#include "Vintra/platform/linux/camera/PipeWireCamera.h"
#include "Vintra/platform/linux/pipewire/PipeWireConnection.h"

#include <algorithm>
#include <cerrno>
#include <utility>

namespace vintra {

PipeWireCameras::PipeWireCameras(std::shared_ptr<PipeWireConnection> connection,
                                 std::shared_ptr<MainThread> mainThread, std::shared_ptr<Log> log)
    : connection(std::move(connection))
    , mainThread(std::move(mainThread))
    , log(std::move(log)) {}

/// It listens once it can be held weakly.
std::shared_ptr<PipeWireCameras> PipeWireCameras::make(std::shared_ptr<PipeWireConnection> connection,
                                                       std::shared_ptr<MainThread> mainThread,
                                                       std::shared_ptr<Log> log) {
    const std::shared_ptr<PipeWireCameras> made(
        new PipeWireCameras(std::move(connection), std::move(mainThread), std::move(log)));
    PipeWireLock lock(made->connection->loop());
    made->bringInLine();
    made->observation = made->connection->observe([self = made.get()](const PipeWireChange& change) {
        if (change.cameras) self->bringInLine();
    });
    return made;
}

PipeWireCameras::~PipeWireCameras() {
    // With the lock no call is under way on PipeWire's thread.
    PipeWireLock lock(connection->loop());
    observation.reset();
}

Observation PipeWireCameras::observe(CaptureDeviceNotifications notifications) {
    auto kept = std::make_shared<CaptureDeviceNotifications>(std::move(notifications));
    observers.push_back(kept);
    return kept;
}

std::vector<std::shared_ptr<AVCaptureVideoDevice>> PipeWireCameras::cameras() const {
    MutexLock lock(mutex);
    std::vector<std::shared_ptr<AVCaptureVideoDevice>> result;
    for (const std::string& name : present_)
        result.push_back(all.at(name));
    return result;
}

std::shared_ptr<PipeWireCamera> PipeWireCameras::camera(const std::string& uniqueID) const {
    MutexLock lock(mutex);
    const bool isThere = std::ranges::find(present_, uniqueID) != present_.end();
    return isThere ? all.at(uniqueID) : nullptr;
}

PipeWireCameras::Camera PipeWireCameras::made(const std::string& name) const {
    MutexLock lock(mutex);
    const auto found = all.find(name);
    return found == all.end() ? nullptr : found->second;
}

void PipeWireCameras::bringInLine() {
    std::vector<std::string> names;
    for (const PipeWireVideoSource& source : connection->videoSources().all()) {
        if (std::ranges::find(names, source.name) != names.end()) continue;
        names.push_back(source.name);
        if (const Camera known = made(source.name)) {
            known->update(source);
            continue;
        }
        // Only the main thread ever locks the weak reference, so that nothing can go on PipeWire's.
        auto ended = [main = mainThread, weak = weak_from_this()](std::weak_ptr<AVCaptureSession> session,
                                                                  const std::string& cameraName) {
            main->post([weak, session = std::move(session), cameraName] {
                const auto self = weak.lock();
                const auto running = session.lock();
                if (self && running) self->tellRuntimeError(running, cameraName);
            });
        };
        auto camera = std::make_shared<PipeWireCamera>(connection, source, std::move(ended), log);
        MutexLock lock(mutex);
        all.emplace(source.name, std::move(camera));
    }
    std::vector<std::string> before;
    {
        MutexLock lock(mutex);
        before = std::exchange(present_, names);
    }
    for (const std::string& name : before) {
        if (std::ranges::find(names, name) != names.end()) continue;
        const Camera gone = made(name);
        gone->disconnect();
        post(gone, &PipeWireCameras::tellDisconnected);
    }
    for (const std::string& name : names) {
        if (std::ranges::find(before, name) == before.end())
            post(made(name), &PipeWireCameras::tellConnected);
    }
}

void PipeWireCameras::post(const Camera& camera, Call call) {
    mainThread->post([weak = weak_from_this(), weakCamera = std::weak_ptr(camera), call] {
        const auto self = weak.lock();
        const auto known = weakCamera.lock();
        if (self && known) ((*self).*call)(known);
    });
}

void PipeWireCameras::tellConnected(const Camera& camera) {
    for (const auto& observer : present())
        observer->deviceWasConnected(camera);
}

void PipeWireCameras::tellDisconnected(const Camera& camera) {
    for (const auto& observer : present())
        observer->deviceWasDisconnected(camera);
}

void PipeWireCameras::tellRuntimeError(const std::shared_ptr<AVCaptureSession>& session,
                                       const std::string& cameraName) {
    const SystemError error("pipewire", EIO,
                            "PipeWire has stopped delivering pictures from " + cameraName + ".");
    for (const auto& observer : present())
        observer->sessionRuntimeError(session, error);
}

std::vector<std::shared_ptr<CaptureDeviceNotifications>> PipeWireCameras::present() {
    std::vector<std::shared_ptr<CaptureDeviceNotifications>> result;
    std::erase_if(observers, [](const auto& observer) { return observer.expired(); });
    for (const auto& observer : observers) {
        if (auto kept = observer.lock()) result.push_back(std::move(kept));
    }
    return result;
}

} // namespace vintra
