#include "Vintra/video/CameraWriteQueue.h"
#include "ScriptedInput.h"
#include "Vintra/platform/simulated/SimulatedMachine.h"

#include <gtest/gtest.h>
#include <limits>
#include <random>

namespace vintra {
namespace {

using Result = CameraWriteQueue::Result;
using Slots = std::vector<int64_t>;

/// A camera of 30 frames a second on virtual time. All times are counted from the take's start.
class CameraWriteQueueTest : public testing::Test {
protected:
    CameraWriteQueueTest() { begin(30); }

    void begin(int32_t newRate) {
        rate = newRate;
        anchor = machine.now();
        queue.begin(anchor, rate);
    }
    void setReady(bool ready) {
        input->ready = [ready] { return ready; };
    }
    /// A frame captured in the middle of nowhere: its time is given in slots, and it comes `delay` seconds
    /// later, or now if that is past.
    Result submit(double slot, double delay = 0.025) {
        const CMTime capturedAt = anchor + CMTimeMakeWithSeconds(slot / rate, kHostTimescale);
        const double wait = CMTimeGetSeconds(capturedAt - machine.now()) + delay;
        if (wait > 0) machine.run(wait);
        latest = picture(capturedAt);
        return queue.submit(latest, input);
    }
    Slots slots() const {
        Slots result;
        for (const auto& sample : input->appended) {
            const CMTime pts = sample.presentationTimeStamp();
            const int64_t ticksOfASlot = kHostTimescale / rate;
            EXPECT_EQ(pts.timescale, kHostTimescale);
            EXPECT_FALSE(pts.hasBeenRounded());
            EXPECT_EQ((pts.value - anchor.value) % ticksOfASlot, 0);
            EXPECT_EQ(describe(sample.duration()), "1/" + std::to_string(rate));
            EXPECT_FALSE(sample.timing().decodeTimeStamp.isValid());
            result.push_back((pts.value - anchor.value) / ticksOfASlot);
        }
        return result;
    }
    static Slots range(int64_t first, int64_t last) {
        Slots result;
        for (int64_t slot = first; slot <= last; ++slot)
            result.push_back(slot);
        return result;
    }
    /// Fills the places for waiting frames with the slots from `first` on.
    void fillWaiting(int64_t first) {
        setReady(false);
        for (int64_t slot = first; slot < first + 8; ++slot) {
            EXPECT_EQ(submit(static_cast<double>(slot)), (Result{0, 0}));
        }
    }

