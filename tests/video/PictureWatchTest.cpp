#include "Vintra/video/PictureWatch.h"
#include "tests/video/HostTimes.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <utility>

namespace vintra {
namespace {

using Stretch = PictureWatch::Stretch;
using Stretches = std::vector<Stretch>;

/// 8 × 8 pixels, every byte of them `shade`.
std::shared_ptr<CVPixelBuffer> shaded(uint8_t shade) {
    auto buffer = CVPixelBuffer::make(kCVPixelFormatType_32BGRA, 8, 8);
    const auto& plane = buffer->plane(0);
    std::fill_n(plane.baseAddress, plane.bytesPerRow * plane.height, shade);
    return buffer;
}

/// Fills a plane so that byte b of row r is (7r + 3b) mod 256.
void fillWithPattern(const CVPixelBuffer::Plane& plane) {
    for (size_t row = 0; row < plane.height; ++row) {
        for (size_t byte = 0; byte < plane.bytesPerRow; ++byte) {
            plane.baseAddress[row * plane.bytesPerRow + byte] = static_cast<uint8_t>(7 * row + 3 * byte);
        }
    }
}

class PictureWatchTest : public testing::Test {
protected:
    PictureWatchTest() { watch.begin(kStart); }

    void record(double seconds, std::shared_ptr<CVPixelBuffer> image) {
        watch.record(CMSampleBuffer::makeVideo(std::move(image), {.duration = kCMTimeInvalid,
                                                                  .presentationTimeStamp = after(seconds),
                                                                  .decodeTimeStamp = kCMTimeInvalid}));
    }
    void recordNew(double seconds) { record(seconds, shaded(++shade)); }
    void recordSame(double seconds) { record(seconds, shaded(shade)); }
    /// A live picture ten times a second, from `from` up to but not including `to`.
    void live(double from, double to) {
        for (int n = 0; from + n * 0.1 < to - 1e-9; ++n)
            recordNew(from + n * 0.1);
    }
    /// The same picture ten times a second, the first one new, changing at `to`.
    void frozen(double from, double to) {
        recordNew(from);
        for (int n = 1; from + n * 0.1 < to - 1e-9; ++n)
            recordSame(from + n * 0.1);
        recordNew(to);
    }
    static void expectStretches(const Stretches& actual, const Stretches& expected) {
        ASSERT_EQ(actual.size(), expected.size());
        for (size_t n = 0; n < actual.size(); ++n) {
            EXPECT_NEAR(actual[n].from, expected[n].from, 1e-6);
            ASSERT_EQ(actual[n].to.has_value(), expected[n].to.has_value());
            if (actual[n].to) {
                EXPECT_NEAR(*actual[n].to, *expected[n].to, 1e-6);
            }
        }
    }

