#pragma once

#include "Vintra/platform/DispatchQueue.h"
#include "Vintra/platform/HostClock.h"
#include "Vintra/platform/Mutex.h"

#include <atomic>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace vintra {

/// What every maker of queues and timers owes. A backend's test names its own `Backend`, made afresh for each
/// test:
///
///     struct Backend {
///         DispatchQueues& dispatchQueues();
///         HostClock& hostClock();
///         bool waitUntil(const std::function<bool()>& done);   // lets time pass; false: it never came
///     };
///     INSTANTIATE_TYPED_TEST_SUITE_P(Linux, DispatchQueueConformance, Backend);
template <typename Backend>
class DispatchQueueConformance : public ::testing::Test {
protected:
    static constexpr int64_t kMillisecond = 1'000'000; // nanoseconds

    /// A list that any thread may add to.
    class Heard {
    public:
        void add(int what) {
            MutexLock lock(mutex);
            list.push_back(what);
        }
        std::vector<int> get() const {
            MutexLock lock(mutex);
            return list;
        }
        size_t size() const { return get().size(); }

    private:
        mutable Mutex mutex;
        std::vector<int> list GUARDED_BY(mutex);
    };

    std::shared_ptr<DispatchQueue> makeQueue(const std::string& label = "com.example.queue") {
        return backend.dispatchQueues().makeSerialQueue(label);
    }
    double milliseconds(CMTime from, CMTime to) { return CMTimeGetSeconds(to - from) * 1000; }

    /// Until another timer of that queue has fired five times, a millisecond apart.
    void letPassFivePeriods(DispatchQueue& queue) {
        std::atomic<int> firings{0};
        const auto timer = queue.makeTimer({0, kMillisecond, 0}, [&] { ++firings; });
        timer->resume();
        EXPECT_TRUE(backend.waitUntil([&] { return firings >= 5; }));
        timer->cancel();
        queue.sync([] {}); // one that has begun may still touch the count
    }

    Backend backend;
};

TYPED_TEST_SUITE_P(DispatchQueueConformance);

TYPED_TEST_P(DispatchQueueConformance, aQueueKeepsItsLabel) {
    EXPECT_EQ(this->makeQueue("com.example.one")->label(), "com.example.one");
}

TYPED_TEST_P(DispatchQueueConformance, workRunsInTheOrderGivenAndOneAtATime) {
    typename TestFixture::Heard heard;
    std::atomic<int> inside{0};
    std::atomic<bool> overlapped{false};
    const auto queue = this->makeQueue();
    for (int i = 0; i < 100; ++i) {
        queue->async([&, i] {
            if (++inside > 1) overlapped = true;
            heard.add(i);
            --inside;
        });
    }
    ASSERT_TRUE(this->backend.waitUntil([&] { return heard.size() == 100; }));
    std::vector<int> expected(100);
    for (int i = 0; i < 100; ++i)
        expected[static_cast<size_t>(i)] = i;
    EXPECT_EQ(heard.get(), expected);
    EXPECT_FALSE(overlapped);
}

TYPED_TEST_P(DispatchQueueConformance, workGivenByWorkRunsAfterItNeverInIt) {
    typename TestFixture::Heard heard;
    const auto queue = this->makeQueue();
    queue->async([&, queue] {
        queue->async([&] { heard.add(2); });
        heard.add(1);
    });
    ASSERT_TRUE(this->backend.waitUntil([&] { return heard.size() == 2; }));
    EXPECT_EQ(heard.get(), (std::vector<int>{1, 2}));
}

TYPED_TEST_P(DispatchQueueConformance, syncRunsAfterAllThatWasQueuedAndReturnsWhenDone) {
    typename TestFixture::Heard heard;
    const auto queue = this->makeQueue();
    for (int i = 0; i < 10; ++i)
        queue->async([&, i] { heard.add(i); });
    size_t seen = 0;
    queue->sync([&] { seen = heard.size(); });
    EXPECT_EQ(seen, 10u);
}

TYPED_TEST_P(DispatchQueueConformance, syncFromAnotherQueueReturnsWhenDone) {
    typename TestFixture::Heard heard;
    const auto outer = this->makeQueue("outer");
    const auto inner = this->makeQueue("inner");
    outer->async([&] {
        inner->sync([&] { heard.add(1); });
        heard.add(2);
    });
    ASSERT_TRUE(this->backend.waitUntil([&] { return heard.size() == 2; }));
    EXPECT_EQ(heard.get(), (std::vector<int>{1, 2}));
}

