#include "Vintra/platform/MainThreadTasks.h"

#include "Vintra/platform/Drain.h"
#include "Vintra/platform/simulated/SimulatedMachine.h"

#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace vintra {
namespace {

class MainThreadTasksTest : public testing::Test {
protected:
    Task<> sleepThenHear(double seconds, std::string what) {
        const auto begin = [this, seconds](auto done) { machine.time->afterSeconds(seconds, done); };
        co_await awaitCompletion<void>(*machine.mainThread, begin);
        heard.push_back(what);
    }
    Task<> hear(std::string what) {
        heard.push_back(what);
        co_return;
    }

    SimulatedMachine machine;
    std::vector<std::string> heard;
    std::unique_ptr<MainThreadTasks> tasks = std::make_unique<MainThreadTasks>(*machine.mainThread);
};

TEST_F(MainThreadTasksTest, aPostedOperationRunsLaterAndInItsTurn) {
    tasks->post([this] { return hear("first"); });
    tasks->post([this] { return hear("second"); });
    EXPECT_TRUE(heard.empty());
    machine.settle();
    EXPECT_EQ(heard, (std::vector<std::string>{"first", "second"}));
}

TEST_F(MainThreadTasksTest, aStartedTaskRunsAtOnceUpToItsFirstSuspension) {
    tasks->start(hear("at once"));
    EXPECT_EQ(heard, std::vector<std::string>{"at once"});
    tasks->start(sleepThenHear(1, "later"));
    machine.run(0.5);
    EXPECT_EQ(heard.size(), 1u);
    machine.run(0.6);
    EXPECT_EQ(heard.back(), "later");
}

TEST_F(MainThreadTasksTest, operationsEndWithTheirOwner) {
    tasks->start(sleepThenHear(1, "suspended"));
    tasks->post([this] { return hear("posted"); });
    const auto late = tasks->guarded([this](int number) { heard.push_back(std::to_string(number)); });
    late(7);
    tasks.reset();
    late(8);
    machine.run(2);
    EXPECT_EQ(heard, std::vector<std::string>{"7"});
}

TEST_F(MainThreadTasksTest, aDrainEndsBehindAllWorkThatWasQueued) {
    const auto queue = machine.dispatchQueues->makeSerialQueue("drained");
    queue->async([&] {
        machine.hostClock->sleep(500'000);
        heard.push_back("slow work");
    });
    queue->async([&] { heard.push_back("work"); });
    const CMTime start = machine.now();
    machine.complete(drain(*machine.mainThread, queue));
    EXPECT_EQ(heard, (std::vector<std::string>{"slow work", "work"}));
    EXPECT_EQ(machine.now() - start, CMTimeMake(1, 2));
}

} // namespace
} // namespace vintra
