#include "BeatFixture.h"

namespace vintra {
namespace {

using Totals = ScreenBeat::Totals;
using Slots = std::vector<int64_t>;

class ScreenBeatTest : public BeatFixture {};

TEST_F(ScreenBeatTest, framesOnEverySlotNeedNoCopies) {
    begin(30);
    for (int64_t slot = 0; slot < 90; ++slot)
        captureAt(slot);
    EXPECT_EQ(finishAt(3.0), (Totals{0, 0, 0}));
    EXPECT_EQ(slots(), slotRange(0, 89));
    EXPECT_TRUE(lost.empty());
}

TEST_F(ScreenBeatTest, theTrackIsPaddedUpToTheStop) {
    begin(30);
    for (int64_t slot = 0; slot < 30; ++slot)
        captureAt(slot);
    // 1.05 s is slot 31.5: the last slot that begins before it is 31.
    EXPECT_EQ(finishAt(1.05), (Totals{2, 0, 0}));
    EXPECT_EQ(slots(), slotRange(0, 31));
}

TEST_F(ScreenBeatTest, aCopySharesTheImageOfTheLastFrame) {
    begin(30);
    const auto first = captureAt(0);
    const auto second = captureAt(1);
    finishAt(0.1); // slot 3 begins at the stop
    ASSERT_EQ(slots(), slotRange(0, 2));
    EXPECT_EQ(input->appended[0].imageBuffer(), first.imageBuffer());
    EXPECT_EQ(input->appended[1].imageBuffer(), second.imageBuffer());
    EXPECT_EQ(input->appended[2].imageBuffer(), second.imageBuffer());
}

TEST_F(ScreenBeatTest, wroteIsToldTheEndOfEachSample) {
    begin(30);
    captureAt(0);
    captureAt(1);
    finishAt(0.1);
    ASSERT_EQ(wrote.size(), 3u);
    for (int64_t slot = 0; slot < 3; ++slot) {
        EXPECT_EQ(wrote[static_cast<size_t>(slot)], anchor + CMTimeMake(slot + 1, 30));
    }
}

TEST_F(ScreenBeatTest, onAStillScreenCopiesFollowThreeSlotsBehindThePresent) {
    begin(30);
    for (int64_t slot = 0; slot <= 100; ++slot)
        captureAt(slot);
    // The timer's period is 1/30 s cut to whole nanoseconds, so firing k comes just before slot k begins and
    // finds slot k - 1 to be the present. Firing 104 is the last before 3.48 s: nothing to copy yet.
    runTo(3.48);
    EXPECT_EQ(slots(), slotRange(0, 100));
    runTo(3.51); // firing 105: present 104, copies up to 101
    EXPECT_EQ(slots(), slotRange(0, 101));
    runTo(13.34); // firing 400
    EXPECT_EQ(slots(), slotRange(0, 396));
}

TEST_F(ScreenBeatTest, aFrameAfterAStillScreenGoesOnItsOwnSlot) {
    begin(30);
    for (int64_t slot = 0; slot <= 100; ++slot)
        captureAt(slot);
    // 13.36 s is slot 400.8. Copies have come to 396; the frame goes on 401, after four more.
    const auto late = capture(CMTimeMake(1336, 100));
    EXPECT_EQ(slots(), slotRange(0, 401));
    EXPECT_EQ(input->appended.back().imageBuffer(), late.imageBuffer());
    EXPECT_EQ(finishAt(13.37), (Totals{300, 0, 0}));
}

TEST_F(ScreenBeatTest, aFrameThatCopiesHaveRunPastIsLeftOut) {
    begin(30);
    for (int64_t slot = 0; slot <= 100; ++slot)
        captureAt(slot);
    deliver(CMTimeMake(12, 1), 13.361); // slot 360, and copies have come to 396
    EXPECT_EQ(slots(), slotRange(0, 396));
    EXPECT_TRUE(lost.empty());
    EXPECT_EQ(finishAt(13.37).leftOut, 1);
}

TEST_F(ScreenBeatTest, aGapOfThreeIsFilledBeforeTheFrame) {
    begin(30);
    captureAt(0);
    const auto late = captureAt(4);
    EXPECT_EQ(slots(), slotRange(0, 4));
    EXPECT_EQ(input->appended[3].imageBuffer(), input->appended[0].imageBuffer());
    EXPECT_EQ(input->appended[4].imageBuffer(), late.imageBuffer());
    EXPECT_EQ(finish(CMTimeMake(4, 30)), (Totals{3, 0, 0}));
}

TEST_F(ScreenBeatTest, aGapOfFourIsFilledAndAGapOfFiveIsSkipped) {
    holdTimerBack(10);
    begin(30);
    captureAt(0);
    captureAt(5);
    EXPECT_EQ(slots(), slotRange(0, 5));
    captureAt(11);
    EXPECT_EQ(slots(), (Slots{0, 1, 2, 3, 4, 5, 11}));
    EXPECT_EQ(finish(CMTimeMake(11, 30)), (Totals{4, 0, 5}));
}

TEST_F(ScreenBeatTest, aTimerFiveSlotsBehindGoesStraightToItsTarget) {
    holdTimerBack(8.5 / 30);
    begin(30);
    captureAt(0);
    runTo(0.29); // the one firing so far: present 8, target 5
    EXPECT_EQ(slots(), (Slots{0, 5}));
    runTo(0.34); // firing 10: present 9, target 6
    EXPECT_EQ(slots(), (Slots{0, 5, 6}));
    EXPECT_EQ(finish(CMTimeMake(6, 30)), (Totals{2, 0, 4}));
}

TEST_F(ScreenBeatTest, aTimerFourSlotsBehindFillsThemAll) {
    holdTimerBack(7.5 / 30);
    begin(30);
    captureAt(0);
    runTo(0.26); // the one firing so far: present 7, target 4
    EXPECT_EQ(slots(), slotRange(0, 4));
    EXPECT_EQ(finish(CMTimeMake(4, 30)), (Totals{4, 0, 0}));
}

TEST_F(ScreenBeatTest, above30NoGapIsFilledAndTheTrackEndsWithOneCopy) {
    begin(60);
    captureAt(0);
    captureAt(2);
    captureAt(50);
    runTo(1.9);
    EXPECT_EQ(slots(), (Slots{0, 2, 50}));
    EXPECT_EQ(finishAt(2.0), (Totals{1, 0, 0}));
    EXPECT_EQ(slots(), (Slots{0, 2, 50, 119}));
}

TEST_F(ScreenBeatTest, above30NoCopyEndsATrackWhoseLastFrameReachesTheStop) {
    begin(60);
    captureAt(0);
    captureAt(119);
    EXPECT_EQ(finishAt(2.0), (Totals{0, 0, 0}));
    EXPECT_EQ(slots(), (Slots{0, 119}));
}

TEST_F(ScreenBeatTest, thirtyIsTheFastestRateThatFills) {
    begin(30);
    captureAt(0);
    runTo(1);
    EXPECT_GT(input->appended.size(), 1u);
}

TEST_F(ScreenBeatTest, thirtyOneDoesNotFill) {
    begin(31);
    captureAt(0);
    runTo(1);
    EXPECT_EQ(input->appended.size(), 1u);
}

TEST_F(ScreenBeatTest, aFrameOnTheStartGoesOnSlotZero) {
    begin(30);
    capture(kCMTimeZero);
    ASSERT_EQ(input->appended.size(), 1u);
    EXPECT_EQ(input->appended[0].presentationTimeStamp(), anchor);
}

TEST_F(ScreenBeatTest, theGridTakesThePhaseOfTheFirstFrame) {
    begin(30);
    capture(CMTimeMake(255, 10'000));
    finishAt(0.16); // (0.16 - 0.025) × 30 = 4.05: the last slot is 4
    EXPECT_EQ(slots(15), slotRange(0, 4));
}

TEST_F(ScreenBeatTest, aFirstFrameTwoSecondsInSkipsNothing) {
    begin(30);
    capture(CMTimeMake(2, 1));
    EXPECT_EQ(slots(), (Slots{60}));
    EXPECT_EQ(finish(CMTimeMake(2, 1)), (Totals{0, 0, 0}));
}

TEST_F(ScreenBeatTest, framesWithoutAPlaceAreLeftOutSilently) {
    begin(30);
    deliver(CMTimeMake(-1, 30), 0.001);
    EXPECT_TRUE(slots().empty());
    queue->sync([&] { beat->frame(picture(kCMTimeInvalid)); });
    captureAt(0);
    deliver(CMTimeMake(1, 100), 0.02); // slot 0.3, of which the next is 1: 0.7 early
    EXPECT_EQ(slots(), (Slots{0}));
    EXPECT_EQ(finish(CMTimeMake(1, 30)), (Totals{0, 3, 0}));
    EXPECT_TRUE(lost.empty());
}

TEST_F(ScreenBeatTest, aTakeWithoutAFrameHasNoPadding) {
    begin(30);
    EXPECT_EQ(finishAt(5), (Totals{0, 0, 0}));
    EXPECT_TRUE(input->appended.empty());
    EXPECT_TRUE(logged().empty());
}

TEST_F(ScreenBeatTest, nothingIsWrittenAfterFinish) {
    begin(30);
    captureAt(0);
    finishAt(0.1);
    const size_t written = input->appended.size();
    captureAt(5);
    runTo(2);
    EXPECT_EQ(finishAt(3), (Totals{2, 0, 0}));
    EXPECT_EQ(input->appended.size(), written);
}

TEST_F(ScreenBeatTest, aCancelledBeatIgnoresFramesAndReportsNothing) {
    begin(30);
    captureAt(0);
    input->ready = [] { return false; };
    captureAt(1);
    beat->cancel();
    input->ready = [] { return true; };
    captureAt(2);
    captureAt(3);
    runTo(2);
    EXPECT_EQ(slots(), (Slots{0}));
    EXPECT_TRUE(lost.empty());
    finishAt(3);
    EXPECT_EQ(slots(), (Slots{0}));
}

TEST_F(ScreenBeatTest, anIdleBeatIgnoresFrames) {
    anchor = machine.now();
    beat->frame(picture(anchor));
    EXPECT_EQ(beat->finish(anchor), (Totals{0, 0, 0}));
    beat->cancel();
}

TEST_F(ScreenBeatTest, beginRestartsEverything) {
    begin(30);
    captureAt(0);
    deliver(CMTimeMake(-1, 30), 0.01);
    runTo(1);
    input->appended.clear();
    const auto second = std::make_shared<ScriptedInput>();
    beat->begin({.at = machine.now(),
                 .rate = 60,
                 .into = second,
                 .on = queue,
                 .wrote = [](CMTime) {},
                 .lost = [](CMTime) {},
                 .writerStatus = [] { return "no writer"; }});
    const CMTime newAnchor = machine.now();
    queue->sync([&] { beat->frame(picture(newAnchor)); });
    machine.run(1);
    EXPECT_TRUE(input->appended.empty()); // the first timer is gone
    ASSERT_EQ(second->appended.size(), 1u);
    EXPECT_EQ(second->appended[0].presentationTimeStamp(), newAnchor);
    EXPECT_EQ(beat->finish(newAnchor), (Totals{0, 0, 0}));
}

TEST_F(ScreenBeatTest, theTimerDoesNotKeepTheBeatAlive) {
    begin(30);
    captureAt(0);
    const std::weak_ptr<ScreenBeat> watched = beat;
    beat.reset();
    EXPECT_TRUE(watched.expired());
    runTo(1);
    EXPECT_EQ(slots(), (Slots{0}));
}

} // namespace
} // namespace vintra
