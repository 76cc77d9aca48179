#include "Vintra/platform/Task.h"
#include "Vintra/platform/simulated/SimulatedMachine.h"

#include <gtest/gtest.h>
#include <stdexcept>

namespace vintra {
namespace {

/// Notes its own end.
struct Marker {
    explicit Marker(std::vector<std::string>& list, std::string name)
        : list(&list)
        , name(std::move(name)) {}
    Marker(const Marker&) = delete;
    Marker& operator=(const Marker&) = delete;
    ~Marker() { list->push_back(name); }
    std::vector<std::string>* list;
    std::string name;
};

class TaskTest : public testing::Test {
public:
    using Answer = std::function<void(int)>;

    SimulatedMachine machine;
    std::vector<std::string> heard;
    Answer answer; ///< the completion of the question that was put last

    MainThread& main() { return *machine.mainThread; }
    void hear(const std::string& what) { heard.push_back(what); }

    Task<int> ask() {
        auto begin = [this](Answer done) { answer = std::move(done); };
        co_return co_await awaitCompletion<int>(main(), begin);
    }
    Task<int> give(int value) { co_return value; }
    Task<int> fail() {
        throw std::runtime_error("failed");
        co_return 0;
    }
};

TEST_F(TaskTest, aTaskDoesNothingUntilItIsAwaitedOrStarted) {
    const auto note = [](TaskTest& test) -> Task<void> {
        test.hear("ran");
        co_return;
    };
    { const Task<void> never = note(*this); }
    EXPECT_TRUE(heard.empty());
    TaskScope scope;
    scope.start(note(*this));
    EXPECT_EQ(heard.size(), 1u);
    EXPECT_TRUE(scope.isIdle());
}

TEST_F(TaskTest, resultsComeThroughAChainOfTasks) {
    const auto sum = [](TaskTest& test) -> Task<int> {
        const int first = co_await test.give(3);
        const int second = co_await test.give(4);
        co_return first + second;
    };
    EXPECT_EQ(machine.complete(sum(*this)), 7);
}

TEST_F(TaskTest, aResultMayBeSomethingThatOnlyMoves) {
    const auto make = []() -> Task<std::unique_ptr<int>> { co_return std::make_unique<int>(5); };
    const auto pass = [](auto inner) -> Task<std::unique_ptr<int>> { co_return co_await inner(); };
    EXPECT_EQ(*machine.complete(pass(make)), 5);
}

TEST_F(TaskTest, anExceptionComesOutWhereTheTaskIsAwaited) {
    const auto guard = [](TaskTest& test) -> Task<std::string> {
        std::string caught;
        try {
            co_await test.fail();
        } catch (const std::runtime_error& error) {
            caught = error.what();
        }
        co_return caught;
    };
    EXPECT_EQ(machine.complete(guard(*this)), "failed");
    EXPECT_THROW(machine.complete(fail()), std::runtime_error);
}

TEST_F(TaskTest, anExceptionAfterASuspensionRunsDestructorsOnItsWay) {
    const auto inner = [](TaskTest& test) -> Task<void> {
        const Marker marker(test.heard, "inner ended");
        co_await test.ask();
        throw std::runtime_error("late");
    };
    const auto outer = [](TaskTest& test, auto innerTask) -> Task<void> {
        const Marker marker(test.heard, "outer ended");
        co_await innerTask(test);
    };
    machine.time->after(1, [this] { answer(0); });
    EXPECT_THROW(machine.complete(outer(*this, inner)), std::runtime_error);
    EXPECT_EQ(heard, (std::vector<std::string>{"inner ended", "outer ended"}));
}

TEST_F(TaskTest, anExceptionThatLeavesAStartedTaskEndsTheProcess) {
    const auto run = [](TaskTest& test) -> Task<void> { co_await test.fail(); };
    EXPECT_DEATH(
        {
            TaskScope scope;
            scope.start(run(*this));
        },
        "");
}

TEST_F(TaskTest, aCompletionCalledAtOnceResumesLater) {
    const auto run = [](TaskTest& test) -> Task<void> {
        auto begin = [&test](Answer done) {
            done(9);
            test.hear("called");
        };
        const int value = co_await awaitCompletion<int>(test.main(), begin);
        test.hear("resumed with " + std::to_string(value));
    };
    TaskScope scope;
    scope.start(run(*this));
    EXPECT_EQ(heard, std::vector<std::string>{"called"});
    machine.settle();
    EXPECT_EQ(heard, (std::vector<std::string>{"called", "resumed with 9"}));
}

TEST_F(TaskTest, aSecondCallOfACompletionDoesNothing) {
    const auto run = [](TaskTest& test) -> Task<void> {
        test.hear(std::to_string(co_await test.ask()));
        test.hear(std::to_string(co_await test.ask()));
    };
    TaskScope scope;
    scope.start(run(*this));
    const Answer first = answer;
    first(1);
    first(2);
    machine.settle();
    EXPECT_EQ(heard, std::vector<std::string>{"1"}) << "the second question must not take the first's answer";
    first(3);
    machine.settle();
    EXPECT_EQ(heard.size(), 1u);
    answer(4);
    machine.settle();
    EXPECT_EQ(heard, (std::vector<std::string>{"1", "4"}));
}

TEST_F(TaskTest, aScopeThatGoesEndsItsWaitingTasksFromTheInside) {
    const auto inner = [](TaskTest& test) -> Task<void> {
        const Marker marker(test.heard, "inner");
        co_await test.ask();
        test.hear("never");
    };
    const auto outer = [](TaskTest& test, auto innerTask) -> Task<void> {
        const Marker marker(test.heard, "outer");
        co_await innerTask(test);
        test.hear("never");
    };
    {
        TaskScope scope;
        scope.start(outer(*this, inner));
        EXPECT_FALSE(scope.isIdle());
        EXPECT_TRUE(heard.empty());
    }
    EXPECT_EQ(heard, (std::vector<std::string>{"inner", "outer"}));
}

TEST_F(TaskTest, aCompletionAfterTheScopeHasGoneDoesNothing) {
    const auto run = [](TaskTest& test) -> Task<void> {
        co_await test.ask();
        test.hear("never");
    };
    {
        TaskScope scope;
        scope.start(run(*this));
    }
    answer(1);
    machine.settle();
    EXPECT_TRUE(heard.empty());
}

TEST_F(TaskTest, aCompletionUnderwayWhenTheScopeGoesDoesNothing) {
    const auto run = [](TaskTest& test) -> Task<void> {
        co_await test.ask();
        test.hear("never");
    };
    {
        TaskScope scope;
        scope.start(run(*this));
        answer(1); // posted, not yet run
    }
    machine.settle();
    EXPECT_TRUE(heard.empty());
}

TEST_F(TaskTest, cancellingOneScopeLeavesTheOthersTasks) {
    const auto run = [](TaskTest& test) -> Task<void> { test.hear(std::to_string(co_await test.ask())); };
    TaskScope going;
    TaskScope staying;
    going.start(run(*this));
    const Answer first = answer;
    staying.start(run(*this));
    going.cancelAll();
    EXPECT_TRUE(going.isIdle());
    first(1);
    answer(2);
    machine.settle();
    EXPECT_EQ(heard, std::vector<std::string>{"2"});
}

TEST_F(TaskTest, aScopeRunsSeveralTasksAtATimeAndTakesNewOnesAfterCancelling) {
    const auto run = [](TaskTest& test) -> Task<void> { test.hear(std::to_string(co_await test.ask())); };
    TaskScope scope;
    scope.start(run(*this));
    const Answer first = answer;
    scope.start(run(*this));
    answer(2);
    first(1);
    machine.settle();
    EXPECT_EQ(heard, (std::vector<std::string>{"2", "1"}));
    EXPECT_TRUE(scope.isIdle());
    scope.cancelAll();
    scope.start(run(*this));
    answer(3);
    machine.settle();
    EXPECT_EQ(heard.back(), "3");
}

TEST_F(TaskTest, aTaskMayStartAnotherInItsOwnScope) {
    const auto other = [](TaskTest& test) -> Task<void> { test.hear(std::to_string(co_await test.ask())); };
    const auto run = [](TaskTest& test, TaskScope& scope, auto otherTask) -> Task<void> {
        co_await test.ask();
        scope.start(otherTask(test));
        test.hear("first ended");
    };
    TaskScope scope;
    scope.start(run(*this, scope, other));
    answer(0);
    machine.settle();
    answer(5);
    machine.settle();
    EXPECT_EQ(heard, (std::vector<std::string>{"first ended", "5"}));
    EXPECT_TRUE(scope.isIdle());
}

TEST_F(TaskTest, aBeginThatThrowsThrowsWhereItIsAwaited) {
    const auto run = [](TaskTest& test) -> Task<std::string> {
        std::string caught;
        auto begin = [](std::function<void()>) { throw std::runtime_error("not begun"); };
        try {
            co_await awaitCompletion<void>(test.main(), begin);
        } catch (const std::runtime_error& error) {
            caught = error.what();
        }
        co_return caught;
    };
    EXPECT_EQ(machine.complete(run(*this)), "not begun");
}

template <typename Begin>
concept MayBeAwaited = requires(MainThread& main, Begin&& begin) {
    awaitCompletion<int>(main, std::forward<Begin>(begin));
};

TEST_F(TaskTest, aTemporaryBeginMayHoldOnlyWhatNeedsNoDestructor) {
    const auto held = std::make_shared<int>(11);
    auto holding = [held](Answer done) { done(*held); };
    auto referring = [&held](Answer done) { done(*held); };
    EXPECT_TRUE(MayBeAwaited<decltype(holding)&>);
    EXPECT_FALSE(MayBeAwaited<decltype(holding)>);
    EXPECT_TRUE(MayBeAwaited<decltype(referring)>);
}

TEST_F(TaskTest, aNamedBeginIsCopiedAndDestroyedOnceEach) {
    const auto held = std::make_shared<int>(11);
    const auto run = [](TaskTest& test, std::shared_ptr<int> value) -> Task<int> {
        auto begin = [value](Answer done) { done(*value); };
        co_return co_await awaitCompletion<int>(test.main(), begin);
    };
    EXPECT_EQ(machine.complete(run(*this, held)), 11);
    EXPECT_EQ(held.use_count(), 1);
}

TEST_F(TaskTest, whatACompletionHoldsGoesWithIt) {
    auto held = std::make_shared<int>(0);
    const std::weak_ptr<int> watched = held;
    const auto run = [](TaskTest& test, std::shared_ptr<int> value) -> Task<void> {
        auto begin = [value](std::function<void(std::shared_ptr<int>)> done) { done(value); };
        co_await awaitCompletion<std::shared_ptr<int>>(test.main(), begin);
    };
    machine.complete(run(*this, std::move(held)));
    EXPECT_TRUE(watched.expired());
}

TEST_F(TaskTest, aLongRowOfTasksThatEndAtOnceNeedsNoDeepStack) {
    const auto run = [](TaskTest& test) -> Task<int64_t> {
        int64_t sum = 0;
        for (int i = 0; i < 10'000; ++i)
            sum += co_await test.give(i);
        co_return sum;
    };
    EXPECT_EQ(machine.complete(run(*this)), 49'995'000);
}

} // namespace
} // namespace vintra
