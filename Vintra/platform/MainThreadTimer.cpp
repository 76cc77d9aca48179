#include "Vintra/platform/MainThreadTimer.h"

#include <atomic>
#include <utility>

namespace vintra {

struct MainThreadTimer::Firing {
    std::atomic<bool> isUnhandled{false};
    std::function<void()> handler; ///< the main thread's alone; empty once the timer has gone
};

MainThreadTimer::MainThreadTimer(DispatchQueues& dispatchQueues, MainThread& mainThread,
                                 int64_t intervalNanoseconds, std::function<void()> handler)
    : firing(std::make_shared<Firing>())
    , timer(dispatchQueues.globalQueue(QualityOfService::utility)
                ->makeTimer({.delayNanoseconds = intervalNanoseconds,
                             .intervalNanoseconds = intervalNanoseconds,
                             .leewayNanoseconds = intervalNanoseconds / 10},
                            [firing = firing, &mainThread] {
                                if (firing->isUnhandled.exchange(true)) return;
                                mainThread.post([firing] {
                                    firing->isUnhandled = false;
                                    const auto called = firing->handler; // it may end its own timer
                                    if (called) called();
                                });
                            })) {
    firing->handler = std::move(handler);
    timer->resume();
}

MainThreadTimer::~MainThreadTimer() {
    timer->cancel();
    firing->handler = nullptr;
}

} // namespace vintra