    PictureWatch watch;
    uint8_t shade = 0;
};

TEST_F(PictureWatchTest, aLivePictureHasNothingToTell) {
    live(0, 10);
    const auto account = watch.take(after(10));
    EXPECT_TRUE(account.frozen.empty());
    EXPECT_FALSE(account.stoppedAt);
}

TEST_F(PictureWatchTest, aChangeEvery19TenthsOfASecondIsLive) {
    for (int n = 0; n < 10; ++n) {
        recordNew(1.9 * n);
        EXPECT_FALSE(watch.stall(after(1.9 * n + 1.89)));
    }
    const auto account = watch.take(after(18));
    EXPECT_TRUE(account.frozen.empty());
    EXPECT_FALSE(account.stoppedAt);
}

TEST_F(PictureWatchTest, aFrozenStretchReachesFromOneChangeToTheNext) {
    live(0, 5);
    frozen(5, 7.5);
    live(7.6, 12);
    expectStretches(watch.take(after(12)).frozen, {{5, 7.5}});
}

TEST_F(PictureWatchTest, stretchesLessThanTwoSecondsApartAreOne) {
    live(0, 5);
    frozen(5, 7.5);
    live(7.6, 8);
    frozen(8, 10.5);
    live(10.6, 12);
    expectStretches(watch.take(after(12)).frozen, {{5, 10.5}});
}

TEST_F(PictureWatchTest, stretchesTwoSecondsApartStayTwo) {
    live(0, 5);
    frozen(5, 7.5);
    live(7.6, 10);
    frozen(10, 12.5);
    live(12.6, 14);
    expectStretches(watch.take(after(14)).frozen, {{5, 7.5}, {10, 12.5}});
}

TEST_F(PictureWatchTest, threeStretchesJoinOneAfterAnother) {
    live(0, 5);
    frozen(5, 7.5);
    frozen(8, 10.5);
    frozen(11, 13.5);
    live(13.6, 15);
    expectStretches(watch.take(after(15)).frozen, {{5, 13.5}});
}

TEST_F(PictureWatchTest, aCameraThatStopsIsToldByItsLastFrame) {
    live(0, 10);
    const auto account = watch.take(after(60));
    EXPECT_TRUE(account.frozen.empty());
    ASSERT_TRUE(account.stoppedAt);
    EXPECT_NEAR(*account.stoppedAt, 9.9, 1e-6);
}

TEST_F(PictureWatchTest, aCameraThatFreezesAndThenStopsHasAStretchUpToItsLastFrame) {
    live(0, 5);
    recordNew(5);
    for (int n = 1; n <= 30; ++n)
        recordSame(5 + n * 0.1);
    const auto account = watch.take(after(60));
    expectStretches(account.frozen, {{5, 8}});
    ASSERT_TRUE(account.stoppedAt);
    EXPECT_NEAR(*account.stoppedAt, 8, 1e-6);
}

TEST_F(PictureWatchTest, aPictureStillFrozenAtTheStopHasNoEnd) {
    live(0, 5);
    recordNew(5);
    for (int n = 1; n < 50; ++n)
        recordSame(5 + n * 0.1);
    const auto account = watch.take(after(10));
    expectStretches(account.frozen, {{5, std::nullopt}});
    EXPECT_FALSE(account.stoppedAt);
}

TEST_F(PictureWatchTest, anOpenStretchJoinsTheOneBefore) {
    live(0, 5);
    frozen(5, 7.5);
    recordNew(8);
    for (int n = 1; n < 40; ++n)
        recordSame(8 + n * 0.1);
    expectStretches(watch.take(after(12)).frozen, {{5, std::nullopt}});
}

TEST_F(PictureWatchTest, aCameraThatSendsNothingIsFrozenFromTheStart) {
    const auto account = watch.take(after(10));
    expectStretches(account.frozen, {{0, std::nullopt}});
    EXPECT_FALSE(account.stoppedAt);
}

TEST_F(PictureWatchTest, theStallIsTheOneOfTheMoment) {
    EXPECT_FALSE(watch.stall(after(1.9)));
    EXPECT_EQ(watch.stall(after(2)), PictureWatch::Stall(PictureWatch::NothingYet{}));
    recordNew(3);
    EXPECT_FALSE(watch.stall(after(4.9)));
    recordSame(4.5);
    EXPECT_EQ(watch.stall(after(5.5)), PictureWatch::Stall(PictureWatch::Frozen{3}));
    EXPECT_EQ(watch.stall(after(6.5)), PictureWatch::Stall(PictureWatch::Stopped{4.5}));
}

TEST_F(PictureWatchTest, outsideATakeNothingIsRecordedAndNothingStalls) {
    recordNew(1);
    watch.take(after(2));
    recordNew(3);
    EXPECT_FALSE(watch.stall(after(100)));
    const auto account = watch.take(after(100));
    EXPECT_TRUE(account.frozen.empty());
    EXPECT_FALSE(account.stoppedAt);
    PictureWatch fresh;
    EXPECT_FALSE(fresh.stall(after(100)));
}

TEST_F(PictureWatchTest, beginForgetsTheTakeBefore) {
    frozen(1, 5);
    watch.begin(kStart);
    EXPECT_EQ(watch.stall(after(6)), PictureWatch::Stall(PictureWatch::NothingYet{}));
    recordSame(6.5); // the same picture as before, but the first of this take
    EXPECT_FALSE(watch.stall(after(7)));
    expectStretches(watch.take(after(7)).frozen, {{0, 6.5}});
}

TEST_F(PictureWatchTest, aPictureThatCanNotBeReadCountsAsAChange) {
    const auto unreadable =
        CVPixelBuffer::make(kCVPixelFormatType_32BGRA, 8, 8,
                            {{.baseAddress = nullptr, .width = 8, .height = 8, .bytesPerRow = 32}}, nullptr);
    for (int n = 0; n < 40; ++n)
        record(n * 0.1, unreadable);
    for (int n = 40; n < 80; ++n)
        record(n * 0.1, nullptr);
    EXPECT_TRUE(watch.take(after(8)).frozen.empty());
}

TEST_F(PictureWatchTest, aFrameWithoutATimeIsIgnored) {
    recordNew(0.5);
    watch.record(CMSampleBuffer::makeVideo(shaded(99), {}));
    recordSame(2.4);
    EXPECT_EQ(watch.stall(after(2.5)), PictureWatch::Stall(PictureWatch::Frozen{0.5}));
}

// The hashes below were worked out by a separate program from the positions of the 576 bytes.

TEST(PictureFingerprintTest, hashesTheBytesAtItsPositions) {
    const auto picture = CVPixelBuffer::make(kCVPixelFormatType_32BGRA, 64, 36);
    fillWithPattern(picture->plane(0)); // 256 bytes a row, all of them picture
    EXPECT_EQ(PictureWatch::fingerprint(*picture), 0x11e662db527143e5u);
}

TEST(PictureFingerprintTest, keepsToThePictureWhereRowsArePadded) {
    const auto picture = CVPixelBuffer::make(kCVPixelFormatType_32BGRA, 100, 50);
    ASSERT_EQ(picture->plane(0).bytesPerRow, 448u); // of which 400 are picture
    fillWithPattern(picture->plane(0));
    EXPECT_EQ(PictureWatch::fingerprint(*picture), 0x5e7b5c0001bd3945u);
}

TEST(PictureFingerprintTest, aSingleRowIsSampled18Times) {
    const auto picture = CVPixelBuffer::make(kCVPixelFormatType_32BGRA, 64, 1);
    fillWithPattern(picture->plane(0));
    EXPECT_EQ(PictureWatch::fingerprint(*picture), 0x6407c2575ac73325u);
}

TEST(PictureFingerprintTest, ofTwoPlanesOnlyTheFirstCounts) {
    const auto picture = CVPixelBuffer::make(kCVPixelFormatType_420YpCbCr8BiPlanarVideoRange, 100, 50);
    ASSERT_EQ(picture->plane(0).bytesPerRow, 128u); // of which 100 are picture
    fillWithPattern(picture->plane(0));
    std::fill_n(picture->plane(1).baseAddress, picture->plane(1).bytesPerRow, uint8_t{1});
    EXPECT_EQ(PictureWatch::fingerprint(*picture), 0x982f5ffa64b2daddu);
    std::fill_n(picture->plane(1).baseAddress, picture->plane(1).bytesPerRow, uint8_t{2});
    EXPECT_EQ(PictureWatch::fingerprint(*picture), 0x982f5ffa64b2daddu);
}

TEST(PictureFingerprintTest, aPictureOfZerosHasAHashToo) {
    const auto picture = CVPixelBuffer::make(kCVPixelFormatType_32BGRA, 16, 16);
    std::fill_n(picture->plane(0).baseAddress, picture->plane(0).bytesPerRow * 16, uint8_t{0});
    EXPECT_EQ(PictureWatch::fingerprint(*picture), 0xb9d0059d61083025u);
}

TEST(PictureFingerprintTest, oneSampledByteMakesADifference) {
    const auto picture = CVPixelBuffer::make(kCVPixelFormatType_32BGRA, 64, 36);
    fillWithPattern(picture->plane(0));
    const auto before = PictureWatch::fingerprint(*picture);
    picture->plane(0).baseAddress[35 * 256 + 252] ^= 1; // the last sampled byte
    EXPECT_NE(PictureWatch::fingerprint(*picture), before);
}

TEST(PictureFingerprintTest, aPictureThatCanNotBeReadHasNone) {
    uint8_t byte = 0;
    const auto made = [&](CVPixelBuffer::Plane plane) {
        return CVPixelBuffer::make(kCVPixelFormatType_32BGRA, plane.width, plane.height, {plane}, nullptr);
    };
    EXPECT_FALSE(PictureWatch::fingerprint(*made({nullptr, 1, 1, 4})));
    EXPECT_FALSE(PictureWatch::fingerprint(*made({&byte, 0, 1, 4})));
    EXPECT_FALSE(PictureWatch::fingerprint(*made({&byte, 1, 0, 4})));
    EXPECT_FALSE(PictureWatch::fingerprint(*made({&byte, 8, 1, 7})));
    EXPECT_FALSE(
        PictureWatch::fingerprint(*CVPixelBuffer::make(kCVPixelFormatType_32BGRA, 8, 8, {}, nullptr)));
}

} // namespace
} // namespace vintra
