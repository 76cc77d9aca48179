#include "Vintra/video/SlotGrid.h"
#include "tests/video/HostTimes.h"

#include <gtest/gtest.h>
#include <limits>

namespace vintra {
namespace {

TEST(SlotGridTest, aFrameOnTheAnchorTakesSlotZeroAtPhaseZero) {
    SlotGrid grid = SlotGrid::begin(kStart, 30);
    EXPECT_FALSE(grid.isFixed());
    EXPECT_EQ(grid.slot(kStart, -1), 0);
    EXPECT_EQ(grid.phase, 0.0);
    EXPECT_EQ(describe(grid.startOf(0)), "36000000000/7200000");
}

TEST(SlotGridTest, theFirstFrameFixesThePhaseToASixHundredth) {
    SlotGrid grid = SlotGrid::begin(kStart, 30);
    // 0.0255 s × 600 = 15.3: the phase is 15/600 s = 0.025 s and the frame stands 0.015 slots on.
    EXPECT_EQ(grid.slot(after(0.0255), -1), 0);
    EXPECT_EQ(grid.phase, 0.025);
    // 0.025 s and 7/30 s are 180,000 and 1,680,000 ticks.
    EXPECT_EQ(describe(grid.startOf(7)), "36001860000/7200000");
    // The next frame leaves the phase alone.
    EXPECT_EQ(grid.slot(after(0.0650), 0), 1);
    EXPECT_EQ(grid.phase, 0.025);
}

TEST(SlotGridTest, aFirstFrameTwoSecondsOnStandsWhereItWasCaptured) {
    SlotGrid grid = SlotGrid::begin(kStart, 30);
    const auto slot = grid.slot(after(2.0), -1);
    ASSERT_TRUE(slot);
    EXPECT_EQ(grid.startOf(*slot), after(2.0));
}

TEST(SlotGridTest, aFrameWithin065OfASlotTakesTheNextOne) {
    SlotGrid grid = SlotGrid::begin(kStart, 30);
    ASSERT_EQ(grid.slot(kStart, -1), 0);
    // The slot after 9 is 10. Rounding would send 10.64 to 11 and 9.36 to 9.
    EXPECT_EQ(grid.slot(after(10.64 / 30), 9), 10);
    EXPECT_EQ(grid.slot(after(9.36 / 30), 9), 10);
    EXPECT_EQ(grid.slot(after(10.0 / 30), 9), 10);
}

TEST(SlotGridTest, aFrameFurtherOnTakesTheNearestSlot) {
    SlotGrid grid = SlotGrid::begin(kStart, 30);
    ASSERT_EQ(grid.slot(kStart, -1), 0);
    EXPECT_EQ(grid.slot(after(10.66 / 30), 9), 11);
    EXPECT_EQ(grid.slot(after(57.4 / 30), 9), 57);
}

TEST(SlotGridTest, aFrameMoreThan065EarlyHasNoSlot) {
    SlotGrid grid = SlotGrid::begin(kStart, 30);
    ASSERT_EQ(grid.slot(kStart, -1), 0);
    EXPECT_EQ(grid.slot(after(9.34 / 30), 9), std::nullopt);
    EXPECT_EQ(grid.slot(after(2.0 / 30), 9), std::nullopt);
}

TEST(SlotGridTest, aFrameFromBeforeTheAnchorHasNoSlotAndFixesNothing) {
    SlotGrid grid = SlotGrid::begin(kStart, 30);
    EXPECT_EQ(grid.slot(kStart - CMTimeMake(1, 7'200'000), -1), std::nullopt);
    EXPECT_FALSE(grid.phase);
}

TEST(SlotGridTest, aTimeThatIsNotNumericHasNoSlot) {
    SlotGrid grid = SlotGrid::begin(kStart, 30);
    EXPECT_EQ(grid.slot(kCMTimeInvalid, -1), std::nullopt);
    EXPECT_EQ(grid.slot(kCMTimePositiveInfinity, -1), std::nullopt);
    EXPECT_EQ(grid.slot(kCMTimeIndefinite, -1), std::nullopt);
    EXPECT_FALSE(grid.phase);
    SlotGrid withoutAnchor = SlotGrid::begin(kCMTimeInvalid, 30);
    EXPECT_EQ(withoutAnchor.slot(kStart, -1), std::nullopt);
    EXPECT_FALSE(withoutAnchor.isFixed());
}

TEST(SlotGridTest, untilItIsFixedThePresentIsSlotZeroAndNoSlotIsTheLast) {
    const SlotGrid grid = SlotGrid::begin(kStart, 30);
    EXPECT_EQ(grid.slotAt(after(100)), 0);
    EXPECT_EQ(grid.lastSlotBefore(after(100)), std::nullopt);
}

TEST(SlotGridTest, thePresentIsRoundedDownAndTheLastSlotBeginsBeforeTheEnd) {
    SlotGrid grid = SlotGrid::begin(kStart, 24);
    ASSERT_EQ(grid.slot(kStart, -1), 0);
    EXPECT_EQ(grid.slotAt(after(1.49)), 35); // 35.76
    EXPECT_EQ(grid.slotAt(after(1.5)), 36);
    EXPECT_EQ(grid.lastSlotBefore(after(1.5)), 35); // slot 36 begins at the end, not before it
    EXPECT_EQ(grid.lastSlotBefore(after(1.51)), 36);
    EXPECT_EQ(grid.slotAt(kStart - CMTimeMake(1, 24)), -1);
}

TEST(SlotGridTest, aRateBelowOneCountsAsOne) {
    EXPECT_EQ(SlotGrid::begin(kStart, 0).rate, 1);
    EXPECT_EQ(SlotGrid::begin(kStart, -24).rate, 1);
}

TEST(SlotGridTest, theCalmTimeIsHalfASecondOfSlotsAndAtLeastOne) {
    EXPECT_EQ(SlotGrid::begin(kStart, 1).calmSlots(), 1);
    EXPECT_EQ(SlotGrid::begin(kStart, 3).calmSlots(), 1);
    EXPECT_EQ(SlotGrid::begin(kStart, 4).calmSlots(), 2);
    EXPECT_EQ(SlotGrid::begin(kStart, 25).calmSlots(), 12);
    EXPECT_EQ(SlotGrid::begin(kStart, 60).calmSlots(), 30);
}

TEST(SlotGridTest, everySlotOfADayIsExactAtEveryRate) {
    for (const int32_t rate : {24, 25, 30, 48, 50, 60, 120, 240}) {
        SlotGrid grid = SlotGrid::begin(kStart, rate);
        ASSERT_TRUE(grid.slot(after(0.0017), -1)); // 1.02 of 1/600 s: a phase of 12,000 ticks
        for (int64_t second = 0; second <= 86'400; second += 977) {
            const CMTime start = grid.startOf(second * rate + 1);
            const int64_t ticks = 36'000'012'000 + second * 7'200'000 + 7'200'000 / rate;
            EXPECT_EQ(describe(start), std::to_string(ticks) + "/7200000") << rate;
        }
    }
}

TEST(SlotGridDeathTest, aSlotBeyond64BitsStopsTheProcess) {
    SlotGrid grid = SlotGrid::begin(kCMTimeZero, 60);
    ASSERT_EQ(grid.slot(kCMTimeZero, -1), 0);
    const CMTime farAway = CMTimeMake(std::numeric_limits<int64_t>::max(), 1);
    EXPECT_DEATH(grid.slot(farAway, 0), "program fault");
    EXPECT_DEATH(grid.slotAt(farAway), "program fault");
    EXPECT_DEATH(grid.lastSlotBefore(kCMTimeInvalid), "program fault");
    EXPECT_DEATH(grid.slot(farAway, std::numeric_limits<int64_t>::max()), "program fault");
}

} // namespace
} // namespace vintra
