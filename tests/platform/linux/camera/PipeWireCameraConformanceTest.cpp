#include "tests/platform/CameraConformance.h"

#include "Vintra/platform/linux/camera/PipeWireCameras.h"
#include "Vintra/platform/linux/camera/SoundAndCameraDevices.h"
#include "Vintra/platform/linux/pipewire/PipeWireCaptureDevices.h"
#include "Vintra/platform/linux/pipewire/PipeWireConnection.h"
#include "Vintra/platform/linux/runtime/LinuxDispatchQueues.h"
#include "Vintra/platform/linux/runtime/LinuxEventLoop.h"
#include "Vintra/platform/linux/runtime/LinuxHostClock.h"
#include "Vintra/platform/linux/runtime/LinuxLog.h"
#include "tests/support/PublishedCamera.h"

#include <optional>

namespace vintra {
namespace {

constexpr int64_t kBetweenLooksAtCamera = 2'000'000; // nanoseconds

/// The session's PipeWire server with a camera of the test's own.
class PipeWireCameraBackend {
public:
    PipeWireCameraBackend() { plugCameraAgain(); }

    CaptureDevices& captureDevices() { return devices; }
    std::string cameraID() const { return "camera-conformance"; }
    std::shared_ptr<DispatchQueue> makeQueue() { return queues.makeSerialQueue("pictures"); }
    void runOnSessionQueue(const std::function<void()>& work) { sessionQueue->sync(work); }
    CMTime now() const { return clock.now(); }
    bool waitUntil(const std::function<bool()>& condition) {
        for (int i = 0; i < 5000; ++i) {
            if (mainThread->runUntil(condition, kBetweenLooksAtCamera)) return true;
        }
        return condition();
    }
    void letPass(double seconds) {
        mainThread->runUntil([] { return false; }, static_cast<int64_t>(seconds * 1e9));
    }
    void unplugCamera() { camera.reset(); }
    void plugCameraAgain() {
        camera.emplace(cameraID(), std::vector<std::string>{"--format", "YUY2:320x180@1-60", "--format",
                                                            "MJPG:192x108@30,15,30000/1001"});
        EXPECT_TRUE(camera->isPublished());
        EXPECT_TRUE(waitUntil([this] { return !devices.cameras().empty(); }));
    }

private:
    std::shared_ptr<LinuxEventLoop> mainThread = std::make_shared<LinuxEventLoop>();
    std::shared_ptr<LinuxLog> log = std::make_shared<LinuxLog>(LogLevel::error);
    std::shared_ptr<PipeWireConnection> connection = std::make_shared<PipeWireConnection>();
    SoundAndCameraDevices devices{std::make_shared<PipeWireCaptureDevices>(connection, mainThread, log),
                                  PipeWireCameras::make(connection, mainThread, log)};
    LinuxDispatchQueues queues;
    LinuxHostClock clock;
    std::shared_ptr<DispatchQueue> sessionQueue = queues.makeSerialQueue("sessions");
    std::optional<PublishedCamera> camera;
};

INSTANTIATE_TYPED_TEST_SUITE_P(PipeWire, CameraConformance, PipeWireCameraBackend);

} // namespace
} // namespace vintra
