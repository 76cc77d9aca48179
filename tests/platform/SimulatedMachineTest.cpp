#include "Vintra/platform/simulated/SimulatedMachine.h"

#include <cmath>
#include <gtest/gtest.h>

namespace vintra {
namespace {

constexpr int64_t kMillisecond = 1'000'000; // nanoseconds

class SimulatedMachineTest : public testing::Test {
protected:
    SimulatedMachine machine;
    std::vector<std::string> heard;
    std::function<void()> hear(std::string what) {
        return [this, what] { heard.push_back(what); };
    }
};

TEST_F(SimulatedMachineTest, eventsRunByTimeAndThenByOrderOfScheduling) {
    machine.time->after(2, hear("third"));
    machine.time->after(1, hear("first"));
    machine.time->after(1, hear("second"));
    machine.run(1e-9);
    EXPECT_EQ(heard, (std::vector<std::string>{"first", "second"}));
    machine.run(1e-9);
    EXPECT_EQ(heard.size(), 3u);
}

TEST_F(SimulatedMachineTest, aCancelledEventDoesNotRun) {
    const auto id = machine.time->after(1, hear("cancelled"));
    machine.time->cancel(id);
    machine.run(1);
    EXPECT_TRUE(heard.empty());
}

TEST_F(SimulatedMachineTest, runUntilStopsAtTheEventThatMadeThePredicateTrue) {
    machine.time->after(5, hear("wanted"));
    machine.time->after(6, hear("later"));
    const int64_t start = machine.time->nowNanoseconds();
    EXPECT_TRUE(machine.runMainUntil([&] { return !heard.empty(); }));
    EXPECT_EQ(machine.time->nowNanoseconds(), start + 5);
    EXPECT_FALSE(machine.runMainUntil([] { return false; }, 0.5));
    EXPECT_EQ(machine.time->nowNanoseconds(), start + 5 + 500 * kMillisecond);
}

TEST_F(SimulatedMachineTest, theHostClockCountsVirtualTimeInItsOwnTicks) {
    const CMTime start = machine.now();
    EXPECT_EQ(start.timescale, kHostTimescale);
    EXPECT_EQ(start, CMTimeMake(1000, 1));
    machine.run(2.5);
    EXPECT_EQ(machine.now() - start, CMTimeMake(5, 2));
}

TEST_F(SimulatedMachineTest, aReadingOfTheMainThreadTakesTimeWhenATestAsksForIt) {
    const auto queue = machine.dispatchQueues->makeSerialQueue("other");
    machine.hostClock->secondsAfterReading = 0.25;
    const CMTime start = machine.now();
    EXPECT_EQ(machine.now(), start) << "the test's own readings take none";
    machine.time->after(100 * kMillisecond, [&] { queue->async(hear("other work")); });
    machine.time->after(100 * kMillisecond, [&] { machine.mainThread->post(hear("main work")); });
    machine.mainThread->runNow([&] {
        EXPECT_EQ(machine.hostClock->now(), start);
        EXPECT_EQ(heard, std::vector<std::string>{"other work"}) << "the main thread is occupied";
        EXPECT_EQ(machine.hostClock->now(), start + CMTimeMake(1, 4));
    });
    queue->async([&] {
        const CMTime first = machine.hostClock->now();
        EXPECT_EQ(machine.hostClock->now(), first) << "and those of a queue take none";
    });
    machine.settle();
    EXPECT_EQ(machine.now(), start + CMTimeMake(1, 2));
    EXPECT_EQ(heard, (std::vector<std::string>{"other work", "main work"}));
}

TEST_F(SimulatedMachineTest, theJournalHasWhatTheMainThreadHandsToSerialQueues) {
    const auto queue = machine.dispatchQueues->makeSerialQueue("first");
    const auto other = machine.dispatchQueues->makeSerialQueue("second");
    machine.mainThread->runNow([&] {
        other->async([&] { queue->async([] {}); }); // the inner one comes from a queue
        queue->async([] {});
        machine.dispatchQueues->globalQueue(QualityOfService::utility)->async([] {});
    });
    machine.settle();
    EXPECT_EQ(machine.journal->calls, (std::vector<std::string>{"second: async", "first: async"}));
}

TEST_F(SimulatedMachineTest, whileAQueueSleepsTheOthersGoOnAndItsOwnWorkWaits) {
    const auto queue = machine.dispatchQueues->makeSerialQueue("sleeper");
    const auto other = machine.dispatchQueues->makeSerialQueue("other");
    queue->async([&] {
        heard.push_back("asleep");
        machine.hostClock->sleep(2000);
        heard.push_back("awake");
    });
    machine.time->after(kMillisecond, [&] {
        queue->async(hear("own work"));
        other->async(hear("other work"));
        machine.mainThread->post(hear("main work"));
    });
    machine.run(0.003);
    EXPECT_EQ(heard, (std::vector<std::string>{"asleep", "other work", "main work", "awake", "own work"}));
}

TEST_F(SimulatedMachineTest, theMainThreadIsOccupiedWhileItSleeps) {
    machine.time->after(kMillisecond, [&] { machine.mainThread->post(hear("posted")); });
    machine.hostClock->sleep(2000);
    EXPECT_TRUE(heard.empty());
    machine.settle();
    EXPECT_EQ(heard.size(), 1u);
}

TEST_F(SimulatedMachineTest, aTimerWhoseQueueWasBusyFiresOnceAndThenOnItsScheduleAgain) {
    const auto queue = machine.dispatchQueues->makeSerialQueue("timed");
    std::vector<double> firings; // milliseconds from the start
    const double start = machine.time->nowSeconds();
    const auto timer = queue->makeTimer({0, 10 * kMillisecond, 0}, [&] {
        firings.push_back(std::round((machine.time->nowSeconds() - start) * 1000));
    });
    timer->resume();
    machine.time->after(15 * kMillisecond, [&] { queue->async([&] { machine.hostClock->sleep(30'000); }); });
    machine.run(0.065);
    // Due at 20, 30 and 40 while the queue slept from 15 to 45.
    EXPECT_EQ(firings, (std::vector<double>{0, 10, 45, 50, 60}));
}

TEST_F(SimulatedMachineTest, scriptedLatenessDoesNotMoveLaterFirings) {
    machine.dispatchQueues->setTimerLateness(
        [](const std::string& label, int64_t firing) { return label == "timed" && firing == 1 ? 3 : 0; });
    const auto queue = machine.dispatchQueues->makeSerialQueue("timed");
    std::vector<int64_t> firings;
    const int64_t start = machine.time->nowNanoseconds();
    const auto timer =
        queue->makeTimer({0, 10, 0}, [&] { firings.push_back(machine.time->nowNanoseconds() - start); });
    timer->resume();
    machine.run(25e-9);
    EXPECT_EQ(firings, (std::vector<int64_t>{0, 13, 20}));
}

TEST_F(SimulatedMachineTest, theTestItselfIsTheMainThreadAndAnEventIsNot) {
    EXPECT_TRUE(machine.mainThread->isCurrent());
    bool inEvent = true;
    bool inMain = false;
    machine.time->after(0, [&] { inEvent = machine.mainThread->isCurrent(); });
    machine.mainThread->post([&] { inMain = machine.mainThread->isCurrent(); });
    machine.settle();
    EXPECT_FALSE(inEvent);
    EXPECT_TRUE(inMain);
}

TEST_F(SimulatedMachineTest, theWallClockStartsAtItsDateAndMayBeSet) {
    LocalTime local = machine.wallClock->localTime(machine.wallClock->now());
    EXPECT_EQ(local.year, 2025);
    EXPECT_EQ(local.month, 3);
    EXPECT_EQ(local.day, 4);
    EXPECT_EQ(local.hour, 10);
    EXPECT_EQ(local.minute, 20);
    EXPECT_EQ(local.second, 30);
    machine.wallClock->offsetSeconds = 13 * 3600 + 39 * 60 + 30; // to 24:00:00
    machine.wallClock->secondsFromGreenwich = 3600;
    local = machine.wallClock->localTime(machine.wallClock->now());
    EXPECT_EQ(local.day, 5);
    EXPECT_EQ(local.hour, 1);
    EXPECT_EQ(local.minute, 0);
}

Task<int> waitThenGive(SimulatedMachine& machine, int result) {
    auto begin = [&machine](std::function<void()> done) { machine.time->after(1'000'000'000, done); };
    co_await awaitCompletion<void>(*machine.mainThread, begin);
    co_return result;
}

TEST_F(SimulatedMachineTest, aTaskIsRunToItsEndOnVirtualTime) {
    const CMTime start = machine.now();
    EXPECT_EQ(machine.complete(waitThenGive(machine, 7)), 7);
    EXPECT_EQ(machine.now() - start, CMTimeMake(1, 1));
    EXPECT_THROW(machine.complete(waitThenGive(machine, 7), 0.5), std::runtime_error);
}

} // namespace
} // namespace vintra
