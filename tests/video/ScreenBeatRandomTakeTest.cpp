#include "BeatFixture.h"

#include <algorithm>
#include <map>
#include <random>
#include <set>

namespace vintra {
namespace {

/// A take whose frames come late, early, twice or not at all, before a writer that is behind or refuses at
/// random. The parameter is the seed.
class ScreenBeatRandomTakeTest : public BeatFixture, public testing::WithParamInterface<unsigned> {
protected:
    double uniform(double low, double high) {
        return std::uniform_real_distribution<double>(low, high)(random);
    }
    bool oneIn(double times) { return uniform(0, times) < 1; }

    void scriptInput(bool refuses) {
        input->ready = [this] { return smooth || (CMTimeGetSeconds(now()) >= busyUntil && !oneIn(20)); };
        input->accepts = [this, refuses](const CMSampleBuffer&) { return smooth || !refuses || !oneIn(15); };
    }

    void captureFrames(int count) {
        int64_t ticks = 0; // the first frame stands on the start, so the phase is 0
        for (int n = 0; n < count; ++n) {
            const double arrival =
                static_cast<double>(ticks) / kHostTimescale + uniform(0, oneIn(30) ? 0.3 : 0.004);
            deliverTicks(ticks, arrival);
            // The doubled frame's time is a tick off, so that every frame can be told by its time.
            if (oneIn(30)) deliverTicks(ticks + 1, arrival);
            if (oneIn(25)) busyUntil = CMTimeGetSeconds(now()) + uniform(0, 0.8);
            const double step = oneIn(20)   ? uniform(2, 14)  // a still screen, or frames that never came
                                : oneIn(20) ? uniform(0, 0.4) // far too early
                                            : uniform(0.7, 1.3);
            ticks += std::max<int64_t>(2, static_cast<int64_t>(step * kHostTimescale / rate));
        }
    }
    void deliverTicks(int64_t ticks, double arrival) {
        frames.push_back(
            deliver(CMTimeMake(ticks, kHostTimescale), std::max(arrival, CMTimeGetSeconds(now()))));
    }

    /// Every real frame was written, lost or left out, and only one of them; slots rise; copies show the
    /// frame written before them.
    void checkFrames(const ScreenBeat::Totals& totals) {
        std::set<const CVPixelBuffer*> written;
        const CVPixelBuffer* latest = nullptr;
        int64_t copies = 0;
        for (const auto& sample : input->appended) {
            const CVPixelBuffer* image = sample.imageBuffer().get();
            if (image == latest) {
                ++copies;
            } else {
                EXPECT_TRUE(written.insert(image).second) << "a frame came back";
                latest = image;
            }
        }
        EXPECT_EQ(copies, totals.repeated);
        std::map<int64_t, int> timesLost;
        for (const CMTime time : lost)
            ++timesLost[(time - anchor).value];
        int64_t leftOut = 0;
        for (const auto& frame : frames) {
            const auto told = timesLost.find((frame.presentationTimeStamp() - anchor).value);
            const bool isWritten = written.count(frame.imageBuffer().get()) != 0;
            const bool isLost = told != timesLost.end();
            EXPECT_FALSE(isWritten && isLost);
            EXPECT_EQ(isLost ? told->second : 1, 1);
            if (!isWritten && !isLost) ++leftOut;
        }
        EXPECT_EQ(leftOut, totals.leftOut);
        EXPECT_EQ(written.size() + timesLost.size() + static_cast<size_t>(leftOut), frames.size());
    }

    /// The slots between the first and the last that hold no sample.
    int64_t emptySlots() const {
        const auto all = slots();
        for (size_t n = 1; n < all.size(); ++n)
            EXPECT_LT(all[n - 1], all[n]);
        return all.empty() ? 0 : all.back() - all.front() + 1 - static_cast<int64_t>(all.size());
    }

    std::mt19937 random{GetParam()};
    bool smooth = false;
    double busyUntil = 0;
    std::vector<CMSampleBuffer> frames;
};

TEST_P(ScreenBeatRandomTakeTest, everyFrameIsAccountedForAndTheTrackReachesTheStop) {
    const bool refuses = GetParam() % 2 == 0;
    const bool endsSmoothly = GetParam() % 3 != 0;
    scriptInput(refuses);
    begin(GetParam() % 4 == 3 ? 60 : GetParam() % 4 == 2 ? 24 : 30);
    captureFrames(400);
    smooth = endsSmoothly;
    const auto lastSlot = static_cast<int64_t>(CMTimeGetSeconds(now()) * rate) + 7;
    runTo((static_cast<double>(lastSlot) + 0.5) / rate);
    const size_t before = input->appended.size();
    const auto totals = finish(CMTimeMake(2 * lastSlot + 1, 2 * rate)); // in the middle of that slot
    checkFrames(totals);
    const int64_t empty = emptySlots();
    if (rate > 30) {
        EXPECT_EQ(totals.skipped, 0);
        EXPECT_LE(input->appended.size() - before, 2u); // the frame that waited and the one copy
    } else if (!refuses) {
        EXPECT_EQ(totals.skipped, empty);
    }
    if (endsSmoothly) {
        EXPECT_EQ(slots().back(), lastSlot);
    }

    const size_t written = input->appended.size();
    const size_t told = lost.size();
    smooth = true;
    captureFrames(20);
    EXPECT_EQ(input->appended.size(), written);
    EXPECT_EQ(lost.size(), told);
}

TEST_P(ScreenBeatRandomTakeTest, nothingIsWrittenOrToldAfterCancel) {
    scriptInput(true);
    begin(30);
    captureFrames(50);
    beat->cancel();
    const size_t written = input->appended.size();
    const size_t told = lost.size();
    smooth = true;
    captureFrames(50);
    finish(now());
    EXPECT_EQ(input->appended.size(), written);
    EXPECT_EQ(lost.size(), told);
}

INSTANTIATE_TEST_SUITE_P(Seeds, ScreenBeatRandomTakeTest, testing::Range(1u, 49u));

} // namespace
} // namespace vintra
