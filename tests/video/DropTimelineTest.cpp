#include "Vintra/video/DropTimeline.h"
#include "tests/video/HostTimes.h"

#include "Vintra/video/DropCounter.h"
#include "Vintra/video/ScreenDropSummary.h"

#include <gtest/gtest.h>

namespace vintra {
namespace {

TEST(DropTimelineTest, lossesAreKeptInSecondsSinceTheStart) {
    DropTimeline timeline;
    timeline.begin(kStart);
    timeline.record(kStart + CMTimeMake(5, 2));
    timeline.record(kStart + CMTimeMake(1, 4));
    EXPECT_EQ(timeline.take(), (std::vector<double>{2.5, 0.25}));
}

TEST(DropTimelineTest, of600LossesTheFirst512AreKeptAndAllAreCounted) {
    DropTimeline timeline;
    DropCounter counter;
    timeline.begin(kStart);
    for (int n = 0; n < 600; ++n) {
        counter.add(1);
        timeline.record(kStart + CMTimeMake(n, 1));
    }
    const auto times = timeline.take();
    EXPECT_EQ(counter.read(), 600);
    ASSERT_EQ(times.size(), 512u);
    EXPECT_EQ(times.back(), 511);
    EXPECT_EQ(screenDropSummary(times, "").find("last take dropped 512 screen frames"), 0u);
}

TEST(DropTimelineTest, outsideATakeNothingIsRecorded) {
    DropTimeline timeline;
    timeline.record(kStart);
    EXPECT_TRUE(timeline.take().empty());
    timeline.begin(kStart);
    timeline.record(kStart);
    EXPECT_EQ(timeline.take().size(), 1u);
    timeline.record(kStart);
    EXPECT_TRUE(timeline.take().empty());
}

TEST(DropTimelineTest, beginForgetsTheTakeBefore) {
    DropTimeline timeline;
    timeline.begin(kStart);
    timeline.record(kStart);
    timeline.begin(kStart);
    EXPECT_TRUE(timeline.take().empty());
}

TEST(DropTimelineTest, aTimeThatIsNotNumericIsNotRecorded) {
    DropTimeline timeline;
    timeline.begin(kStart);
    timeline.record(kCMTimeInvalid);
    timeline.record(kCMTimePositiveInfinity);
    EXPECT_TRUE(timeline.take().empty());
}

TEST(ScreenDropSummaryTest, aTakeWithoutLossesSaysSo) {
    EXPECT_EQ(screenDropSummary({}, ""), "last take dropped no screen frames");
    EXPECT_EQ(screenDropSummary({}, "on a beat"), "last take dropped no screen frames · on a beat");
}

TEST(ScreenDropSummaryTest, lossesAreSpreadOverTensOfSeconds) {
    EXPECT_EQ(screenDropSummary({1, 12, 15}, ""), "last take dropped 3 screen frames · first at 1.00s, "
                                                  "last at 15.00s · 1 in the first 3s · 0–10s: 1, 10–20s: 2");
}

TEST(ScreenDropSummaryTest, aLossAtThreeSecondsIsNoLongerInTheFirstThree) {
    EXPECT_EQ(screenDropSummary({3.0, 2.996}, "on a beat"),
              "last take dropped 2 screen frames · first at 3.00s, "
              "last at 3.00s · 1 in the first 3s · 0–10s: 2 · on a beat");
}

TEST(ScreenDropSummaryTest, bucketsWithoutLossesAreLeftOutAndTheirOrderIsThatOfTime) {
    EXPECT_EQ(screenDropSummary({125.25, 9.99, 10, -4}, ""),
              "last take dropped 4 screen frames · first at -4.00s, last at 125.25s · 1 in the first 3s · "
              "0–10s: 2, 10–20s: 1, 120–130s: 1");
}

} // namespace
} // namespace vintra
