#include "Vintra/platform/linux/runtime/LinuxEventLoop.h"

#include "Vintra/platform/linux/runtime/LinuxHostClock.h"
#include "Vintra/platform/linux/runtime/SignalWatcher.h"
#include "tests/support/Nanoseconds.h"

#include <csignal>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace vintra {
namespace {

TEST(LinuxEventLoopTest, workPostedByManyThreadsAllRunsOnTheThreadThatMadeIt) {
    LinuxEventLoop loop;
    int done = 0;
    bool elsewhere = false;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            EXPECT_FALSE(loop.isCurrent());
            for (int i = 0; i < 1000; ++i) {
                loop.post([&] {
                    elsewhere = elsewhere || !loop.isCurrent();
                    ++done;
                });
            }
        });
    }
    EXPECT_TRUE(loop.runUntil([&] { return done == 4000; }));
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_FALSE(elsewhere);
}

TEST(LinuxEventLoopTest, theConditionIsLookedAtAfterEachPieceOfWork) {
    LinuxEventLoop loop;
    int done = 0;
    for (int i = 0; i < 10; ++i)
        loop.post([&] { ++done; });
    EXPECT_TRUE(loop.runUntil([&] { return done == 3; }));
    EXPECT_EQ(done, 3);
    EXPECT_TRUE(loop.runUntil([&] { return done == 10; })); // the rest is not forgotten
}

TEST(LinuxEventLoopTest, aRunEndsAtItsTimeout) {
    LinuxEventLoop loop;
    const int64_t begin = monotonicNanoseconds();
    EXPECT_FALSE(loop.runUntil([] { return false; }, 20 * kMillisecond));
    EXPECT_GE(monotonicNanoseconds() - begin, 20 * kMillisecond);
}

TEST(LinuxEventLoopTest, aRunEndsAtItsTimeoutEvenIfWorkPostsWorkForever) {
    LinuxEventLoop loop;
    std::function<void()> again = [&] { loop.post(again); };
    again();
    EXPECT_FALSE(loop.runUntil([] { return false; }, 20 * kMillisecond));
}

TEST(LinuxEventLoopTest, anIdleRunCostsNoProcessorTime) {
    LinuxEventLoop loop;
    rusage before{};
    rusage after{};
    getrusage(RUSAGE_THREAD, &before);
    loop.runUntil([] { return false; }, 50 * kMillisecond);
    getrusage(RUSAGE_THREAD, &after);
    const auto switches = after.ru_nvcsw - before.ru_nvcsw;
    EXPECT_LT(switches, 10); // a loop that polls would give the processor up again and again
}

TEST(SignalWatcherTest, aSignalAtAnyMomentReachesTheMainThread) {
    LinuxEventLoop loop;
    std::vector<int> arrived;
    const SignalWatcher watcher(loop, {SIGUSR1, SIGUSR2}, [&](int signal) {
        EXPECT_TRUE(loop.isCurrent());
        arrived.push_back(signal);
    });
    raise(SIGUSR1); // before the loop runs
    EXPECT_TRUE(loop.runUntil([&] { return arrived.size() == 1; }));
    std::thread other([] { kill(getpid(), SIGUSR2); }); // while it waits
    EXPECT_TRUE(loop.runUntil([&] { return arrived.size() == 2; }));
    other.join();
    loop.post([] { raise(SIGUSR1); }); // from its own work
    EXPECT_TRUE(loop.runUntil([&] { return arrived.size() == 3; }));
    EXPECT_EQ(arrived, (std::vector<int>{SIGUSR1, SIGUSR2, SIGUSR1}));
}

TEST(SignalWatcherTest, aHangUpThatIsIgnoredStaysIgnored) {
    LinuxEventLoop loop;
    for (const bool isIgnored : {true, false}) {
        struct sigaction before {};
        struct sigaction given {};
        given.sa_handler = isIgnored ? SIG_IGN : SIG_DFL;
        ASSERT_EQ(sigaction(SIGHUP, &given, &before), 0);
        {
            const SignalWatcher watcher(loop, {SIGHUP}, [](int) {});
            struct sigaction now {};
            ASSERT_EQ(sigaction(SIGHUP, nullptr, &now), 0);
            EXPECT_EQ(now.sa_handler == SIG_IGN, isIgnored);
            EXPECT_NE(now.sa_handler, SIG_DFL);
        }
        sigaction(SIGHUP, &before, nullptr);
    }
}

TEST(SignalWatcherTest, whatTheSignalDidBeforeIsRestored) {
    struct sigaction before {};
    struct sigaction after {};
    sigaction(SIGUSR1, nullptr, &before);
    {
        LinuxEventLoop loop;
        const SignalWatcher watcher(loop, {SIGUSR1}, [](int) {});
    }
    sigaction(SIGUSR1, nullptr, &after);
    EXPECT_EQ(before.sa_handler, after.sa_handler);
}

} // namespace
} // namespace vintra
