#include "BeatFixture.h"

#include <algorithm>
#include <random>
#include <set>

namespace vintra {
namespace {

/// What a finished take's slots are said to hold.
class FrameAccountTest : public BeatFixture {
protected:
    void miss(int64_t from, int64_t end) {
        queue->sync([&] { beat->missed(anchor + CMTimeMake(from, rate), anchor + CMTimeMake(end, rate)); });
    }
};

TEST_F(FrameAccountTest, framesOnEverySlotAreTheirOwn) {
    begin(30);
    for (int64_t n = 0; n < 60; ++n)
        captureAt(n);
    finish(CMTimeMake(60, 30));
    EXPECT_EQ(beat->account(), (FrameAccount{.own = 60}));
}

TEST_F(FrameAccountTest, aStillScreenIsCopiedUpTo30) {
    begin(30);
    captureAt(0);
    finishAt(2);
    EXPECT_EQ(beat->account(), (FrameAccount{.own = 1, .copied = 59}));
}

TEST_F(FrameAccountTest, aStillScreenIsUnchangedAbove30) {
    begin(60);
    captureAt(0);
    finishAt(2);
    EXPECT_EQ(beat->account(),
              (FrameAccount{.own = 1, .copied = 1, .unchanged = 118})); // one copy, at the end
}

TEST_F(FrameAccountTest, theSlotsBeforeTheFirstPictureDontCount) {
    begin(30);
    captureAt(45);
    captureAt(46);
    finish(CMTimeMake(47, 30));
    EXPECT_EQ(beat->account(), (FrameAccount{.first = 45, .own = 2}));
}

TEST_F(FrameAccountTest, framesThatAWriterHasNoRoomForAreLost) {
    begin(60);
    captureAt(0);
    input->ready = [] { return false; };
    for (int64_t n = 1; n <= 10; ++n)
        captureAt(n);
    input->ready = [] { return true; };
    captureAt(11);
    finish(CMTimeMake(12, 60));
    EXPECT_EQ(beat->account(), (FrameAccount{.own = 3, .lost = 9})) << "the last of them found room";
    EXPECT_EQ(lost.size(), 9u);
}

TEST_F(FrameAccountTest, aRefusedFrameIsLost) {
    begin(60);
    captureAt(0);
    input->accepts = [](const CMSampleBuffer&) { return false; };
    captureAt(1);
    input->accepts = [](const CMSampleBuffer&) { return true; };
    captureAt(2);
    finish(CMTimeMake(3, 60));
    EXPECT_EQ(beat->account(), (FrameAccount{.own = 2, .lost = 1}));
}

TEST_F(FrameAccountTest, whatTheCaptureMissedIsLostUpToTheNextFrame) {
    begin(60);
    captureAt(0);
    runTo(20.5 / 60);
    miss(5, 20);
    captureAt(21);
    finish(CMTimeMake(22, 60));
    // Slots 1 to 4 had nothing new; 5 to 20 had, and the frame that came stands in 21.
    EXPECT_EQ(beat->account(), (FrameAccount{.own = 2, .unchanged = 4, .lost = 16}));
    ASSERT_EQ(lost.size(), 16u);
    EXPECT_EQ(lost.front(), anchor + CMTimeMake(5, 60));
    EXPECT_EQ(lost.back(), anchor + CMTimeMake(20, 60));
}

TEST_F(FrameAccountTest, copiesWrittenMeanwhileCountAsLost) {
    begin(30);
    captureAt(0);
    runTo(20.5 / 30);
    ASSERT_GT(slots().back(), 10) << "copies";
    miss(3, 20);
    captureAt(21);
    finish(CMTimeMake(22, 30));
    const FrameAccount account = beat->account();
    EXPECT_EQ(account.lost, 18); // 3 to 20
    EXPECT_EQ(account.copied, 2);
    EXPECT_EQ(account.own, 2);
    EXPECT_EQ(lost.size(), 18u);
}

TEST_F(FrameAccountTest, whatIsMissedAtTheEndIsLostUpToTheStop) {
    begin(60);
    captureAt(0);
    runTo(1);
    miss(30, 90);
    finish(CMTimeMake(60, 60));
    const FrameAccount account = beat->account();
    EXPECT_EQ(account.own, 1);
    EXPECT_EQ(account.lost, 30); // 30 to 59
    EXPECT_EQ(account.unchanged, 29);
    EXPECT_EQ(lost.size(), 30u);
}

TEST_F(FrameAccountTest, aLossBeforeTheFirstFrameIsNone) {
    begin(60);
    miss(0, 5);
    captureAt(5);
    finish(CMTimeMake(11, 120));
    EXPECT_EQ(beat->account().own, 1);
    EXPECT_EQ(beat->account().slots(), 1);
    EXPECT_TRUE(lost.empty());
}

TEST_F(FrameAccountTest, aTakeWithoutAFrameHasNoSlots) {
    begin(30);
    runTo(1);
    finish(CMTimeMake(30, 30));
    EXPECT_EQ(beat->account(), FrameAccount{});
}

/// Takes whose screen changes in some slots, while the capture misses stretches and the writer is behind for
/// others. The parameter is the seed.
class RandomFrameAccountTest : public FrameAccountTest, public testing::WithParamInterface<unsigned> {
protected:
    bool oneIn(unsigned times) { return random() % times == 0; }

    std::mt19937 random{GetParam()};
};

TEST_P(RandomFrameAccountTest, eachSlotIsCountedAsWhatHappenedThere) {
    begin(GetParam() % 2 == 0 ? 30 : 60);
    constexpr int64_t kSlots = 600;
    std::set<int64_t> given;  // slots whose frame came to the beat
    std::set<int64_t> missed; // slots whose frame the capture left out
    captureAt(0);
    given.insert(0);
    for (int64_t n = 1; n < kSlots; ++n) {
        if (oneIn(12)) input->ready = [] { return false; };
        if (oneIn(6)) input->ready = [] { return true; };
        if (oneIn(40)) {
            const auto length = std::min(static_cast<int64_t>(random() % 30 + 1), kSlots - 1 - n);
            runTo((static_cast<double>(n + length) + 0.2) / rate);
            miss(n, n + length);
            for (int64_t slot = n; slot < n + length; ++slot)
                missed.insert(slot);
            n += length;
        } else if (!oneIn(3)) {
            continue; // nothing new
        }
        captureAt(n);
        given.insert(n);
    }
    input->ready = [] { return true; };
    runTo((kSlots - 0.5) / rate);
    finish(CMTimeMake(2 * kSlots - 1, 2 * rate));

    std::set<int64_t> own;
    const CVPixelBuffer* latest = nullptr;
    for (const auto& sample : input->appended) {
        if (sample.imageBuffer().get() != latest) own.insert(slotOf(sample));
        latest = sample.imageBuffer().get();
    }
    int64_t neverWritten = 0;
    for (const int64_t slot : given)
        neverWritten += own.count(slot) == 0;
    EXPECT_EQ(own.size() + static_cast<size_t>(neverWritten), given.size()) << "each stands on its slot";
    const FrameAccount account = beat->account();
    EXPECT_EQ(account.own, static_cast<int64_t>(own.size()));
    EXPECT_EQ(account.slots(), kSlots);
    EXPECT_EQ(account.lost, static_cast<int64_t>(missed.size()) + neverWritten);
    EXPECT_EQ(static_cast<int64_t>(lost.size()), account.lost);
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomFrameAccountTest, testing::Range(1u, 41u));

} // namespace
} // namespace vintra
