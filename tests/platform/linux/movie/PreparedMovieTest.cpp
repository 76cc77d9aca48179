#include "tests/platform/linux/movie/WriterFixture.h"
#include "tests/support/MediaProbe.h"

#include <cmath>
#include <random>
#include <unistd.h>

namespace vintra {
namespace {

constexpr size_t kPreparedWidth = 320;
constexpr size_t kPreparedHeight = 180;
constexpr int64_t kPreparedSlots = 75; // each picture stands for three
constexpr int32_t kPreparedRate = 30;

/// A movie whose encoder was made before the start holds what another holds.
class PreparedMovieTest : public WriterFixture, public ::testing::WithParamInterface<AVVideoCodecType> {
protected:
    static std::vector<std::shared_ptr<CVPixelBuffer>> images() {
        std::mt19937 random(7);
        std::vector<std::shared_ptr<CVPixelBuffer>> list;
        for (int64_t n = 0; n < kPreparedSlots / 3; ++n) {
            auto image = solid(kPreparedWidth, kPreparedHeight, 0, 0, 0);
            const CVPixelBuffer::Plane& plane = image->plane(0);
            for (size_t y = 0; y < kPreparedHeight; ++y) {
                for (size_t x = 0; x < kPreparedWidth; ++x) {
                    const auto value =
                        static_cast<uint8_t>(64 + (x + 5 * static_cast<size_t>(n)) % 96 + random() % 8);
                    std::memset(plane.baseAddress + y * plane.bytesPerRow + 4 * x, value, 3);
                }
            }
            list.push_back(std::move(image));
        }
        return list;
    }

    AVVideoSettings settings(int32_t expectedRate) const {
        AVVideoSettings all = pictures(kPreparedWidth, kPreparedHeight, 8'000'000);
        all.codec = GetParam();
        all.expectedSourceFrameRate = expectedRate;
        return all;
    }

    Open prepared(const std::string& name, int32_t expectedRate) {
        Open open{makers.makeWriter(folder.file(name), AVFileType::quickTimeMovie), {}};
        open.inputs.push_back(makers.makeInput(settings(expectedRate), true));
        open.writer->add(open.inputs.back());
        std::promise<void> done;
        open.writer->prepare([&done] { done.set_value(); });
        done.get_future().wait();
        EXPECT_TRUE(open.writer->startWriting());
        open.writer->startSession(start);
        return open;
    }

    void fill(const Open& open, int32_t rate) {
        const auto list = images();
        for (int64_t slot = 0; slot < kPreparedSlots; ++slot) {
            const CMTime time = start + CMTimeMake(7, 600) + CMTimeMake(slot, rate);
            EXPECT_TRUE(appendWhenReady(*open.inputs[0], *open.writer,
                                        picture(list[static_cast<size_t>(slot) / 3], time, rate)));
        }
        EXPECT_EQ(finish(*open.writer), AVAssetWriterStatus::completed);
    }

    /// Signal to noise in dB of each decoded picture against what was recorded.
    static void expectPictures(const URL& movie) {
        const auto list = images();
        const auto seen = MediaProbe::luma(movie);
        ASSERT_EQ(seen.size(), static_cast<size_t>(kPreparedSlots));
        for (size_t n = 0; n < seen.size(); ++n) {
            const CVPixelBuffer::Plane& plane = list[n / 3]->plane(0);
            double squares = 0;
            for (size_t y = 0; y < kPreparedHeight; ++y) {
                for (size_t x = 0; x < kPreparedWidth; ++x) {
                    const double grey = plane.baseAddress[y * plane.bytesPerRow + 4 * x];
                    squares += std::pow(16 + grey * 219 / 255 - seen[n][y * kPreparedWidth + x], 2);
                }
            }
            const double noise = squares / static_cast<double>(kPreparedWidth * kPreparedHeight);
            ASSERT_GT(10 * std::log10(255.0 * 255 / (noise + 1e-9)), 30) << "picture " << n;
        }
    }
};

TEST_P(PreparedMovieTest, itsTimesAndPicturesAreThoseOfAnyMovie) {
    fill(beginMovie("plain.mov", {settings(kPreparedRate)}), kPreparedRate);
    fill(prepared("prepared.mov", kPreparedRate), kPreparedRate);
    expectPictures(folder.file("prepared.mov"));
    const MediaProbe plain(folder.file("plain.mov"));
    const MediaProbe made(folder.file("prepared.mov"));
    const auto& expected = plain.track(0).packets;
    const auto& packets = made.track(0).packets;
    ASSERT_EQ(packets.size(), static_cast<size_t>(kPreparedSlots));
    ASSERT_EQ(expected.size(), packets.size());
    for (size_t n = 0; n < packets.size(); ++n) {
        EXPECT_EQ(packets[n].time, expected[n].time) << n;
        EXPECT_EQ(packets[n].isKey, expected[n].isKey) << n;
        if (n + 1 < packets.size()) {
            EXPECT_EQ(packets[n].duration, CMTimeMake(1, kPreparedRate)) << n;
        }
    }
    EXPECT_EQ(packets[0].time, CMTimeMake(7, 600));
    EXPECT_TRUE(packets[0].isKey);
    EXPECT_FALSE(made.track(0).hasReorderedPictures);
}

TEST_P(PreparedMovieTest, picturesAtAnotherRateAreAtThatRate) {
    constexpr int32_t kOther = 29;
    fill(prepared("other.mov", kPreparedRate), kOther);
    expectPictures(folder.file("other.mov"));
    const MediaProbe made(folder.file("other.mov"));
    const auto& packets = made.track(0).packets;
    ASSERT_EQ(packets.size(), static_cast<size_t>(kPreparedSlots));
    for (size_t n = 0; n < packets.size(); ++n)
        EXPECT_EQ(packets[n].time, CMTimeMake(7, 600) + CMTimeMake(static_cast<int64_t>(n), kOther)) << n;
}

TEST_P(PreparedMovieTest, withoutAPictureItIsStillAMovie) {
    const auto open = prepared("empty.mov", kPreparedRate);
    ASSERT_EQ(finish(*open.writer), AVAssetWriterStatus::completed);
    const MediaProbe made(folder.file("empty.mov"));
    EXPECT_TRUE(made.track(0).packets.empty());
}

TEST_P(PreparedMovieTest, aWriterThatIsGivenUpMeanwhileLeavesNothing) {
    const URL url = folder.file("gone.mov");
    std::promise<void> done;
    {
        const auto writer = makers.makeWriter(url, AVFileType::quickTimeMovie);
        writer->add(makers.makeInput(settings(kPreparedRate), true));
        writer->prepare([&done] { done.set_value(); });
    }
    done.get_future().wait();
    EXPECT_NE(::access(url.path().c_str(), F_OK), 0);
}

INSTANTIATE_TEST_SUITE_P(Codecs, PreparedMovieTest,
                         ::testing::Values(AVVideoCodecType::h264, AVVideoCodecType::hevc));

} // namespace
} // namespace vintra