TYPED_TEST_P(DispatchQueueConformance, workStillQueuedWhenTheLastReferenceGoesIsRun) {
    typename TestFixture::Heard heard;
    auto queue = this->makeQueue();
    for (int i = 0; i < 10; ++i)
        queue->async([&, i] { heard.add(i); });
    queue = nullptr;
    EXPECT_TRUE(this->backend.waitUntil([&] { return heard.size() == 10; }));
}

TYPED_TEST_P(DispatchQueueConformance, aQueueMayLetGoOfItselfInItsOwnWork) {
    std::atomic<bool> isDone{false};
    auto queue = this->makeQueue();
    DispatchQueue& bare = *queue;
    bare.async([held = std::move(queue), &isDone]() mutable {
        held = nullptr;
        isDone = true;
    });
    EXPECT_TRUE(this->backend.waitUntil([&] { return isDone.load(); }));
}

TYPED_TEST_P(DispatchQueueConformance, whatTheWorkHeldIsLetGoAfterIt) {
    const auto queue = this->makeQueue();
    auto held = std::make_shared<int>(0);
    const std::weak_ptr<int> watched = held;
    queue->async([held = std::move(held)] {});
    EXPECT_TRUE(this->backend.waitUntil([&] { return watched.expired(); }));
}

TYPED_TEST_P(DispatchQueueConformance, theGlobalQueuesRunDetachedWork) {
    std::atomic<int> ran{0};
    for (const auto quality : {QualityOfService::userInitiated, QualityOfService::utility}) {
        const auto queue = this->backend.dispatchQueues().globalQueue(quality);
        for (int i = 0; i < 20; ++i)
            queue->async([&] { ++ran; });
    }
    EXPECT_TRUE(this->backend.waitUntil([&] { return ran == 40; }));
}

TYPED_TEST_P(DispatchQueueConformance, aPieceThatSleepsHoldsUpNoOtherPieceOfAGlobalQueue) {
    const auto queue = this->backend.dispatchQueues().globalQueue(QualityOfService::userInitiated);
    std::atomic<bool> otherRan{false};
    std::atomic<bool> sawIt{false};
    std::atomic<bool> isDone{false};
    queue->async([&] {
        queue->async([&] { otherRan = true; });
        for (int round = 0; round < 5000 && !otherRan; ++round)
            this->backend.hostClock().sleep(1000);
        sawIt = otherRan.load();
        isDone = true;
    });
    ASSERT_TRUE(this->backend.waitUntil([&] { return isDone.load(); }));
    EXPECT_TRUE(sawIt);
}

TYPED_TEST_P(DispatchQueueConformance, aTimerIsMadeSuspended) {
    std::atomic<int> firings{0};
    const auto queue = this->makeQueue();
    const auto timer = queue->makeTimer({0, this->kMillisecond, 0}, [&] { ++firings; });
    this->letPassFivePeriods(*queue);
    EXPECT_EQ(firings, 0);
    timer->resume();
    EXPECT_TRUE(this->backend.waitUntil([&] { return firings >= 2; }));
}

TYPED_TEST_P(DispatchQueueConformance, noFiringComesBeforeItIsDue) {
    typename TestFixture::Heard heard; // microseconds from the making
    const auto queue = this->makeQueue();
    const CMTime start = this->backend.hostClock().now();
    const auto timer = queue->makeTimer({20 * this->kMillisecond, 10 * this->kMillisecond, 0}, [&, start] {
        heard.add(static_cast<int>(this->milliseconds(start, this->backend.hostClock().now()) * 1000));
    });
    timer->resume();
    ASSERT_TRUE(this->backend.waitUntil([&] { return heard.size() >= 4; }));
    timer->cancel();
    queue->sync([] {});
    const auto times = heard.get();
    for (size_t firing = 0; firing < times.size(); ++firing)
        EXPECT_GE(times[firing], 20'000 + 10'000 * static_cast<int>(firing) - 1) << firing;
}

