#include "BeatFixture.h"

namespace vintra {
namespace {

using Totals = ScreenBeat::Totals;
using Slots = std::vector<int64_t>;

/// The beat before a writer that is behind or refuses.
class ScreenBeatWriterTest : public BeatFixture {
protected:
    void setReady(bool ready) {
        input->ready = [ready] { return ready; };
    }
    /// Frames in slots 0 and 3 are written, those of 1 and 2 lost, the second one in slot 3.
    void loseInSlotThree() {
        captureAt(0);
        setReady(false);
        captureAt(1);
        captureAt(2);
        setReady(true);
        captureAt(3);
        ASSERT_EQ(slots(), (Slots{0, 3}));
        ASSERT_EQ(lost.size(), 2u);
    }
};

TEST_F(ScreenBeatWriterTest, aFrameWaitsUntilTheWriterIsReady) {
    begin(30);
    setReady(false);
    captureAt(0);
    runTo(0.03);
    EXPECT_TRUE(slots().empty());
    setReady(true);
    runTo(0.04);
    EXPECT_EQ(slots(), (Slots{0}));
}

TEST_F(ScreenBeatWriterTest, aNewFrameReplacesTheOneThatWaits) {
    begin(30);
    captureAt(0);
    setReady(false);
    const auto older = captureAt(1);
    const auto newer = captureAt(2);
    EXPECT_EQ(lost, (std::vector<CMTime>{older.presentationTimeStamp()}));
    setReady(true);
    runTo(0.11);
    // So soon after a loss the gap at slot 1 stays empty.
    EXPECT_EQ(slots(), (Slots{0, 2}));
    EXPECT_EQ(input->appended[1].imageBuffer(), newer.imageBuffer());
    EXPECT_EQ(finish(CMTimeMake(2, 30)), (Totals{0, 0, 1}));
}

TEST_F(ScreenBeatWriterTest, copiesStopForHalfASecondAfterALoss) {
    begin(30);
    captureAt(0);
    setReady(false);
    captureAt(1);
    captureAt(2); // the loss, in slot 2
    setReady(true);
    // Copies are held back until the present is slot 17, which firing 18, at 0.6 s, is the first to find.
    runTo(0.59);
    EXPECT_EQ(slots(), (Slots{0, 2}));
    runTo(0.61);
    EXPECT_EQ(slots(), (Slots{0, 2, 14}));
    runTo(0.64);
    EXPECT_EQ(slots(), (Slots{0, 2, 14, 15}));
    EXPECT_EQ(finish(CMTimeMake(15, 30)), (Totals{2, 0, 12}));
}

TEST_F(ScreenBeatWriterTest, atRateFourTheCalmTimeIsTwoSlots) {
    holdTimerBack(100);
    begin(4);
    loseInSlotThree();
    // 4.7 slots, arriving in slot 4: one slot after the loss, so the gap at 4 stays empty.
    deliver(CMTimeMake(47, 40), 4.72 / 4);
    EXPECT_EQ(slots(), (Slots{0, 3, 5}));
    captureAt(7); // four slots after it
    EXPECT_EQ(slots(), (Slots{0, 3, 5, 6, 7}));
}

TEST_F(ScreenBeatWriterTest, atRateThreeTheCalmTimeIsOneSlot) {
    holdTimerBack(100);
    begin(3);
    loseInSlotThree();
    deliver(CMTimeMake(47, 30), 4.72 / 3);
    EXPECT_EQ(slots(), (Slots{0, 3, 4, 5}));
}

TEST_F(ScreenBeatWriterTest, whatTheWriterCanNotTakeYetIsWrittenLater) {
    begin(30);
    captureAt(0);
    // Room for two samples before each of the beat's calls.
    int room = 2;
    input->ready = [&] { return room > 0; };
    input->accepts = [&](const CMSampleBuffer&) { return room-- > 0; };
    captureAt(4);
    EXPECT_EQ(slots(), slotRange(0, 2));
    room = 2;
    runTo(0.17); // firing 5
    EXPECT_EQ(slots(), slotRange(0, 4));
}

TEST_F(ScreenBeatWriterTest, aRefusedFrameIsLostAndTheNextGoesOn) {
    begin(30);
    const auto first = captureAt(0);
    input->accepts = [](const CMSampleBuffer&) { return false; };
    const auto refused = captureAt(1);
    EXPECT_EQ(lost, (std::vector<CMTime>{refused.presentationTimeStamp()}));
    EXPECT_EQ(logged(), (std::vector<std::string>{"frame for slot 1 refused; writer status 1"}));
    EXPECT_EQ(machine.log->lines().back().level, LogLevel::error);
    input->accepts = [](const CMSampleBuffer&) { return true; };
    captureAt(2);
    // A refusal is no reason for calm: the gap gets a copy of the last frame that was written.
    EXPECT_EQ(slots(), slotRange(0, 2));
    EXPECT_EQ(input->appended[1].imageBuffer(), first.imageBuffer());
    EXPECT_EQ(finish(CMTimeMake(2, 30)), (Totals{1, 0, 0}));
    EXPECT_EQ(lost.size(), 1u);
}

TEST_F(ScreenBeatWriterTest, aRefusedCopyLosesNothingAndKeepsTheFrameThatWaits) {
    begin(30);
    captureAt(0);
    input->accepts = [](const CMSampleBuffer&) { return false; };
    captureAt(3);
    EXPECT_EQ(input->refused, 1); // the copy at slot 1
    EXPECT_TRUE(lost.empty());
    input->accepts = [](const CMSampleBuffer&) { return true; };
    runTo(0.14);
    EXPECT_EQ(slots(), slotRange(0, 3));
    EXPECT_TRUE(lost.empty());
}

TEST_F(ScreenBeatWriterTest, aFrameThatCanNotBeRetimedIsRefused) {
    begin(30);
    captureAt(0);
    // A sample without a picture has nothing to copy.
    const auto empty =
        CMSampleBuffer::makeVideo(nullptr, {.duration = kCMTimeInvalid,
                                            .presentationTimeStamp = anchor + CMTimeMake(1, 30),
                                            .decodeTimeStamp = kCMTimeInvalid});
    queue->sync([&] { beat->frame(empty); });
    EXPECT_EQ(lost, (std::vector<CMTime>{empty.presentationTimeStamp()}));
    EXPECT_EQ(logged(), (std::vector<std::string>{"frame for slot 1 refused; writer status 1"}));
    EXPECT_EQ(input->refused, 0);
}

TEST_F(ScreenBeatWriterTest, finishGivesUpAfterASecondAndLosesTheFrameThatWaits) {
    begin(30);
    captureAt(0);
    setReady(false);
    const auto waiting = captureAt(1);
    const CMTime before = machine.now();
    const Totals totals = finish(CMTimeMake(2, 30));
    const CMTime taken = machine.now() - before;
    EXPECT_GE(taken, CMTimeMake(1000, 1000));
    EXPECT_LE(taken, CMTimeMake(1002, 1000));
    EXPECT_EQ(totals, (Totals{0, 0, 0}));
    EXPECT_EQ(lost, (std::vector<CMTime>{waiting.presentationTimeStamp()}));
}

TEST_F(ScreenBeatWriterTest, finishIsBoundEvenIfTheWallClockIsSetBack) {
    begin(30);
    captureAt(0);
    setReady(false);
    machine.time->afterSeconds(0.4, [&] { machine.wallClock->offsetSeconds = -3600; });
    const CMTime before = machine.now();
    finish(CMTimeMake(20, 30));
    EXPECT_LE(machine.now() - before, CMTimeMake(1002, 1000));
}

TEST_F(ScreenBeatWriterTest, finishWaitsForAWriterThatIsBehind) {
    begin(30);
    captureAt(0);
    setReady(false);
    captureAt(1);
    machine.time->afterSeconds(0.5, [&] { setReady(true); });
    const CMTime before = machine.now();
    EXPECT_EQ(finish(CMTimeMake(7, 60)), (Totals{2, 0, 0})); // at slot 3.5
    EXPECT_GE(machine.now() - before, CMTimeMake(1, 2));
    EXPECT_LE(machine.now() - before, CMTimeMake(502, 1000));
    EXPECT_EQ(slots(), slotRange(0, 3));
    EXPECT_TRUE(lost.empty());
}

TEST_F(ScreenBeatWriterTest, finishPadsEvenRightAfterALoss) {
    begin(30);
    captureAt(0);
    setReady(false);
    captureAt(1);
    captureAt(2);
    setReady(true);
    EXPECT_EQ(finish(CMTimeMake(9, 60)), (Totals{3, 0, 0})); // at slot 4.5
    EXPECT_EQ(slots(), slotRange(0, 4)); // without the calm time the gap at 1 is filled too
}

TEST_F(ScreenBeatWriterTest, finishReturnsAtOnceFromAWriterThatRefusesAll) {
    begin(30);
    captureAt(0);
    input->accepts = [](const CMSampleBuffer&) { return false; };
    const CMTime before = machine.now();
    EXPECT_EQ(finish(CMTimeMake(3, 30)), (Totals{0, 0, 0}));
    EXPECT_EQ(machine.now(), before);
    EXPECT_EQ(input->refused, 1);
    EXPECT_TRUE(lost.empty());
}

TEST_F(ScreenBeatWriterTest, cancelDuringFinishEndsIt) {
    begin(30);
    captureAt(0);
    setReady(false);
    captureAt(1);
    machine.time->afterSeconds(0.1, [&] { beat->cancel(); });
    const CMTime before = machine.now();
    finish(CMTimeMake(4, 30));
    EXPECT_LE(machine.now() - before, CMTimeMake(102, 1000));
    EXPECT_TRUE(lost.empty());
}

TEST_F(ScreenBeatWriterTest, everySecondIsLogged) {
    begin(30);
    for (int64_t slot = 0; slot < 12; ++slot)
        captureAt(slot);
    setReady(false); // firings 12 and 13 find it so
    captureAt(12);
    captureAt(13); // the loss, in slot 13
    setReady(true);
    deliver(CMTimeMake(1, 10), 0.436); // long past: left out
    // The beat's first firing comes before any frame and doesn't count, so the second is full at firing 30,
    // at 1 s, which finds slot 29 to be the present.
    runTo(0.99);
    EXPECT_TRUE(logged().empty());
    runTo(1.01);
    // Written: 0 to 11, and 13 past the empty slot 12. Calm lasts until the present is 28: firing 29 jumped
    // to 25, over eleven slots, and firing 30 copied 26.
    ASSERT_EQ(logged().size(), 1u);
    EXPECT_EQ(
        logged()[0],
        "second 1: 15 arrived, 13 written, 2 repeats, 12 skipped, 1 lost, 0 refused; writer not ready at "
        "2 arrivals and 2 of 30 ticks; 3 slots behind; pending none; writer status 1");
    EXPECT_EQ(machine.log->lines()[0].level, LogLevel::standard);
    runTo(2.01);
    ASSERT_EQ(logged().size(), 2u);
    EXPECT_EQ(logged()[1],
              "second 2: 0 arrived, 0 written, 30 repeats, 0 skipped, 0 lost, 0 refused; writer not ready at "
              "0 arrivals and 0 of 30 ticks; 3 slots behind; pending none; writer status 1");
}

TEST_F(ScreenBeatWriterTest, countsOfASecondStartAnewEvenIfTheLineIsNotWanted) {
    begin(30);
    captureAt(0);
    machine.log->setMinimumLevel(LogLevel::error);
    runTo(1.01); // one frame, and firing 30 has copied slot 26
    EXPECT_TRUE(logged().empty());
    machine.log->setMinimumLevel(LogLevel::info);
    setReady(false);
    captureAt(45);
    runTo(2.01); // firing 60 finds slot 59
    ASSERT_EQ(logged().size(), 1u);
    EXPECT_EQ(logged()[0],
              "second 2: 1 arrived, 0 written, 0 repeats, 0 skipped, 0 lost, 0 refused; writer not ready at "
              "1 arrivals and 30 of 30 ticks; 33 slots behind; pending waiting; writer status 1");
}

} // namespace
} // namespace vintra
