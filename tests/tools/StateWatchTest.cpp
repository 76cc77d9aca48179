#include "tools/vintra-take/StateWatch.h"

#include "Vintra/platform/simulated/SimulatedMachine.h"

#include <gtest/gtest.h>

namespace vintra {
namespace {

constexpr int64_t kSecond = 1'000'000'000;

class StateWatchTest : public ::testing::Test {
protected:
    StateWatchTest() {
        watch.follow(number);
        watch.follow(flag);
    }
    std::function<bool()> numberIs(int wanted) {
        return [this, wanted] {
            ++looks;
            return *number == wanted;
        };
    }

    SimulatedMachine machine;
    Published<int> number{0};
    Published<bool> flag{false};
    StateWatch watch{machine.platform()};
    int looks = 0;
};

TEST_F(StateWatchTest, aConditionThatHoldsIsNotWaitedFor) {
    const auto before = machine.now();
    machine.complete(watch.until(numberIs(0)));
    EXPECT_TRUE(machine.complete(watch.until(numberIs(0), kSecond)));
    EXPECT_EQ(machine.now(), before);
}

TEST_F(StateWatchTest, aSetThatMakesTheConditionTrueEndsTheWait) {
    const auto before = machine.now();
    machine.time->afterSeconds(1, [this] { number.set(1); });
    machine.time->afterSeconds(2, [this] { number.set(2); });
    machine.complete(watch.until(numberIs(2)));
    EXPECT_EQ(CMTimeGetSeconds(machine.now() - before), 2);
}

TEST_F(StateWatchTest, theConditionIsLookedAtOnlyAfterASet) {
    machine.time->afterSeconds(1, [this] { flag.set(true); });
    machine.time->afterSeconds(30, [this] { number.set(1); });
    machine.complete(watch.until(numberIs(1)));
    EXPECT_EQ(looks, 3);
}

TEST_F(StateWatchTest, severalSetsInOnePieceOfWorkAreOneLook) {
    machine.time->afterSeconds(1, [this] {
        for (int value = 1; value <= 10; ++value)
            number.set(value);
    });
    machine.complete(watch.until(numberIs(10)));
    EXPECT_EQ(looks, 2);
}

TEST_F(StateWatchTest, aValueThatIsFollowedButDoesNotMatterEndsNothing) {
    machine.time->afterSeconds(1, [this] { flag.set(true); });
    EXPECT_THROW(machine.complete(watch.until(numberIs(1))), std::runtime_error);
}

TEST_F(StateWatchTest, aWaitEndsWhenItsTimeIsOver) {
    const auto before = machine.now();
    EXPECT_FALSE(machine.complete(watch.until(numberIs(1), 5 * kSecond)));
    EXPECT_EQ(CMTimeGetSeconds(machine.now() - before), 5);
}

TEST_F(StateWatchTest, theTimeOfAWaitThatHasEndedDisturbsNoLaterOne) {
    machine.time->afterSeconds(1, [this] { number.set(1); });
    EXPECT_TRUE(machine.complete(watch.until(numberIs(1), 5 * kSecond)));
    const auto before = machine.now();
    EXPECT_FALSE(machine.complete(watch.until(numberIs(2), 10 * kSecond)));
    EXPECT_EQ(CMTimeGetSeconds(machine.now() - before), 10);
}

TEST_F(StateWatchTest, aWaitMayGoBeforeItEnds) {
    {
        TaskScope tasks;
        const auto wait = [](StateWatch& on, std::function<bool()> condition) -> Task<> {
            co_await on.until(std::move(condition), kSecond);
        };
        tasks.start(wait(watch, numberIs(1)));
    }
    number.set(1);
    machine.run(10);
    machine.complete(watch.until(numberIs(1)));
}

} // namespace
} // namespace vintra
