#include "Vintra/platform/linux/pipewire/SampleStamps.h"
#include "tests/support/Nanoseconds.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <random>

namespace vintra {
namespace {

constexpr int64_t kStart = 1'234'567'890'123;

TEST(SampleStamps, theFirstBufferHasTheGraphsTime) {
    SampleStamps stamps(48'000);
    EXPECT_EQ(stamps.stamp(kStart, 512), kStart);
    EXPECT_EQ(stamps.gaps(), 0u);
}

TEST(SampleStamps, buffersOnTimeFollowWithoutError) {
    // 512 frames at 44,100 Hz are no whole number of nanoseconds; 44,100 such buffers are 512 s.
    SampleStamps stamps(44'100);
    for (int64_t buffer = 0; buffer <= 44'100; ++buffer) {
        const int64_t exact = kStart + buffer * 512 * kSecond / 44'100;
        const int64_t stamp = stamps.stamp(exact, 512);
        ASSERT_LE(std::llabs(stamp - exact), 1) << buffer;
    }
    EXPECT_EQ(stamps.gaps(), 0u);
}

TEST(SampleStamps, jitterOfTheGraphHardlyShows) {
    const auto seed = std::random_device{}();
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    std::uniform_int_distribution<int64_t> jitter(-200'000, 200'000);
    SampleStamps stamps(48'000);
    int64_t before = 0;
    for (int64_t buffer = 0; buffer < 10'000; ++buffer) {
        const int64_t stamp = stamps.stamp(kStart + buffer * 10'000'000 + jitter(random), 480);
        if (buffer <= 100) before = stamp - 10'000'000; // the second in which it settles
        // 100 millionths of 10 ms.
        ASSERT_LE(std::llabs(stamp - before - 10'000'000), 1'000) << buffer;
        before = stamp;
    }
    EXPECT_EQ(stamps.gaps(), 0u);
}

TEST(SampleStamps, aFirstCycleThatBeganLateIsForgottenAtTheFirstOnTime) {
    SampleStamps stamps(48'000);
    EXPECT_EQ(stamps.stamp(kStart + 1'900'000, 480), kStart + 1'900'000);
    EXPECT_EQ(stamps.stamp(kStart + 10'000'000 + 700'000, 480), kStart + 10'700'000);
    EXPECT_EQ(stamps.stamp(kStart + 20'000'000, 480), kStart + 20'000'000);
    EXPECT_EQ(stamps.stamp(kStart + 30'000'000 + 640, 480), kStart + 30'000'010);
    EXPECT_EQ(stamps.gaps(), 0u);
    for (int64_t buffer = 4; buffer < 100; ++buffer)
        stamps.stamp(kStart + buffer * 10'000'000, 480);
    // A second later it is jitter like any other.
    EXPECT_EQ(stamps.stamp(kStart + 1'000'000'000 - 640, 480), kStart + 1'000'000'000 - 10);
}

TEST(SampleStamps, aDifferenceOfTwoMillisecondsIsAGap) {
    SampleStamps stamps(48'000);
    stamps.stamp(kStart, 480);
    EXPECT_EQ(stamps.stamp(kStart + 10'000'000 + 2'000'000, 480), kStart + 12'000'000);
    EXPECT_EQ(stamps.stamp(kStart + 22'000'000, 480), kStart + 22'000'000);
    EXPECT_EQ(stamps.gaps(), 1u);
}

TEST(SampleStamps, aDifferenceJustBelowIsWornDownSlowly) {
    SampleStamps stamps(48'000);
    stamps.stamp(kStart, 480);
    EXPECT_EQ(stamps.stamp(kStart + 10'000'000 + 1'999'999, 480), kStart + 10'001'000);
    EXPECT_EQ(stamps.gaps(), 0u);
}

TEST(SampleStamps, aClockThatSlipsIsFollowedWithinThirtyTwoBuffers) {
    for (const int64_t slip : {1'700'000, -1'700'000}) {
        SampleStamps stamps(48'000);
        for (int64_t buffer = 0; buffer < 200; ++buffer)
            ASSERT_EQ(stamps.stamp(kStart + buffer * 10'000'000, 480), kStart + buffer * 10'000'000);
        int64_t off = slip;
        for (int64_t buffer = 200; buffer < 232; ++buffer) {
            const int64_t graph = kStart + buffer * 10'000'000 + slip;
            off = stamps.stamp(graph, 480) - graph;
        }
        EXPECT_LE(std::llabs(off), 32'000) << slip; // what 32 corrections of 1 µs have moved meanwhile
        EXPECT_EQ(stamps.gaps(), 0u);
    }
}

TEST(SampleStamps, fifteenLateCyclesAreJitterIfOneInBetweenIsOnTime) {
    SampleStamps stamps(48'000);
    for (int64_t buffer = 0; buffer < 1'000; ++buffer) {
        const int64_t lateness = buffer % 16 == 0 ? 0 : 1'500'000;
        const int64_t exact = kStart + buffer * 10'000'000;
        const int64_t stamp = stamps.stamp(exact + lateness, 480);
        // A microsecond a buffer.
        ASSERT_LE(std::llabs(stamp - exact), buffer * 1'000) << buffer;
    }
}

TEST(SampleStamps, aGraphThatGoesBackIsAGapToo) {
    SampleStamps stamps(48'000);
    stamps.stamp(kStart, 480);
    EXPECT_EQ(stamps.stamp(kStart - kSecond, 480), kStart - kSecond);
    EXPECT_EQ(stamps.gaps(), 1u);
}

TEST(SampleStamps, aDeviceThatRunsFastIsFollowedForTenMinutes) {
    // 50 millionths fast: 480 frames in 9,999,500 ns. A correction of 500 ns a buffer is a sixty-fourth of 32
    // µs.
    SampleStamps stamps(48'000);
    for (int64_t buffer = 0; buffer < 60'000; ++buffer) {
        const int64_t graph = kStart + buffer * 9'999'500;
        ASSERT_LE(std::llabs(stamps.stamp(graph, 480) - graph), 33'000) << buffer;
    }
    EXPECT_EQ(stamps.gaps(), 0u);
}

TEST(SampleStamps, buffersMayHaveAnyLength) {
    SampleStamps stamps(48'000);
    EXPECT_EQ(stamps.stamp(kStart, 1), kStart);
    EXPECT_EQ(stamps.stamp(kStart + 20'833, 96'000), kStart + 20'833);
    EXPECT_EQ(stamps.stamp(kStart + 2'000'020'833, 48), kStart + 2'000'020'833);
}

} // namespace
} // namespace vintra
