#include "tests/platform/linux/movie/WriterFixture.h"
#include "tests/support/MediaProbe.h"

#include <cmath>
#include <random>

namespace vintra {
namespace {

/// Pictures that come again are the same to the last bit, and what follows them is not disturbed.
class RepeatedPicturesTest : public WriterFixture, public ::testing::WithParamInterface<AVVideoCodecType> {
protected:
    static constexpr int kWidth = 192;
    static constexpr int kHeight = 112;

    /// Grey blocks, each of a grey of its own, moved on a little from picture to picture.
    static std::shared_ptr<CVPixelBuffer> blocks(int n) {
        auto image = CVPixelBuffer::make(kCVPixelFormatType_32BGRA, kWidth, kHeight);
        const auto& plane = image->plane(0);
        for (int y = 0; y < kHeight; ++y)
            for (int x = 0; x < kWidth; ++x)
                std::memset(plane.baseAddress + static_cast<size_t>(y) * plane.bytesPerRow +
                                4 * static_cast<size_t>(x),
                            grey(n, x, y), 4);
        return image;
    }
    static uint8_t grey(int n, int x, int y) {
        return static_cast<uint8_t>(((x + 3 * n) / 16 * 37 + (y + n) / 16 * 91) % 200 + 20);
    }

    /// Writes the numbered pictures, one a slot, equal numbers being one image; gives what a decoder makes.
    std::vector<std::vector<uint8_t>> roundTrip(const std::vector<int>& numbers) {
        AVVideoSettings settings = pictures(kWidth, kHeight, 6'000'000);
        settings.codec = GetParam();
        const auto open = beginMovie("a.mov", {settings});
        std::shared_ptr<CVPixelBuffer> image;
        for (size_t i = 0; i < numbers.size(); ++i) {
            if (i == 0 || numbers[i] != numbers[i - 1]) image = blocks(numbers[i]);
            EXPECT_TRUE(appendWhenReady(*open.inputs[0], *open.writer,
                                        picture(image, start + CMTimeMake(static_cast<int64_t>(i), 30), 30)));
        }
        EXPECT_EQ(finish(*open.writer), AVAssetWriterStatus::completed);
        const MediaProbe probe(folder.file("a.mov"));
        EXPECT_EQ(probe.track(0).packets.size(), numbers.size());
        for (size_t i = 0; i < probe.track(0).packets.size(); ++i) {
            EXPECT_EQ(probe.track(0).packets[i].time, CMTimeMake(static_cast<int64_t>(i), 30)) << i;
            EXPECT_EQ(probe.track(0).packets[i].isKey, i % 30 == 0) << i;
        }
        return MediaProbe::luma(folder.file("a.mov"));
    }

    static double meanError(const std::vector<uint8_t>& luma, int n) {
        double sum = 0;
        for (int y = 0; y < kHeight; ++y)
            for (int x = 0; x < kWidth; ++x)
                sum +=
                    std::fabs(luma[static_cast<size_t>(y * kWidth + x)] - (16 + grey(n, x, y) * 219.0 / 255));
        return sum / (kWidth * kHeight);
    }
};

TEST_P(RepeatedPicturesTest, areIdenticalAndDisturbNothingAfterThem) {
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    std::vector<int> numbers;
    for (int n = 0; numbers.size() < 600; ++n) {
        const size_t again = random() % 3 == 0 ? random() % 100 : random() % 4;
        numbers.insert(numbers.end(), 1 + again, n);
    }
    const auto decoded = roundTrip(numbers);
    ASSERT_EQ(decoded.size(), numbers.size());
    for (size_t i = 0; i < decoded.size(); ++i)
        EXPECT_LT(meanError(decoded[i], numbers[i]), GetParam() == AVVideoCodecType::hevc ? 5 : 3)
            << i; // crf 22, 18
}

TEST_P(RepeatedPicturesTest, areAFewBytesEach) {
    const auto decoded = roundTrip(std::vector<int>(90, 5));
    ASSERT_EQ(decoded.size(), 90u);
    EXPECT_EQ(decoded[1], decoded[0]);
    EXPECT_EQ(decoded[29], decoded[28]);
    int small = 0;
    const MediaProbe probe(folder.file("a.mov"));
    for (const auto& packet : probe.track(0).packets)
        small += packet.size < 20;
    EXPECT_GE(small, 80);
}

TEST_P(RepeatedPicturesTest, atTheEndAreAllThere) {
    std::vector<int> numbers = {0, 1, 2, 3};
    numbers.insert(numbers.end(), 3, 3);
    const auto decoded = roundTrip(numbers);
    ASSERT_EQ(decoded.size(), numbers.size());
    EXPECT_EQ(decoded.back(), decoded[3]);
}

INSTANTIATE_TEST_SUITE_P(Codecs, RepeatedPicturesTest,
                         ::testing::Values(AVVideoCodecType::h264, AVVideoCodecType::hevc));

} // namespace
} // namespace vintra
