#include "Vintra/platform/MainThreadTimer.h"

#include "Vintra/platform/simulated/SimulatedMachine.h"

#include <gtest/gtest.h>
#include <memory>
#include <vector>

namespace vintra {
namespace {

class MainThreadTimerTest : public ::testing::Test {
protected:
    std::unique_ptr<MainThreadTimer> makeTimer() {
        return std::make_unique<MainThreadTimer>(*machine.dispatchQueues, *machine.mainThread, 1'000'000'000,
                                                 [this] {
                                                     EXPECT_TRUE(machine.mainThread->isCurrent());
                                                     calls.push_back(machine.time->nowSeconds() - start);
                                                 });
    }

    SimulatedMachine machine;
    const double start = machine.time->nowSeconds();
    std::vector<double> calls;
};

TEST_F(MainThreadTimerTest, itCallsOnTheMainThreadAfterEachInterval) {
    const auto timer = makeTimer();
    machine.run(3.5);
    EXPECT_EQ(calls, (std::vector<double>{1, 2, 3}));
}

TEST_F(MainThreadTimerTest, aBusyMainThreadIsCalledOnceAndNotForEveryIntervalThatPassed) {
    const auto timer = makeTimer();
    machine.run(1.5);
    machine.mainThread->runNow([&] { machine.run(5); });
    machine.run(0.25);
    EXPECT_EQ(calls, (std::vector<double>{1, 6.5}));
    machine.run(1);
    EXPECT_EQ(calls.size(), 3u);
}

TEST_F(MainThreadTimerTest, itsHandlerMayEndItAndAFiringOnItsWayIsDropped) {
    std::unique_ptr<MainThreadTimer> timer;
    int count = 0;
    timer =
        std::make_unique<MainThreadTimer>(*machine.dispatchQueues, *machine.mainThread, 1'000'000'000, [&] {
            ++count;
            timer.reset();
        });
    machine.run(5);
    EXPECT_EQ(count, 1);
    timer = makeTimer();
    machine.mainThread->runNow([&] {
        machine.run(1.5); // a firing waits for the main thread
        timer.reset();
    });
    machine.run(5);
    EXPECT_TRUE(calls.empty());
}

} // namespace
} // namespace vintra