TYPED_TEST_P(DispatchQueueConformance, firingsThatAQueueCouldNotHandleAreLeftOutAndTheScheduleStays) {
    typename TestFixture::Heard heard; // microseconds from the making
    const auto queue = this->makeQueue();
    const CMTime start = this->backend.hostClock().now();
    const auto now = [&, start] {
        return static_cast<int>(this->milliseconds(start, this->backend.hostClock().now()) * 1000);
    };
    std::atomic<int> wokeAt{0};
    const auto timer =
        queue->makeTimer({10 * this->kMillisecond, 10 * this->kMillisecond, 0}, [&] { heard.add(now()); });
    queue->async([&] {
        this->backend.hostClock().sleep(95'000); // over the nine firings due at 10 to 90 ms
        wokeAt = now();
    });
    timer->resume();
    ASSERT_TRUE(this->backend.waitUntil([&] { return heard.size() >= 3; }));
    timer->cancel();
    queue->sync([] {});
    const auto times = heard.get();
    EXPECT_GE(times[0], wokeAt);
    // One for all that were missed; every further one has a due time of its own after the waking.
    const int due = (wokeAt / 10'000 + 1) * 10'000;
    EXPECT_GE(times[1], due - 1);
    EXPECT_GE(times[2], due + 10'000 - 1);
}

TYPED_TEST_P(DispatchQueueConformance, noFiringBeginsAfterACancelOnTheTimersQueue) {
    std::atomic<int> firings{0};
    std::atomic<int> atCancel{-1};
    const auto queue = this->makeQueue();
    const auto timer = queue->makeTimer({0, this->kMillisecond, 0}, [&] { ++firings; });
    timer->resume();
    ASSERT_TRUE(this->backend.waitUntil([&] { return firings >= 3; }));
    queue->sync([&] {
        this->backend.hostClock().sleep(3000); // so that a firing waits behind this
        timer->cancel();
        atCancel = firings.load();
    });
    this->letPassFivePeriods(*queue);
    EXPECT_EQ(firings, atCancel);
}

TYPED_TEST_P(DispatchQueueConformance, aTimerMayCancelItselfInItsHandler) {
    std::atomic<int> firings{0};
    const auto queue = this->makeQueue();
    std::unique_ptr<DispatchTimer> timer;
    timer = queue->makeTimer({0, this->kMillisecond, 0}, [&] {
        if (++firings == 2) timer->cancel();
    });
    timer->resume();
    ASSERT_TRUE(this->backend.waitUntil([&] { return firings >= 2; }));
    this->letPassFivePeriods(*queue);
    EXPECT_EQ(firings, 2);
}

TYPED_TEST_P(DispatchQueueConformance, cancellingDoesNotWaitForALockThatTheHandlerTakes) {
    Mutex mutex;
    std::atomic<int> firings{0};
    const auto queue = this->makeQueue();
    const auto timer = queue->makeTimer({0, this->kMillisecond, 0}, [&] {
        MutexLock lock(mutex);
        ++firings;
    });
    timer->resume();
    ASSERT_TRUE(this->backend.waitUntil([&] { return firings >= 2; }));
    {
        MutexLock lock(mutex);
        timer->cancel();
    }
    queue->sync([] {});
}

TYPED_TEST_P(DispatchQueueConformance, destroyingATimerEndsItsFirings) {
    auto firings = std::make_shared<std::atomic<int>>(0);
    const auto queue = this->makeQueue();
    auto timer = queue->makeTimer({0, this->kMillisecond, 0}, [firings] { ++*firings; });
    timer->resume();
    ASSERT_TRUE(this->backend.waitUntil([&] { return *firings >= 2; }));
    int atEnd = 0;
    queue->sync([&] {
        timer = nullptr;
        atEnd = *firings;
    });
    this->letPassFivePeriods(*queue);
    EXPECT_EQ(*firings, atEnd);
    EXPECT_TRUE(this->backend.waitUntil([&] { return firings.use_count() == 1; }));
}

REGISTER_TYPED_TEST_SUITE_P(DispatchQueueConformance, aQueueKeepsItsLabel,
                            workRunsInTheOrderGivenAndOneAtATime, workGivenByWorkRunsAfterItNeverInIt,
                            syncRunsAfterAllThatWasQueuedAndReturnsWhenDone,
                            syncFromAnotherQueueReturnsWhenDone, workStillQueuedWhenTheLastReferenceGoesIsRun,
                            aQueueMayLetGoOfItselfInItsOwnWork, whatTheWorkHeldIsLetGoAfterIt,
                            theGlobalQueuesRunDetachedWork, aPieceThatSleepsHoldsUpNoOtherPieceOfAGlobalQueue,
                            aTimerIsMadeSuspended, noFiringComesBeforeItIsDue,
                            firingsThatAQueueCouldNotHandleAreLeftOutAndTheScheduleStays,
                            noFiringBeginsAfterACancelOnTheTimersQueue, aTimerMayCancelItselfInItsHandler,
                            cancellingDoesNotWaitForALockThatTheHandlerTakes, destroyingATimerEndsItsFirings);

} // namespace vintra
