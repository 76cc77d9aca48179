#include "Vintra/platform/linux/runtime/LinuxDispatchQueues.h"
#include "Vintra/platform/linux/runtime/LinuxEventLoop.h"
#include "Vintra/platform/linux/runtime/LinuxHostClock.h"
#include "tests/platform/DispatchQueueConformance.h"
#include "tests/platform/EventLoopConformance.h"
#include "tests/platform/HostClockConformance.h"
#include "tests/platform/MainThreadConformance.h"

namespace vintra {
namespace {

/// The runtime of the real machine. What a test waits for may happen on any thread, so it is looked at again
/// and again, until it comes or a minute has passed.
class RuntimeBackend {
public:
    DispatchQueues& dispatchQueues() { return queues; }
    HostClock& hostClock() { return clock; }
    MainThread& mainThread() { return main; }
    EventLoop& eventLoop() { return main; }
    bool waitUntil(const std::function<bool()>& done) {
        constexpr int64_t millisecond = 1'000'000;
        for (int round = 0; round < 60'000; ++round) {
            if (main.runUntil(done, millisecond)) return true;
        }
        return false;
    }

private:
    LinuxEventLoop main;
    LinuxHostClock clock;
    LinuxDispatchQueues queues;
};

INSTANTIATE_TYPED_TEST_SUITE_P(Linux, DispatchQueueConformance, RuntimeBackend);
INSTANTIATE_TYPED_TEST_SUITE_P(Linux, HostClockConformance, RuntimeBackend);
INSTANTIATE_TYPED_TEST_SUITE_P(Linux, MainThreadConformance, RuntimeBackend);
INSTANTIATE_TYPED_TEST_SUITE_P(Linux, EventLoopConformance, RuntimeBackend);

} // namespace
} // namespace vintra
