#pragma once

#include "Vintra/platform/DispatchQueue.h"
#include "Vintra/platform/MainThread.h"
#include "Vintra/platform/Task.h"

#include <atomic>
#include <functional>
#include <gtest/gtest.h>
#include <utility>
#include <vector>

namespace vintra {

/// What every main thread owes. The test's own thread is the main thread. A backend's test names its own
/// `Backend`, made afresh for each test:
///
///     struct Backend {
///         MainThread& mainThread();
///         DispatchQueues& dispatchQueues();
///         bool waitUntil(const std::function<bool()>& done);   // runs the main thread; false: it never came
///     };
///     INSTANTIATE_TYPED_TEST_SUITE_P(Linux, MainThreadConformance, Backend);
template <typename Backend>
class MainThreadConformance : public ::testing::Test {
protected:
    Backend backend;
};

TYPED_TEST_SUITE_P(MainThreadConformance);

TYPED_TEST_P(MainThreadConformance, postedWorkRunsLaterInTheOrderOfPosting) {
    std::vector<int> heard;
    for (int i = 0; i < 10; ++i)
        this->backend.mainThread().post([&, i] { heard.push_back(i); });
    EXPECT_TRUE(heard.empty());
    ASSERT_TRUE(this->backend.waitUntil([&] { return heard.size() == 10; }));
    EXPECT_EQ(heard, (std::vector<int>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9}));
}

TYPED_TEST_P(MainThreadConformance, workPostedByWorkRunsAfterIt) {
    std::vector<int> heard;
    MainThread& main = this->backend.mainThread();
    main.post([&] {
        main.post([&] { heard.push_back(3); });
        heard.push_back(1);
    });
    main.post([&] { heard.push_back(2); });
    ASSERT_TRUE(this->backend.waitUntil([&] { return heard.size() == 3; }));
    EXPECT_EQ(heard, (std::vector<int>{1, 2, 3}));
}

TYPED_TEST_P(MainThreadConformance, onlyTheMainThreadIsCurrentOnIt) {
    MainThread& main = this->backend.mainThread();
    EXPECT_TRUE(main.isCurrent());
    std::atomic<bool> onQueue{true};
    std::atomic<bool> onMain{false};
    std::atomic<bool> isDone{false};
    const auto queue = this->backend.dispatchQueues().makeSerialQueue("other");
    queue->async([&] {
        onQueue = main.isCurrent();
        main.post([&] {
            onMain = main.isCurrent();
            isDone = true;
        });
    });
    ASSERT_TRUE(this->backend.waitUntil([&] { return isDone.load(); }));
    EXPECT_FALSE(onQueue);
    EXPECT_TRUE(onMain);
}

TYPED_TEST_P(MainThreadConformance, postsOfOneQueueKeepTheirOrder) {
    std::vector<int> heard;
    MainThread& main = this->backend.mainThread();
    const auto queue = this->backend.dispatchQueues().makeSerialQueue("other");
    for (int i = 0; i < 100; ++i)
        queue->async([&, i] { main.post([&, i] { heard.push_back(i); }); });
    ASSERT_TRUE(this->backend.waitUntil([&] { return heard.size() == 100; }));
    for (int i = 0; i < 100; ++i)
        EXPECT_EQ(heard[static_cast<size_t>(i)], i);
}

TYPED_TEST_P(MainThreadConformance, whatTheWorkHeldIsLetGoAfterIt) {
    auto held = std::make_shared<int>(0);
    const std::weak_ptr<int> watched = held;
    this->backend.mainThread().post([held = std::move(held)] {});
    EXPECT_TRUE(this->backend.waitUntil([&] { return watched.expired(); }));
}

namespace mainThreadConformance {
/// Waits for an answer that another queue gives, and says on which thread it went on.
inline Task<void> askAnotherQueue(MainThread& main, std::shared_ptr<DispatchQueue> queue, int* answer,
                                  bool* wasOnMain) {
    auto begin = [queue](std::function<void(int)> done) { queue->async([done] { done(42); }); };
    *answer = co_await awaitCompletion<int>(main, begin);
    *wasOnMain = main.isCurrent();
}
} // namespace mainThreadConformance

TYPED_TEST_P(MainThreadConformance, aTaskGoesOnOnItAfterAnAnswerFromAnotherQueue) {
    int answer = 0;
    bool wasOnMain = false;
    MainThread& main = this->backend.mainThread();
    TaskScope scope;
    scope.start(mainThreadConformance::askAnotherQueue(
        main, this->backend.dispatchQueues().makeSerialQueue("other"), &answer, &wasOnMain));
    ASSERT_TRUE(this->backend.waitUntil([&] { return scope.isIdle(); }));
    EXPECT_EQ(answer, 42);
    EXPECT_TRUE(wasOnMain);
}

REGISTER_TYPED_TEST_SUITE_P(MainThreadConformance, postedWorkRunsLaterInTheOrderOfPosting,
                            workPostedByWorkRunsAfterIt, onlyTheMainThreadIsCurrentOnIt,
                            postsOfOneQueueKeepTheirOrder, whatTheWorkHeldIsLetGoAfterIt,
                            aTaskGoesOnOnItAfterAnAnswerFromAnotherQueue);

} // namespace vintra
