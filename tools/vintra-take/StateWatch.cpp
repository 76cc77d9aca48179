#include "tools/vintra-take/StateWatch.h"

#include "Vintra/platform/DispatchQueue.h"
#include "Vintra/platform/MainThread.h"

#include <utility>

namespace vintra {

StateWatch::StateWatch(const Platform& services)
    : mainThread(services.mainThread)
    , clock(services.dispatchQueues->makeSerialQueue("vintra-take.clock")) {}

void StateWatch::look() {
    if (*wake) std::exchange(*wake, nullptr)();
}

Task<> StateWatch::change() {
    auto begin = [this](Wake done) { *wake = std::move(done); };
    co_await awaitCompletion<void>(*mainThread, begin);
}

Task<> StateWatch::until(std::function<bool()> condition) {
    while (!condition())
        co_await change();
}

Task<bool> StateWatch::until(std::function<bool()> condition, int64_t nanoseconds) {
    if (condition()) co_return true;
    const auto isOver = std::make_shared<bool>(false);
    const auto timer =
        clock->makeTimer({.delayNanoseconds = nanoseconds}, [main = mainThread, isOver, wake = wake] {
            main->post([isOver, wake] {
                *isOver = true;
                if (*wake) std::exchange(*wake, nullptr)();
            });
        });
    timer->resume();
    while (!condition()) {
        if (*isOver) co_return false;
        co_await change();
    }
    co_return true;
}

} // namespace vintra
