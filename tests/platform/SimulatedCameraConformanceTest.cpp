#include "Vintra/platform/simulated/SimulatedMachine.h"
#include "tests/platform/CameraConformance.h"

namespace vintra {
namespace {

/// A camera with a format of any rate and one of three rates.
struct SimulatedCameraBackend {
    SimulatedCameraBackend() {
        SimulatedCamera script;
        script.uid = "cam";
        script.name = "Desk";
        script.formats = {SimulatedCamera::format(64, 36, "420v", 1, 60),
                          SimulatedCamera::format(32, 18, "yuvs", 30, 30)};
        for (const double rate : {15.0, 29.97}) {
            script.formats[1].videoSupportedFrameRateRanges.push_back(
                SimulatedCamera::format(1, 1, "yuvs", rate, rate).videoSupportedFrameRateRanges.front());
        }
        camera = machine.cameras->plug(std::move(script));
    }
    ~SimulatedCameraBackend() { EXPECT_EQ(machine.violations->list, std::vector<std::string>{}); }

    CaptureDevices& captureDevices() { return *machine.captureDevices; }
    std::string cameraID() const { return "cam"; }
    std::shared_ptr<DispatchQueue> makeQueue() { return machine.dispatchQueues->makeSerialQueue("pictures"); }
    void runOnSessionQueue(const std::function<void()>& work) { control->sync(work); }
    CMTime now() const { return machine.now(); }
    bool waitUntil(const std::function<bool()>& done) { return machine.runMainUntil(done, 10); }
    void letPass(double seconds) { machine.run(seconds); }
    void unplugCamera() { machine.cameras->unplug("cam"); }
    void plugCameraAgain() { machine.cameras->plugAgain(camera); }

    SimulatedMachine machine;
    std::shared_ptr<SimulatedCamera> camera;
    std::shared_ptr<DispatchQueue> control = machine.dispatchQueues->makeSerialQueue("control");
};

INSTANTIATE_TYPED_TEST_SUITE_P(Simulated, CameraConformance, SimulatedCameraBackend);

} // namespace
} // namespace vintra
