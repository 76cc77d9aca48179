#pragma once

#include "Vintra/platform/DispatchQueue.h"
#include "Vintra/platform/HostClock.h"

#include <atomic>
#include <functional>
#include <gtest/gtest.h>

namespace vintra {

/// What every host clock owes. A backend's test names its own `Backend`, made afresh for each test:
///
///     struct Backend {
///         HostClock& hostClock();
///         DispatchQueues& dispatchQueues();
///         bool waitUntil(const std::function<bool()>& done);   // lets time pass; false: it never came
///     };
///     INSTANTIATE_TYPED_TEST_SUITE_P(Linux, HostClockConformance, Backend);
template <typename Backend>
class HostClockConformance : public ::testing::Test {
protected:
    Backend backend;
};

TYPED_TEST_SUITE_P(HostClockConformance);

TYPED_TEST_P(HostClockConformance, timesAreNumericAtTheHostTimeScale) {
    const CMTime now = this->backend.hostClock().now();
    EXPECT_TRUE(now.isNumeric());
    EXPECT_EQ(now.timescale, kHostTimescale);
    EXPECT_FALSE(now.hasBeenRounded());
    EXPECT_GT(now, kCMTimeZero);
}

TYPED_TEST_P(HostClockConformance, itNeverGoesBack) {
    CMTime last = this->backend.hostClock().now();
    for (int reading = 0; reading < 10'000; ++reading) {
        const CMTime now = this->backend.hostClock().now();
        ASSERT_GE(now, last);
        last = now;
    }
}

TYPED_TEST_P(HostClockConformance, aSleepLastsAtLeastAsLongAsAsked) {
    HostClock& clock = this->backend.hostClock();
    const CMTime before = clock.now();
    clock.sleep(2000);
    // A tick of tolerance: both readings are rounded down to ticks.
    EXPECT_GE(clock.now() - before, CMTimeMake(2000, 1'000'000) - CMTimeMake(1, kHostTimescale));
}

TYPED_TEST_P(HostClockConformance, aSleepOfNothingReturns) {
    this->backend.hostClock().sleep(0);
    this->backend.hostClock().sleep(-1);
}

TYPED_TEST_P(HostClockConformance, otherQueuesWorkWhileOneSleeps) {
    HostClock& clock = this->backend.hostClock();
    const auto sleeper = this->backend.dispatchQueues().makeSerialQueue("sleeper");
    const auto other = this->backend.dispatchQueues().makeSerialQueue("other");
    std::atomic<bool> otherWorked{false};
    std::atomic<bool> sawIt{false};
    std::atomic<bool> isDone{false};
    sleeper->async([&] {
        other->async([&] { otherWorked = true; });
        for (int round = 0; round < 5000 && !otherWorked; ++round)
            clock.sleep(1000);
        sawIt = otherWorked.load();
        isDone = true;
    });
    ASSERT_TRUE(this->backend.waitUntil([&] { return isDone.load(); }));
    EXPECT_TRUE(sawIt);
}

REGISTER_TYPED_TEST_SUITE_P(HostClockConformance, timesAreNumericAtTheHostTimeScale, itNeverGoesBack,
                            aSleepLastsAtLeastAsLongAsAsked, aSleepOfNothingReturns,
                            otherQueuesWorkWhileOneSleeps);

} // namespace vintra
