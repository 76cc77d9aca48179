#include "tests/platform/ScreenStreamConformance.h"

#include "Vintra/platform/linux/runtime/LinuxDispatchQueues.h"
#include "Vintra/platform/linux/runtime/LinuxHostClock.h"
#include "Vintra/platform/linux/x11/X11ScreenCapture.h"
#include "tests/platform/linux/x11/X11Painter.h"
#include "tests/platform/linux/x11/XvfbServer.h"

#include <chrono>
#include <thread>

namespace vintra {

/// A desktop of its own for every test.
class X11ScreenStreamBackend {
public:
    ScreenCapture& screenCapture() { return capture; }
    std::shared_ptr<DispatchQueue> makeQueue() { return queues.makeSerialQueue("samples"); }
    CMTime now() { return clock.now(); }
    void changePicture() {
        colour += 0x112233;
        painter.fill(40, 30, 200, 100, colour & 0xffffff);
    }
    bool waitUntil(const std::function<bool()>& condition) {
        for (int i = 0; i < 5000; ++i) {
            if (condition()) return true;
            clock.sleep(2000);
        }
        return condition();
    }
    void letPass(double seconds) { std::this_thread::sleep_for(std::chrono::duration<double>(seconds)); }
    void endStreams() { server.kill(); }

private:
    XvfbServer server;
    X11Painter painter{server.displayName()};
    X11ScreenCapture capture{server.displayName()};
    LinuxDispatchQueues queues;
    LinuxHostClock clock;
    uint32_t colour = 0;
};

INSTANTIATE_TYPED_TEST_SUITE_P(X11, ScreenStreamConformance, X11ScreenStreamBackend);

} // namespace vintra
