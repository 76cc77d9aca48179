#include "Vintra/platform/linux/runtime/LinuxDispatchQueues.h"

#include "Vintra/platform/linux/runtime/LinuxHostClock.h"
#include "tests/support/Nanoseconds.h"

#include <atomic>
#include <future>
#include <gtest/gtest.h>
#include <pthread.h>
#include <random>
#include <set>
#include <thread>

namespace vintra {
namespace {

class LinuxDispatchQueuesTest : public testing::Test {
protected:
    std::shared_ptr<LinuxDispatchQueues> queues = std::make_shared<LinuxDispatchQueues>();
};

std::string nameOfThisThread() {
    char name[16] = {};
    pthread_getname_np(pthread_self(), name, sizeof name);
    return name;
}

TEST_F(LinuxDispatchQueuesTest, workRunsInTheOrderGivenOnOneThreadOfItsOwn) {
    const auto queue = queues->makeSerialQueue("order");
    std::vector<int> order;
    std::set<std::thread::id> threads;
    for (int i = 0; i < 1000; ++i) {
        queue->async([&, i] {
            order.push_back(i);
            threads.insert(std::this_thread::get_id());
        });
    }
    queue->sync([] {});
    ASSERT_EQ(order.size(), 1000u);
    for (int i = 0; i < 1000; ++i)
        EXPECT_EQ(order[static_cast<size_t>(i)], i);
    EXPECT_EQ(threads.size(), 1u);
    EXPECT_FALSE(threads.contains(std::this_thread::get_id()));
}

TEST_F(LinuxDispatchQueuesTest, workOfManyThreadsIsNeverLostNorSideBySide) {
    const auto queue = queues->makeSerialQueue("crowd");
    int unguarded = 0; // a race here is what the thread sanitizer would report
    std::atomic<int> inside = 0;
    std::atomic<bool> overlapped = false;
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < 500; ++i) {
                const auto work = [&] {
                    if (inside.fetch_add(1) != 0) overlapped = true;
                    ++unguarded;
                    inside.fetch_sub(1);
                };
                if (i % 10 == 0)
                    queue->sync(work);
                else
                    queue->async(work);
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    queue->sync([] {});
    EXPECT_EQ(unguarded, 8 * 500);
    EXPECT_FALSE(overlapped);
}

TEST_F(LinuxDispatchQueuesTest, aThreadIsNamedAfterItsLabelWithoutTheDomain) {
    std::string name;
    queues->makeSerialQueue("com.screenrecorder.extraCamera.front-left")->sync([&] {
        name = nameOfThisThread();
    });
    EXPECT_EQ(name, "extraCamera.fro"); // what the kernel keeps: 15 characters
    queues->makeSerialQueue("settings")->sync([&] { name = nameOfThisThread(); });
    EXPECT_EQ(name, "settings");
}

TEST_F(LinuxDispatchQueuesTest, theLabelIsKeptWhole) {
    EXPECT_EQ(queues->makeSerialQueue("com.screenrecorder.videoOutput")->label(),
              "com.screenrecorder.videoOutput");
}

TEST_F(LinuxDispatchQueuesTest, workStillQueuedWhenTheLastReferenceGoesIsRunFirst) {
    int done = 0;
    std::promise<void> gate;
    {
        const auto queue = queues->makeSerialQueue("leaving");
        queue->async([&] { gate.get_future().wait(); });
        for (int i = 0; i < 100; ++i)
            queue->async([&] { ++done; });
        gate.set_value();
    }
    EXPECT_EQ(done, 100);
}

TEST_F(LinuxDispatchQueuesTest, aQueueMayBeLetGoOnItsOwnThread) {
    std::promise<void> released;
    std::promise<void> ranAfterwards;
    {
        auto queue = queues->makeSerialQueue("own");
        DispatchQueue* plain = queue.get();
        std::promise<void> gate;
        auto opened = gate.get_future().share();
        plain->async([queue, opened, &released, &ranAfterwards, plain]() mutable {
            opened.wait();
            plain->async([&ranAfterwards] { ranAfterwards.set_value(); });
            queue.reset();
            released.set_value();
        });
        queue.reset();
        gate.set_value();
        released.get_future().wait();
    }
    ranAfterwards.get_future().wait();
    queues.reset(); // waits for that thread
}

TEST_F(LinuxDispatchQueuesTest, aTimerFiresAgainAndAgainWithoutDrift) {
    const auto queue = queues->makeSerialQueue("beat");
    const int64_t interval = 2 * kMillisecond;
    const int64_t begin = monotonicNanoseconds();
    std::vector<int64_t> times;
    std::promise<void> enough;
    const auto timer = queue->makeTimer({.delayNanoseconds = interval, .intervalNanoseconds = interval}, [&] {
        times.push_back(monotonicNanoseconds() - begin);
        if (times.size() == 100) enough.set_value();
    });
    timer->resume();
    enough.get_future().wait();
    timer->cancel();
    queue->sync([] {});
    // Every firing stands on its own multiple of the interval: none before, none twice on one.
    for (size_t i = 0; i < times.size(); ++i)
        EXPECT_GE(times[i], static_cast<int64_t>(i + 1) * interval) << i;
    for (size_t i = 1; i < times.size(); ++i)
        EXPECT_GT(times[i], times[i - 1]);
}

TEST_F(LinuxDispatchQueuesTest, aTimerIsMadeSuspended) {
    const auto queue = queues->makeSerialQueue("suspended");
    std::atomic<int> firings = 0;
    const auto silent = queue->makeTimer({.intervalNanoseconds = kMillisecond}, [&] { ++firings; });
    // A later timer on the same queue shows that the silent one had its time.
    std::promise<void> passed;
    const auto witness =
        queue->makeTimer({.delayNanoseconds = 20 * kMillisecond}, [&] { passed.set_value(); });
    witness->resume();
    passed.get_future().wait();
    queue->sync([] {});
    EXPECT_EQ(firings, 0);
}

TEST_F(LinuxDispatchQueuesTest, aTimerWithoutIntervalFiresOnce) {
    const auto queue = queues->makeSerialQueue("once");
    int firings = 0;
    const auto timer = queue->makeTimer({.delayNanoseconds = kMillisecond}, [&] { ++firings; });
    timer->resume();
    std::promise<void> passed;
    const auto witness =
        queue->makeTimer({.delayNanoseconds = 20 * kMillisecond}, [&] { passed.set_value(); });
    witness->resume();
    passed.get_future().wait();
    timer->resume();
    queue->sync([] {});
    EXPECT_EQ(firings, 1);
}

TEST_F(LinuxDispatchQueuesTest, firingsThatFindThePreviousOneUnhandledAreLeftOut) {
    const auto queue = queues->makeSerialQueue("busy");
    const int64_t interval = 10 * kMillisecond;
    const int64_t begin = monotonicNanoseconds();
    LinuxHostClock clock;
    std::vector<int64_t> times;
    std::promise<void> enough;
    const auto timer = queue->makeTimer({.intervalNanoseconds = interval}, [&] {
        times.push_back(monotonicNanoseconds() - begin);
        if (times.size() == 1) clock.sleep(55'000); // five and a half intervals
        if (times.size() == 3) enough.set_value();
    });
    timer->resume();
    enough.get_future().wait();
    timer->cancel();
    queue->sync([] {});
    // The second comes on the grid after the slow one, not at once and not five times over.
    EXPECT_GE(times[1] - times[0], 55 * kMillisecond);
    EXPECT_GE(times[1], 6 * interval);
    EXPECT_GE(times[2], times[1] / interval * interval + interval);
}

TEST_F(LinuxDispatchQueuesTest, noFiringBeginsAfterACancelOnTheQueueItself) {
    const auto queue = queues->makeSerialQueue("cancel");
    for (int round = 0; round < 50; ++round) {
        bool cancelled = false;
        bool firedAfterwards = false;
        int firings = 0;
        std::promise<void> some;
        const auto timer = queue->makeTimer({.intervalNanoseconds = 20'000}, [&] {
            firedAfterwards = firedAfterwards || cancelled;
            if (++firings == 3) some.set_value();
        });
        timer->resume();
        some.get_future().wait();
        queue->sync([&] {
            timer->cancel();
            cancelled = true;
        });
        queue->sync([] {});
        EXPECT_FALSE(firedAfterwards);
    }
}

TEST_F(LinuxDispatchQueuesTest, aCancelNeverWaitsForTheHandler) {
    const auto queue = queues->makeSerialQueue("held");
    std::promise<void> begun;
    std::promise<void> gate;
    std::atomic<bool> ended = false;
    const auto timer = queue->makeTimer({}, [&] {
        begun.set_value();
        gate.get_future().wait();
        ended = true;
    });
    timer->resume();
    begun.get_future().wait();
    timer->cancel(); // would never return if it waited
    EXPECT_FALSE(ended);
    gate.set_value();
    queue->sync([] {});
    EXPECT_TRUE(ended);
}

TEST_F(LinuxDispatchQueuesTest, aTimerMayBeDestroyedByItsOwnHandler) {
    const auto queue = queues->makeSerialQueue("suicide");
    std::promise<void> fired;
    std::unique_ptr<DispatchTimer> timer;
    auto token = std::make_shared<int>(7);
    const std::weak_ptr<int> kept = token;
    timer = queue->makeTimer({.intervalNanoseconds = kMillisecond}, [&, token] {
        timer.reset();
        EXPECT_EQ(*token, 7); // what a running handler captured is alive to its end
        fired.set_value();
    });
    token.reset();
    timer->resume();
    fired.get_future().wait();
    queue->sync([] {});
    EXPECT_TRUE(kept.expired());
}

TEST_F(LinuxDispatchQueuesTest, aTimerKeepsItsQueueAlive) {
    auto queue = queues->makeSerialQueue("kept");
    std::promise<void> fired;
    auto timer = queue->makeTimer({.delayNanoseconds = kMillisecond}, [&] { fired.set_value(); });
    queue.reset();
    timer->resume();
    fired.get_future().wait();
}

TEST_F(LinuxDispatchQueuesTest, aGlobalQueueRunsPiecesSideBySide) {
    auto queue = queues->globalQueue(QualityOfService::userInitiated);
    // Each waits for the other: a serial queue would never end.
    std::promise<void> first;
    std::promise<void> second;
    std::promise<void> both;
    queue->async([&] {
        first.set_value();
        second.get_future().wait();
        both.set_value();
    });
    queue->async([&] {
        first.get_future().wait();
        second.set_value();
    });
    both.get_future().wait();
    EXPECT_EQ(queue, queues->globalQueue(QualityOfService::userInitiated));
    EXPECT_NE(queue, queues->globalQueue(QualityOfService::utility));
    queue.reset();
    queues.reset(); // waits for what still ends, which uses the promises
}

TEST_F(LinuxDispatchQueuesTest, whatTheGlobalQueuesHoldIsRunBeforeTheirEnd) {
    std::atomic<int> done = 0;
    for (int i = 0; i < 200; ++i)
        queues->globalQueue(i % 2 ? QualityOfService::utility : QualityOfService::userInitiated)->async([&] {
            ++done;
        });
    queues.reset();
    EXPECT_EQ(done, 200);
}

TEST_F(LinuxDispatchQueuesTest, manyTimersMadeMovedAndCancelledAtRandomNeverFireAfterTheirEnd) {
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    const auto queue = queues->makeSerialQueue("storm");
    struct Subject {
        std::unique_ptr<DispatchTimer> timer;
        std::shared_ptr<bool> gone = std::make_shared<bool>(false); // queue only
    };
    std::vector<Subject> subjects(8);
    std::atomic<int> late = 0;
    for (int step = 0; step < 2000; ++step) {
        Subject& subject = subjects[random() % subjects.size()];
        switch (random() % 4) {
        case 0:
        case 1: {
            queue->sync([&] {
                *subject.gone = true;
                subject.timer.reset();
            });
            subject.gone = std::make_shared<bool>(false);
            subject.timer =
                queue->makeTimer({.delayNanoseconds = static_cast<int64_t>(random() % 200'000),
                                  .intervalNanoseconds = static_cast<int64_t>(random() % 100'000)},
                                 [&late, gone = subject.gone] { late += *gone ? 1 : 0; });
            subject.timer->resume();
            break;
        }
        case 2:
            queue->sync([&] {
                if (subject.timer) subject.timer->cancel();
                *subject.gone = true;
            });
            break;
        default:
            queue->async([] {});
            break;
        }
    }
    subjects.clear();
    queue->sync([] {});
    EXPECT_EQ(late, 0);
}

} // namespace
} // namespace vintra
