#include "tests/platform/ScreenStreamConformance.h"

#include "tests/platform/linux/wayland/WaylandSession.h"
#include "tests/support/TemporaryFolder.h"

#include "Vintra/platform/linux/runtime/LinuxDispatchQueues.h"
#include "Vintra/platform/linux/runtime/LinuxHostClock.h"
#include "Vintra/platform/linux/wayland/WaylandScreenCapture.h"
#include "tools/painted-window/WaylandWindow.h"

#include <chrono>
#include <memory>
#include <thread>

namespace vintra {

/// The session's display, which is there again for every test.
class WaylandScreenStreamBackend {
public:
    WaylandScreenStreamBackend() {
        WaylandSession::choose(kDisplay);
        WaylandSession::resize(kDisplay, 640, 480);
        window = std::make_unique<WaylandWindow>(kDisplay);
    }
    ScreenCapture& screenCapture() { return capture; }
    std::shared_ptr<DispatchQueue> makeQueue() { return queues.makeSerialQueue("samples"); }
    CMTime now() { return clock.now(); }
    void changePicture() {
        colour += 0x112233;
        window->fill({40, 30, 200, 100}, colour & 0xffffff);
        window->show();
    }
    bool waitUntil(const std::function<bool()>& condition) {
        for (int i = 0; i < 5000; ++i) {
            if (condition()) return true;
            clock.sleep(2000);
        }
        return condition();
    }
    void letPass(double seconds) { std::this_thread::sleep_for(std::chrono::duration<double>(seconds)); }
    void endStreams() { EXPECT_TRUE(WaylandSession::endSharing()); }

private:
    static constexpr const char* kDisplay = "HEADLESS-1";
    TemporaryFolder folder;
    std::unique_ptr<WaylandWindow> window;
    WaylandScreenCapture capture{WaylandDesktop{
        .displayName = {}, .busAddress = {}, .restoreTokensFile = folder.file("tokens").path()}};
    LinuxDispatchQueues queues;
    LinuxHostClock clock;
    uint32_t colour = 0;
};

INSTANTIATE_TYPED_TEST_SUITE_P(Wayland, ScreenStreamConformance, WaylandScreenStreamBackend);

} // namespace vintra
