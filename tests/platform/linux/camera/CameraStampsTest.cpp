#include "Vintra/platform/linux/camera/CameraStamps.h"

#include <gtest/gtest.h>

namespace vintra {
namespace {

constexpr int64_t kMillisecond = 1'000'000;
constexpr int64_t kArrival = 5'000'000 * kMillisecond;

TEST(CameraStampsTest, whatTheCameraStampedCounts) {
    CameraStamps stamps;
    EXPECT_EQ(
        stamps.stamp(
            {.header = kArrival - 40 * kMillisecond, .cycle = kArrival - kMillisecond, .arrival = kArrival}),
        kArrival - 40 * kMillisecond);
}

TEST(CameraStampsTest, withoutAStampTheCycleCountsAndThenTheArrival) {
    CameraStamps stamps;
    EXPECT_EQ(stamps.stamp({.header = 0, .cycle = kArrival - kMillisecond, .arrival = kArrival}),
              kArrival - kMillisecond);
    EXPECT_EQ(stamps.stamp({.header = 0, .cycle = 0, .arrival = kArrival + 33 * kMillisecond}),
              kArrival + 33 * kMillisecond);
}

TEST(CameraStampsTest, aStampOfAnotherClockIsNotBelieved) {
    for (const int64_t wrong : {int64_t{1}, kArrival - 1001 * kMillisecond, kArrival + 21 * kMillisecond,
                                int64_t{1'790'000'000} * 1'000'000'000}) {
        CameraStamps stamps;
        EXPECT_EQ(stamps.stamp({.header = wrong, .cycle = 0, .arrival = kArrival}), kArrival) << wrong;
    }
}

TEST(CameraStampsTest, noPictureComesBeforeItWasTakenOrBeforeTheOneBeforeIt) {
    CameraStamps stamps;
    EXPECT_EQ(stamps.stamp({.header = kArrival + 5 * kMillisecond, .cycle = 0, .arrival = kArrival}),
              kArrival);
    const int64_t again =
        stamps.stamp({.header = kArrival, .cycle = 0, .arrival = kArrival + 30 * kMillisecond});
    EXPECT_EQ(again, kArrival + 30 * kMillisecond) << "a stamp that comes twice says nothing";
    EXPECT_GT(stamps.stamp({.header = 0, .cycle = 0, .arrival = kArrival}), again);
}

} // namespace
} // namespace vintra
