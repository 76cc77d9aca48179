#include "Vintra/platform/linux/runtime/LinuxMainThread.h"

#include "Vintra/platform/linux/runtime/LinuxHostClock.h"
#include "Vintra/platform/linux/runtime/SignalWatcher.h"

#include <csignal>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

namespace vintra {
namespace {

constexpr int64_t kMillisecond = 1'000'000;

TEST(LinuxMainThreadTest, postedWorkRunsInOrderAndNeverAtOnce) {
    LinuxMainThread mainThread;
    std::vector<int> order;
    for (int i = 0; i < 100; ++i)
        mainThread.post([&, i] { order.push_back(i); });
    EXPECT_TRUE(order.empty());
    EXPECT_TRUE(mainThread.runUntil([&] { return order.size() == 100; }));
    for (int i = 0; i < 100; ++i)
        EXPECT_EQ(order[static_cast<size_t>(i)], i);
}

TEST(LinuxMainThreadTest, workPostedByManyThreadsAllRunsOnTheThreadThatMadeIt) {
    LinuxMainThread mainThread;
    int done = 0;
    bool elsewhere = false;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            EXPECT_FALSE(mainThread.isCurrent());
            for (int i = 0; i < 1000; ++i) {
                mainThread.post([&] {
                    elsewhere = elsewhere || !mainThread.isCurrent();
                    ++done;
                });
            }
        });
    }
    EXPECT_TRUE(mainThread.runUntil([&] { return done == 4000; }));
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_FALSE(elsewhere);
}

TEST(LinuxMainThreadTest, theConditionIsLookedAtAfterEachPieceOfWork) {
    LinuxMainThread mainThread;
    int done = 0;
    for (int i = 0; i < 10; ++i)
        mainThread.post([&] { ++done; });
    EXPECT_TRUE(mainThread.runUntil([&] { return done == 3; }));
    EXPECT_EQ(done, 3);
    EXPECT_TRUE(mainThread.runUntil([&] { return done == 10; })); // the rest is not forgotten
}

TEST(LinuxMainThreadTest, aRunEndsAtItsTimeout) {
    LinuxMainThread mainThread;
    const int64_t begin = monotonicNanoseconds();
    EXPECT_FALSE(mainThread.runUntil([] { return false; }, 20 * kMillisecond));
    EXPECT_GE(monotonicNanoseconds() - begin, 20 * kMillisecond);
}

TEST(LinuxMainThreadTest, aRunEndsAtItsTimeoutEvenIfWorkPostsWorkForever) {
    LinuxMainThread mainThread;
    std::function<void()> again = [&] { mainThread.post(again); };
    again();
    EXPECT_FALSE(mainThread.runUntil([] { return false; }, 20 * kMillisecond));
}

TEST(LinuxMainThreadTest, aStopFromAnotherThreadEndsTheRun) {
    LinuxMainThread mainThread;
    std::thread other([&] { mainThread.stop(); });
    mainThread.run();
    other.join();
}

TEST(LinuxMainThreadTest, aStopLeavesLaterWorkForTheNextRun) {
    LinuxMainThread mainThread;
    int done = 0;
    mainThread.post([&] {
        ++done;
        mainThread.stop();
    });
    mainThread.post([&] { ++done; });
    mainThread.run();
    EXPECT_EQ(done, 1);
    EXPECT_TRUE(mainThread.runUntil([&] { return done == 2; }));
}

TEST(LinuxMainThreadTest, aReadableDescriptorCallsItsBlockUntilItIsLetGo) {
    LinuxMainThread mainThread;
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    int calls = 0;
    auto watch = mainThread.watch(ends[0], [&] {
        char byte;
        if (read(ends[0], &byte, 1) == 1) ++calls;
    });
    std::thread other([&] { EXPECT_EQ(write(ends[1], "ab", 2), 2); });
    EXPECT_TRUE(mainThread.runUntil([&] { return calls == 2; }));
    other.join();
    watch.reset();
    EXPECT_EQ(write(ends[1], "c", 1), 1);
    EXPECT_FALSE(mainThread.runUntil([&] { return calls > 2; }, 10 * kMillisecond));
    close(ends[0]);
    close(ends[1]);
}

TEST(LinuxMainThreadTest, aReadableDescriptorIsHeardWhileWorkPostsWork) {
    LinuxMainThread mainThread;
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    bool heard = false;
    const auto watch = mainThread.watch(ends[0], [&] { heard = true; });
    std::function<void()> again = [&] { mainThread.post(again); };
    again();
    EXPECT_EQ(write(ends[1], "a", 1), 1);
    EXPECT_TRUE(mainThread.runUntil([&] { return heard; }, 10'000 * kMillisecond));
    close(ends[0]);
    close(ends[1]);
}

TEST(LinuxMainThreadTest, anIdleRunCostsNoProcessorTime) {
    LinuxMainThread mainThread;
    rusage before{};
    rusage after{};
    getrusage(RUSAGE_THREAD, &before);
    mainThread.runUntil([] { return false; }, 50 * kMillisecond);
    getrusage(RUSAGE_THREAD, &after);
    const auto switches = after.ru_nvcsw - before.ru_nvcsw;
    EXPECT_LT(switches, 10); // a loop that polls would give the processor up again and again
}

TEST(SignalWatcherTest, aSignalAtAnyMomentReachesTheMainThread) {
    LinuxMainThread mainThread;
    std::vector<int> arrived;
    const SignalWatcher watcher(mainThread, {SIGUSR1, SIGUSR2}, [&](int signal) {
        EXPECT_TRUE(mainThread.isCurrent());
        arrived.push_back(signal);
    });
    raise(SIGUSR1); // before the loop runs
    EXPECT_TRUE(mainThread.runUntil([&] { return arrived.size() == 1; }));
    std::thread other([] { kill(getpid(), SIGUSR2); }); // while it waits
    EXPECT_TRUE(mainThread.runUntil([&] { return arrived.size() == 2; }));
    other.join();
    mainThread.post([] { raise(SIGUSR1); }); // from its own work
    EXPECT_TRUE(mainThread.runUntil([&] { return arrived.size() == 3; }));
    EXPECT_EQ(arrived, (std::vector<int>{SIGUSR1, SIGUSR2, SIGUSR1}));
}

TEST(SignalWatcherTest, whatTheSignalDidBeforeIsRestored) {
    struct sigaction before {};
    struct sigaction after {};
    sigaction(SIGUSR1, nullptr, &before);
    {
        LinuxMainThread mainThread;
        const SignalWatcher watcher(mainThread, {SIGUSR1}, [](int) {});
    }
    sigaction(SIGUSR1, nullptr, &after);
    EXPECT_EQ(before.sa_handler, after.sa_handler);
}

} // namespace
} // namespace vintra