    SimulatedMachine machine;
    CameraWriteQueue queue{machine.hostClock};
    std::shared_ptr<ScriptedInput> input = std::make_shared<ScriptedInput>();
    CMSampleBuffer latest;
    int32_t rate = 30;
    CMTime anchor;
};

TEST_F(CameraWriteQueueTest, framesOnTheGridGoStraightThrough) {
    EXPECT_EQ(queue.account(), FrameAccount{});
    for (int64_t slot = 0; slot < 60; ++slot)
        EXPECT_EQ(submit(static_cast<double>(slot)), (Result{1, 0}));
    EXPECT_EQ(slots(), range(0, 59));
    EXPECT_EQ(queue.account(), (FrameAccount{.first = 0, .own = 60}));
    EXPECT_EQ(queue.summary(), "0 lost · 0 waited, up to 1 at once · 0 arrived bunched · arriving 20ms after "
                               "capture, 20ms at worst · on a 30 fps beat: 0 repeated, 0 left out, 0 skipped "
                               "while the writer was behind");
}

TEST_F(CameraWriteQueueTest, unevenFramesBecomeAnEvenTrack) {
    const double uneven[] = {0, 1.3, 1.8, 3.2, 4.4, 4.7};
    for (const double slot : uneven)
        submit(slot);
    EXPECT_EQ(slots(), range(0, 5));
}

TEST_F(CameraWriteQueueTest, aPauseOfTwoSecondsIsFilledWithCopies) {
    submit(0);
    const auto before = latest;
    EXPECT_EQ(submit(60), (Result{1, 0}));
    EXPECT_EQ(slots(), range(0, 60));
    EXPECT_EQ(input->appended[59].imageBuffer(), before.imageBuffer());
    EXPECT_EQ(input->appended[60].imageBuffer(), latest.imageBuffer());
    EXPECT_NE(queue.summary().find("59 repeated"), std::string::npos);
}

TEST_F(CameraWriteQueueTest, gapsAreFilledAtAnyRate) {
    begin(120);
    submit(0);
    submit(20);
    EXPECT_EQ(slots(), range(0, 20));
}

TEST_F(CameraWriteQueueTest, theTrackEndsWithTheLastRealFrame) {
    submit(0);
    submit(1);
    machine.run(5);
    EXPECT_EQ(queue.flush(input), (Result{0, 0}));
    EXPECT_EQ(slots(), range(0, 1));
}

TEST_F(CameraWriteQueueTest, emptySlotsBeforeTheFirstFrameStayEmpty) {
    submit(45);
    EXPECT_EQ(slots(), (Slots{45}));
}

TEST_F(CameraWriteQueueTest, framesWaitForAWriterThatIsBehind) {
    submit(0);
    setReady(false);
    EXPECT_EQ(submit(1), (Result{0, 0}));
    EXPECT_EQ(submit(2), (Result{0, 0}));
    setReady(true);
    EXPECT_EQ(submit(3), (Result{3, 0}));
    EXPECT_EQ(slots(), range(0, 3));
    // The frame of slot 3 found two others waiting.
    EXPECT_NE(queue.summary().find("0 lost · 3 waited, up to 3 at once"), std::string::npos);
}

TEST_F(CameraWriteQueueTest, theNinthFrameThatWaitsPushesOutTheOldest) {
    submit(0);
    fillWaiting(1);
    EXPECT_EQ(submit(9), (Result{0, 1}));
    EXPECT_NE(queue.summary().find("1 lost · 9 waited, up to 8 at once"), std::string::npos);
    setReady(true);
    EXPECT_EQ(queue.flush(input), (Result{8, 0}));
    // The loss was one slot ago: the gap that the lost frame left is not filled.
    EXPECT_EQ(slots(), (Slots{0, 2, 3, 4, 5, 6, 7, 8, 9}));
    EXPECT_EQ(queue.account(), (FrameAccount{.first = 0, .own = 9, .lost = 1}));
    EXPECT_NE(queue.summary().find("0 repeated, 0 left out, 1 skipped"), std::string::npos);
}

TEST_F(CameraWriteQueueTest, aGapWithinTheCalmSlotsIsSkippedAndALaterOneIsFilled) {
    submit(0);
    fillWaiting(1);
    submit(9); // pushes out 1
    setReady(true);
    EXPECT_EQ(submit(10),
              (Result{8, 1})); // pushes out 2 before the writer is asked: the last loss, at slot 10
    submit(24);                // 14 slots after it, of 15
    EXPECT_EQ(slots(), (Slots{0, 3, 4, 5, 6, 7, 8, 9, 10, 24}));
    submit(27);
    EXPECT_EQ(slots(), (Slots{0, 3, 4, 5, 6, 7, 8, 9, 10, 24, 25, 26, 27}));
    EXPECT_NE(queue.summary().find("2 repeated, 0 left out, 15 skipped"), std::string::npos);
    // 0, 3 to 10, 24 and 27; 25 and 26; 11 to 23, which the camera didn't send; 1 and 2.
    EXPECT_EQ(queue.account(),
              (FrameAccount{.first = 0, .own = 11, .copied = 2, .unchanged = 13, .lost = 2}));
}

TEST_F(CameraWriteQueueTest, aGapFifteenSlotsAfterTheLossIsFilled) {
    submit(0);
    fillWaiting(1);
    submit(9);
    setReady(true);
    submit(10); // the last loss
    submit(25);
    EXPECT_EQ(input->appended.size(), 1u + 8 + 15); // 0, 3 to 10, 11 to 25
    EXPECT_NE(queue.summary().find("14 repeated, 0 left out, 2 skipped"), std::string::npos);
}

TEST_F(CameraWriteQueueTest, aRefusedFrameIsDroppedAndStartsTheCalmSlots) {
    submit(0);
    input->accepts = [](const CMSampleBuffer&) { return false; };
    EXPECT_EQ(submit(1), (Result{0, 1}));
    input->accepts = [](const CMSampleBuffer&) { return true; };
    // The refused frame counts as the picture of slot 1, so there is no gap before 2, and that at 3 is given
    // up.
    submit(2);
    submit(4);
    EXPECT_EQ(slots(), (Slots{0, 2, 4}));
    EXPECT_NE(queue.summary().find("1 lost"), std::string::npos);
    EXPECT_NE(queue.summary().find("0 repeated, 0 left out, 1 skipped"), std::string::npos);
}

TEST_F(CameraWriteQueueTest, copiesAreMadeOfARefusedFrameToo) {
    submit(0);
    input->accepts = [](const CMSampleBuffer&) { return false; };
    submit(1);
    const auto refused = latest;
    input->accepts = [](const CMSampleBuffer&) { return true; };
    submit(20); // 19 slots after the refusal
    EXPECT_EQ(slots().size(), 20u);
    EXPECT_EQ(input->appended[1].imageBuffer(), refused.imageBuffer());
    EXPECT_EQ(queue.account(), (FrameAccount{.first = 0, .own = 2, .copied = 18, .lost = 1}));
}

TEST_F(CameraWriteQueueTest, aRefusedCopyGivesUpTheGapUncounted) {
    submit(0);
    int calls = 0;
    input->accepts = [&](const CMSampleBuffer&) { return ++calls != 3; }; // copies at 1, 2, not 3
    EXPECT_EQ(submit(10), (Result{1, 0}));
    EXPECT_EQ(slots(), (Slots{0, 1, 2, 10}));
    EXPECT_EQ(queue.account(), (FrameAccount{.first = 0, .own = 2, .copied = 2, .unchanged = 7}));
    EXPECT_NE(queue.summary().find("0 lost"), std::string::npos);
    EXPECT_NE(queue.summary().find("2 repeated, 0 left out, 0 skipped"), std::string::npos);
}

TEST_F(CameraWriteQueueTest, aGapIsFilledAsFarAsTheWriterKeepsUp) {
    submit(0);
    int room = 4;
    input->ready = [&] { return room > 0; };
    input->accepts = [&](const CMSampleBuffer&) { return room-- > 0; };
    EXPECT_EQ(submit(10), (Result{0, 0}));
    EXPECT_EQ(slots(), range(0, 4));
    room = 7;
    EXPECT_EQ(submit(11), (Result{2, 0}));
    EXPECT_EQ(slots(), range(0, 11));
}

TEST_F(CameraWriteQueueTest, aFrameThatCanNotBeRetimedIsDropped) {
    submit(0);
    machine.run(0.05);
    const auto empty =
        CMSampleBuffer::makeVideo(nullptr, {.duration = kCMTimeInvalid,
                                            .presentationTimeStamp = anchor + CMTimeMake(1, 30),
                                            .decodeTimeStamp = kCMTimeInvalid});
    EXPECT_EQ(queue.submit(empty, input), (Result{0, 1}));
    EXPECT_EQ(slots(), (Slots{0}));
}

TEST_F(CameraWriteQueueTest, framesWithoutAPlaceAreLeftOutAndNotDropped) {
    submit(0);
    submit(5);
    EXPECT_EQ(submit(5.3), (Result{0, 0})); // the next is 6: 0.7 early
    EXPECT_EQ(submit(-1), (Result{0, 0}));
    EXPECT_EQ(queue.submit(picture(kCMTimeInvalid), input), (Result{0, 0}));
    EXPECT_NE(queue.summary().find("0 lost"), std::string::npos);
    EXPECT_NE(queue.summary().find("3 left out"), std::string::npos);
    EXPECT_EQ(slots(), range(0, 5));
}

TEST_F(CameraWriteQueueTest, aFrameWithoutAPlaceStillMovesWhatWaits) {
    submit(0);
    setReady(false);
    submit(1);
    setReady(true);
    EXPECT_EQ(submit(-1), (Result{1, 0}));
}

TEST_F(CameraWriteQueueTest, beforeATakeFramesAreLeftOut) {
    CameraWriteQueue fresh(machine.hostClock);
    EXPECT_EQ(fresh.submit(picture(machine.now()), input), (Result{0, 0}));
    EXPECT_NE(fresh.summary().find("on a 30 fps beat: 0 repeated, 1 left out"), std::string::npos);
}

TEST_F(CameraWriteQueueTest, aFrameUnderEightMillisecondsAfterAnotherIsBunched) {
    submit(0);
    machine.run(0.005);
    queue.submit(picture(anchor + CMTimeMake(1, 30)), input);
    machine.run(0.009);
    queue.submit(picture(anchor + CMTimeMake(2, 30)), input);
    EXPECT_NE(queue.summary().find("1 arrived bunched"), std::string::npos);
}

TEST_F(CameraWriteQueueTest, latenessIsToldByItsMedianAndItsWorstHundredth) {
    for (int64_t slot = 0; slot < 98; ++slot)
        submit(static_cast<double>(slot), 0.025);
    submit(98, 1.5);
    submit(99, 1.5);
    // 100 frames: the 50th is in bucket 2, the 99th in the last.
    EXPECT_NE(queue.summary().find("arriving 20ms after capture, 1000ms at worst"), std::string::npos);
}

TEST_F(CameraWriteQueueTest, oneLateFrameInAHundredIsNotTheWorst) {
    for (int64_t slot = 0; slot < 99; ++slot)
        submit(static_cast<double>(slot), 0.025);
    submit(99, 1.5);
    EXPECT_NE(queue.summary().find("arriving 20ms after capture, 20ms at worst"), std::string::npos);
}

TEST_F(CameraWriteQueueTest, aFrameFromTheFutureIsNotLate) {
    queue.submit(picture(anchor + CMTimeMake(1, 1)), input);
    EXPECT_NE(queue.summary().find("arriving 0ms after capture, 0ms at worst"), std::string::npos);
}

TEST_F(CameraWriteQueueTest, framesWithoutATimeAreNeverOnTime) {
    queue.submit(picture(kCMTimeInvalid), input);
    EXPECT_NE(queue.summary().find("arriving 1000ms after capture"), std::string::npos);
}

TEST_F(CameraWriteQueueTest, aCameraThatSentNothingHasNoFrames) {
    EXPECT_EQ(queue.summary(), "no frames");
}

TEST_F(CameraWriteQueueTest, flushOfNothingReturnsAtOnceAndForgetsTheLastPicture) {
    submit(0);
    const CMTime before = machine.now();
    EXPECT_EQ(queue.flush(input), (Result{0, 0}));
    EXPECT_EQ(machine.now(), before);
    submit(5); // nothing left to copy
    EXPECT_EQ(slots(), (Slots{0, 5}));
}

TEST_F(CameraWriteQueueTest, flushWaitsForTheWriterForHalfASecond) {
    submit(0);
    fillWaiting(1);
    const CMTime before = machine.now();
    EXPECT_EQ(queue.flush(input), (Result{0, 8}));
    EXPECT_GE(machine.now() - before, CMTimeMake(500, 1000));
    EXPECT_LE(machine.now() - before, CMTimeMake(502, 1000));
    EXPECT_NE(queue.summary().find("8 lost"), std::string::npos);
    EXPECT_EQ(queue.account(), (FrameAccount{.first = 0, .own = 1, .lost = 8}));
    setReady(true);
    EXPECT_EQ(queue.flush(input), (Result{0, 0}));
}

TEST_F(CameraWriteQueueTest, flushWritesWhatTheWriterTakesInTime) {
    submit(0);
    fillWaiting(1);
    machine.time->afterSeconds(0.3, [&] { setReady(true); });
    EXPECT_EQ(queue.flush(input), (Result{8, 0}));
    EXPECT_EQ(slots(), range(0, 8));
}

TEST_F(CameraWriteQueueTest, flushIsBoundEvenIfTheWallClockIsSetBack) {
    fillWaiting(0);
    machine.time->afterSeconds(0.1, [&] { machine.wallClock->offsetSeconds = -3600; });
    const CMTime before = machine.now();
    queue.flush(input);
    EXPECT_LE(machine.now() - before, CMTimeMake(502, 1000));
}

TEST_F(CameraWriteQueueTest, clearForgetsWhatWaitsUncounted) {
    submit(0);
    fillWaiting(1);
    queue.clear();
    setReady(true);
    EXPECT_EQ(queue.flush(input), (Result{0, 0}));
    EXPECT_EQ(slots(), (Slots{0}));
    EXPECT_NE(queue.summary().find("0 lost"), std::string::npos);
}

TEST_F(CameraWriteQueueTest, beginStartsAnew) {
    submit(0);
    fillWaiting(1);
    submit(9);
    begin(30);
    EXPECT_EQ(queue.summary(), "no frames");
    setReady(true);
    input->appended.clear();
    submit(0);
    submit(3);
    EXPECT_EQ(slots(), range(0, 3));
}

TEST_F(CameraWriteQueueTest, theRateIsThatOfTheCamerasShortestFrame) {
    EXPECT_EQ(CameraWriteQueue::beat(CMTimeMake(1001, 30'000)), 30);
    EXPECT_EQ(CameraWriteQueue::beat(CMTimeMake(1, 300)), 240);
    EXPECT_EQ(CameraWriteQueue::beat(CMTimeMake(1, 60)), 60);
    EXPECT_EQ(CameraWriteQueue::beat(CMTimeMake(2, 25)), 13); // 12.5
    EXPECT_EQ(CameraWriteQueue::beat(CMTimeMake(5, 1)), 1);
    EXPECT_EQ(CameraWriteQueue::beat(CMTimeMake(std::numeric_limits<int64_t>::max(), 1)), 1);
    EXPECT_EQ(CameraWriteQueue::beat(kCMTimeInvalid), 30);
    EXPECT_EQ(CameraWriteQueue::beat(kCMTimePositiveInfinity), 30);
    EXPECT_EQ(CameraWriteQueue::beat(CMTimeMake(0, 30)), 30);
    EXPECT_EQ(CameraWriteQueue::beat(CMTimeMake(-1, 60)), 30);
}

/// The parameter is the seed.
class CameraWriteQueueRandomTest : public CameraWriteQueueTest,
                                   public testing::WithParamInterface<unsigned> {};

TEST_P(CameraWriteQueueRandomTest, everyFrameIsWrittenDroppedOrLeftOut) {
    std::mt19937 random(GetParam());
    const auto oneIn = [&](double times) {
        return std::uniform_real_distribution<double>(0, times)(random) < 1;
    };
    const auto uniform = [&](double low, double high) {
        return std::uniform_real_distribution<double>(low, high)(random);
    };
    double busyUntil = 0;
    input->ready = [&] { return machine.time->nowSeconds() >= busyUntil && !oneIn(20); };
    input->accepts = [&](const CMSampleBuffer&) { return !oneIn(20); };
    Result total;
    int64_t frames = 0;
    double slot = 0;
    for (; frames < 500; ++frames) {
        const Result result = submit(slot, uniform(0, oneIn(20) ? 0.4 : 0.005));
        total.written += result.written;
        total.dropped += result.dropped;
        if (oneIn(20)) busyUntil = machine.time->nowSeconds() + uniform(0, 0.7);
        slot += oneIn(15) ? uniform(2, 40) : oneIn(15) ? uniform(0, 0.5) : uniform(0.7, 1.3);
    }
    const Result last = queue.flush(input);
    total.written += last.written;
    total.dropped += last.dropped;

    const auto all = slots();
    for (size_t n = 1; n < all.size(); ++n)
        EXPECT_LT(all[n - 1], all[n]);
    const auto summary = queue.summary();
    const auto number = [&](const std::string& before, const std::string& after) {
        const size_t end = summary.find(after);
        const size_t begin = summary.rfind(before, end - 1) + before.size();
        return std::stoll(summary.substr(begin, end - begin));
    };
    const int64_t leftOut = number(", ", " left out");
    EXPECT_EQ(total.written + total.dropped + leftOut, frames);
    EXPECT_EQ(std::stoll(summary), total.dropped); // the summary begins with it
    EXPECT_EQ(static_cast<int64_t>(all.size()), total.written + number("beat: ", " repeated"));
    const FrameAccount account = queue.account();
    EXPECT_EQ(account.own, total.written);
    EXPECT_GE(account.unchanged, 0);
    EXPECT_LE(account.lost, total.dropped);
    EXPECT_LE(account.first, all.front());
    EXPECT_GE(account.first + account.slots() - 1, all.back());
    // A copy in the place of a loss counts as that loss.
    EXPECT_LE(account.own + account.copied, static_cast<int64_t>(all.size()));
    EXPECT_GE(account.own + account.copied + account.lost, static_cast<int64_t>(all.size()));
}

TEST_F(CameraWriteQueueTest, picturesThatNeverCameHaveTheirSlotsCountedAsLost) {
    EXPECT_EQ(queue.missed({.first = anchor, .end = anchor + CMTimeMake(3, 30), .count = 3}), (Result{}))
        << "before the first picture there is no slot";
    for (int slot = 0; slot < 5; ++slot)
        submit(slot);
    const auto at = [&](int64_t slot) { return anchor + CMTimeMake(slot, 30); };
    EXPECT_EQ(queue.missed({.first = at(5), .end = at(8), .count = 3}), (Result{.written = 0, .dropped = 3}));
    for (int slot = 8; slot < 10; ++slot)
        submit(slot);
    EXPECT_EQ(slots(), range(0, 9)) << "copies stand in their place";
    EXPECT_EQ(queue.account(), (FrameAccount{.first = 0, .own = 7, .lost = 3}));
    // No more than are missing, no slot twice, and none that has its picture.
    EXPECT_EQ(queue.missed({.first = at(5), .end = at(30), .count = 4}), (Result{}));
    EXPECT_EQ(queue.missed({.first = at(10), .end = at(10), .count = 1}),
              (Result{.written = 0, .dropped = 1}));
    EXPECT_EQ(queue.missed({.first = kCMTimeInvalid, .end = at(12), .count = 1}), (Result{}));
    EXPECT_TRUE(queue.summary().starts_with("4 lost")) << queue.summary();
}

INSTANTIATE_TEST_SUITE_P(Seeds, CameraWriteQueueRandomTest, testing::Range(1u, 33u));

} // namespace
} // namespace vintra
