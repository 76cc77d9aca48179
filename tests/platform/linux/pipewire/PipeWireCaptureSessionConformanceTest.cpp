#include "tests/platform/CaptureSessionConformance.h"

#include "Vintra/platform/linux/pipewire/PipeWireCaptureDevices.h"
#include "Vintra/platform/linux/pipewire/PipeWireConnection.h"
#include "Vintra/platform/linux/runtime/LinuxDispatchQueues.h"
#include "Vintra/platform/linux/runtime/LinuxEventLoop.h"
#include "Vintra/platform/linux/runtime/LinuxHostClock.h"
#include "Vintra/platform/linux/runtime/LinuxLog.h"
#include "tests/support/PublishedMicrophone.h"

namespace vintra {

/// The session's PipeWire server with a microphone of the test's own.
class PipeWireCaptureBackend {
public:
    PipeWireCaptureBackend() { EXPECT_TRUE(microphone.isPublished()); }

    CaptureDevices& captureDevices() { return devices; }
    std::string microphoneID() { return "conformance"; }
    uint32_t microphoneChannels() { return 2; }
    std::shared_ptr<DispatchQueue> makeQueue() { return queues.makeSerialQueue("samples"); }
    void runOnSessionQueue(const std::function<void()>& work) { sessionQueue->sync(work); }
    CMTime now() { return clock.now(); }
    bool waitUntil(const std::function<bool()>& condition) {
        for (int i = 0; i < 5000; ++i) {
            if (condition()) return true;
            clock.sleep(2000);
        }
        return condition();
    }
    void letPass(double seconds) { clock.sleep(static_cast<int64_t>(seconds * 1e6)); }
    void workOffMainThread() {
        mainThread->post([this] { mainThread->stop(); });
        mainThread->run();
    }
    void unplugMicrophone() { microphone.unplug(); }

private:
    PublishedMicrophone microphone{"conformance", {"--channels", "2", "--signal", "tones"}};
    std::shared_ptr<LinuxEventLoop> mainThread = std::make_shared<LinuxEventLoop>();
    PipeWireCaptureDevices devices{std::make_shared<PipeWireConnection>(), mainThread,
                                   std::make_shared<LinuxLog>(LogLevel::error)};
    LinuxDispatchQueues queues;
    LinuxHostClock clock;
    std::shared_ptr<DispatchQueue> sessionQueue = queues.makeSerialQueue("sessions");
};

INSTANTIATE_TYPED_TEST_SUITE_P(PipeWire, CaptureSessionConformance, PipeWireCaptureBackend);

} // namespace vintra
