#include "tests/platform/AudioDeviceIOConformance.h"

#include "Vintra/platform/linux/pipewire/PipeWireAudioHardware.h"
#include "Vintra/platform/linux/pipewire/PipeWireConnection.h"
#include "Vintra/platform/linux/pipewire/PipeWireDeviceIO.h"
#include "Vintra/platform/linux/runtime/LinuxEventLoop.h"
#include "Vintra/platform/linux/runtime/LinuxLog.h"
#include "tests/support/ChildProcess.h"

namespace vintra {

/// The session's PipeWire server.
class PipeWireAudioBackend {
public:
    AudioHardware& hardware() { return hardware_; }
    AudioDeviceIO& io() { return io_; }
    AudioObjectID virtualDevice() {
        return connection->devices().numberNamed("VintraAudioDevice").value_or(0);
    }
    AudioObjectID output() { return connection->devices().numberNamed("headless.output").value_or(0); }
    void turnVolume(float left, float right) {
        ChildProcess tool(
            {"pw-cli", "set-param", "VintraAudioDevice", "Props",
             "{ channelVolumes: [" + std::to_string(left) + ", " + std::to_string(right) + "] }"});
        tool.wait();
    }
    bool waitUntil(const std::function<bool()>& condition) {
        for (int i = 0; i < 5000; ++i) {
            if (mainThread->runUntil(condition, kBetweenLooks)) return true;
        }
        return condition();
    }

private:
    const std::shared_ptr<PipeWireConnection> connection = std::make_shared<PipeWireConnection>();
    static constexpr int64_t kBetweenLooks = 2'000'000; ///< nanoseconds
    const std::shared_ptr<LinuxEventLoop> mainThread = std::make_shared<LinuxEventLoop>();
    PipeWireAudioHardware hardware_{connection, mainThread};
    PipeWireDeviceIO io_{connection, std::make_shared<LinuxLog>(LogLevel::error)};
};

INSTANTIATE_TYPED_TEST_SUITE_P(PipeWire, AudioDeviceIOConformance, PipeWireAudioBackend);

} // namespace vintra
