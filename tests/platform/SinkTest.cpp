#include "Vintra/platform/Sink.h"

#include <atomic>
#include <gtest/gtest.h>
#include <thread>

namespace vintra {
namespace {

TEST(SinkTest, itHoldsWhatItWasFilledWithUntilItIsEmptied) {
    Sink<int> sink;
    EXPECT_FALSE(sink.get());
    sink.fill(1);
    EXPECT_EQ(sink.get(), 1);
    sink.fill(2);
    EXPECT_EQ(sink.get(), 2);
    sink.empty();
    EXPECT_FALSE(sink.get());
    sink.empty();
    EXPECT_FALSE(sink.get());
}

TEST(SinkTest, whatItHeldIsLetGoOfOutsideTheLock) {
    Sink<std::shared_ptr<void>> sink;
    bool sawNothing = false;
    // A destructor that comes back to the sink would wait forever if it ran with the lock held.
    const auto filled = [&] {
        return std::shared_ptr<void>(nullptr, [&](void*) { sawNothing = !sink.get().has_value(); });
    };
    sink.fill(filled());
    sink.empty();
    EXPECT_TRUE(sawNothing);
    sink.fill(filled());
    sink.fill(nullptr);
    EXPECT_FALSE(sawNothing) << "the new value is in place before the old one goes";
}

TEST(SinkTest, aTakeInUseLivesOnWhenTheSinkIsEmptied) {
    Sink<std::shared_ptr<int>> sink;
    sink.fill(std::make_shared<int>(3));
    const auto taken = sink.get();
    sink.empty();
    ASSERT_TRUE(taken);
    EXPECT_EQ(**taken, 3);
}

TEST(SinkTest, readersOnOtherThreadsSeeWholeValues) {
    Sink<std::shared_ptr<const std::pair<int, int>>> sink;
    std::atomic<bool> isDone{false};
    std::atomic<int> torn{0};
    std::thread reader([&] {
        while (!isDone) {
            const auto value = sink.get();
            if (value && (*value)->first != (*value)->second) ++torn;
        }
    });
    for (int i = 0; i < 10'000; ++i) {
        sink.fill(std::make_shared<const std::pair<int, int>>(i, i));
        if (i % 3 == 0) sink.empty();
    }
    isDone = true;
    reader.join();
    EXPECT_EQ(torn, 0);
}

} // namespace
} // namespace vintra
