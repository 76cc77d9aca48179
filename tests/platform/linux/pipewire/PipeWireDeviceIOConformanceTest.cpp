#include "tests/platform/AudioDeviceIOConformance.h"

#include "Vintra/platform/linux/pipewire/PipeWireAudioHardware.h"
#include "Vintra/platform/linux/pipewire/PipeWireConnection.h"
#include "Vintra/platform/linux/pipewire/PipeWireDeviceIO.h"
#include "Vintra/platform/linux/runtime/LinuxEventLoop.h"
#include "Vintra/platform/linux/runtime/LinuxHostClock.h"
#include "Vintra/platform/linux/runtime/LinuxLog.h"

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
    bool waitUntil(const std::function<bool()>& condition) {
        for (int i = 0; i < 5000; ++i) {
            if (condition()) return true;
            clock.sleep(2000);
        }
        return condition();
    }

private:
    const std::shared_ptr<PipeWireConnection> connection = std::make_shared<PipeWireConnection>();
    PipeWireAudioHardware hardware_{connection, std::make_shared<LinuxEventLoop>()};
    PipeWireDeviceIO io_{connection, std::make_shared<LinuxLog>(LogLevel::error)};
    LinuxHostClock clock;
};

INSTANTIATE_TYPED_TEST_SUITE_P(PipeWire, AudioDeviceIOConformance, PipeWireAudioBackend);

} // namespace vintra
