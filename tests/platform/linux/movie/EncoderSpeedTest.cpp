#include "tests/platform/linux/movie/WriterFixture.h"
#include "tests/support/MediaProbe.h"

#include <cmath>
#include <ctime>
#include <random>
#include <sys/resource.h>

namespace vintra {
namespace {

constexpr int kNoiseFrames = 20;

/// What the encoder's threads take is the process's.
double processorSeconds() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_utime.tv_sec) + static_cast<double>(usage.ru_utime.tv_usec) * 1e-6;
}

class EncoderSpeedTest : public WriterFixture {
protected:
    /// Grain, which costs an encoder most.
    static std::shared_ptr<CVPixelBuffer> grain(std::mt19937& random) {
        auto image = CVPixelBuffer::make(kCVPixelFormatType_32BGRA, 640, 360);
        const CVPixelBuffer::Plane& plane = image->plane(0);
        for (size_t y = 0; y < 360; ++y) {
            for (size_t x = 0; x < 4 * 640; ++x)
                plane.baseAddress[y * plane.bytesPerRow + x] = static_cast<uint8_t>(96 + random() % 64);
        }
        return image;
    }

    /// The processor time that a movie takes; each picture stands for two slots.
    double record(const std::string& name, AVVideoEncoderSpeed speed) {
        std::mt19937 random(11);
        std::vector<std::shared_ptr<CVPixelBuffer>> images;
        for (int i = 0; i < kNoiseFrames; ++i)
            images.push_back(grain(random));
        AVVideoSettings settings = pictures(640, 360, 40'000'000);
        settings.encoderSpeed = speed;
        const double before = processorSeconds();
        const auto open = beginMovie(name, {settings});
        for (int slot = 0; slot < 2 * kNoiseFrames; ++slot) {
            EXPECT_TRUE(appendWhenReady(
                *open.inputs[0], *open.writer,
                picture(images[static_cast<size_t>(slot) / 2], start + CMTimeMake(slot, 30), 30)));
        }
        EXPECT_EQ(finish(*open.writer), AVAssetWriterStatus::completed);
        return processorSeconds() - before;
    }
};

TEST_F(EncoderSpeedTest, fastTakesLessOfTheProcessorsAndShowsTheSamePictures) {
    const double standard = record("standard.mov", AVVideoEncoderSpeed::standard);
    const double fast = record("fast.mov", AVVideoEncoderSpeed::fast);
    EXPECT_LT(fast, standard * 0.9);

    const auto expected = MediaProbe::luma(folder.file("standard.mov"));
    const auto seen = MediaProbe::luma(folder.file("fast.mov"));
    ASSERT_EQ(seen.size(), static_cast<size_t>(2 * kNoiseFrames));
    ASSERT_EQ(expected.size(), seen.size());
    for (size_t i = 0; i < seen.size(); i += 7) {
        double squares = 0;
        for (size_t pixel = 0; pixel < seen[i].size(); ++pixel)
            squares += std::pow(static_cast<double>(seen[i][pixel]) - expected[i][pixel], 2);
        const double ratio =
            10 * std::log10(255.0 * 255 / (squares / static_cast<double>(seen[i].size()) + 1e-9));
        EXPECT_GT(ratio, 30) << "picture " << i;
    }
}

} // namespace
} // namespace vintra
