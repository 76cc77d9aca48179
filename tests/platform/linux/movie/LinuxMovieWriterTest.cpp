#include "tests/platform/linux/movie/WriterFixture.h"
#include "tests/support/MediaProbe.h"

#include <cmath>
#include <cstring>
#include <numbers>
#include <random>

namespace vintra {
namespace {

class LinuxMovieWriterTest : public WriterFixture {
protected:
    CMTime at(double seconds) const { return start + CMTimeMakeWithSeconds(seconds, 48'000); }

    /// Appends sound that is silent but for full-scale clicks at whole tenths of a second of the session.
    void appendClicks(AVAssetWriterInput& input, const AVAssetWriter& writer, double from, double to,
                      uint32_t channels = 1, int32_t rate = 48'000) {
        const int32_t frames = rate / 100;
        for (auto n = std::llround(from * 100); n < std::llround(to * 100); ++n) {
            std::vector<float> values(static_cast<size_t>(frames) * channels, 0.0f);
            if (n % 10 == 0) // a millisecond, so that the encoder keeps it
                std::fill_n(values.begin(), static_cast<size_t>(rate / 1000) * channels, 0.9f);
            ASSERT_TRUE(
                appendWhenReady(input, writer, sound(values, channels, start + CMTimeMake(n, 100), rate)));
        }
    }
    /// Where clicks begin, in seconds of the movie.
    static std::vector<double> clicks(const MediaProbe::Sound& sound) {
        std::vector<double> found;
        for (size_t i = 0; i < sound.values.size(); ++i)
            if (std::fabs(sound.values[i]) > 0.4f) {
                const double time = sound.start + static_cast<double>(i) / 48'000;
                if (found.empty() || time - found.back() > 0.02) found.push_back(time);
            }
        return found;
    }
    void appendPictures(AVAssetWriterInput& input, const AVAssetWriter& writer, int count, int32_t width = 64,
                        int32_t height = 48) {
        for (int i = 0; i < count; ++i)
            ASSERT_TRUE(appendWhenReady(input, writer,
                                        picture(solid(static_cast<size_t>(width), static_cast<size_t>(height),
                                                      static_cast<uint8_t>(i), 0, 0),
                                                start + CMTimeMake(i, 30), 30)));
    }
};

TEST_F(LinuxMovieWriterTest, aMovieIsH264TaggedRec709) {
    const auto open = beginMovie("a.mov", {pictures(64, 48)});
    appendPictures(*open.inputs[0], *open.writer, 10);
    ASSERT_EQ(finish(*open.writer), AVAssetWriterStatus::completed);
    const MediaProbe probe(folder.file("a.mov"));
    ASSERT_EQ(probe.tracks().size(), 1u);
    EXPECT_EQ(probe.track(0).codec, "h264");
    EXPECT_EQ(probe.track(0).tag, "avc1");
    EXPECT_EQ(probe.track(0).width, 64);
    EXPECT_EQ(probe.track(0).height, 48);
    EXPECT_TRUE(probe.track(0).isRec709VideoRange);
    EXPECT_FALSE(probe.track(0).hasReorderedPictures);
}

TEST_F(LinuxMovieWriterTest, hevcIsTaggedForQuickTime) {
    AVVideoSettings settings = pictures(128, 96);
    settings.codec = AVVideoCodecType::hevc;
    const auto open = beginMovie("a.mov", {settings});
    for (int i = 0; i < 70; ++i)
        ASSERT_TRUE(appendWhenReady(*open.inputs[0], *open.writer,
                                    picture(solid(128, 96, 200, 100, static_cast<uint8_t>(50 + i)),
                                            start + CMTimeMake(7, 600) + CMTimeMake(i, 30), 30)));
    ASSERT_EQ(finish(*open.writer), AVAssetWriterStatus::completed);
    const MediaProbe probe(folder.file("a.mov"));
    const auto& track = probe.track(0);
    EXPECT_EQ(track.codec, "hevc");
    EXPECT_EQ(track.tag, "hvc1");
    EXPECT_TRUE(track.isRec709VideoRange);
    EXPECT_FALSE(track.hasReorderedPictures);
    ASSERT_EQ(track.packets.size(), 70u);
    for (int i = 0; i < 70; ++i) {
        const auto& packet = track.packets[static_cast<size_t>(i)];
        EXPECT_EQ(packet.time, CMTimeMake(7, 600) + CMTimeMake(i, 30));
        EXPECT_EQ(packet.isKey, i % 30 == 0) << i;
    }
    const auto colour = MediaProbe::meanColour(folder.file("a.mov"), 69, {32, 32, 64, 32});
    EXPECT_NEAR(colour[0], 200, 2);
    EXPECT_NEAR(colour[1], 100, 2);
    EXPECT_NEAR(colour[2], 119, 2);
}

TEST_F(LinuxMovieWriterTest, aSolidColourComesBackWithinTwo) {
    const std::vector<std::array<uint8_t, 3>> colours = {
        {0, 0, 0},   {255, 255, 255}, {128, 128, 128}, {255, 0, 0},    {0, 255, 0},
        {0, 0, 255}, {255, 255, 0},   {12, 200, 97},   {30, 144, 255}, {250, 128, 114}};
    const auto open = beginMovie("a.mov", {pictures(64, 64, 4'000'000)});
    for (size_t i = 0; i < colours.size(); ++i)
        ASSERT_TRUE(appendWhenReady(*open.inputs[0], *open.writer,
                                    picture(solid(64, 64, colours[i][0], colours[i][1], colours[i][2]),
                                            start + CMTimeMake(static_cast<int64_t>(i), 1), 1)));
    ASSERT_EQ(finish(*open.writer), AVAssetWriterStatus::completed);
    for (size_t i = 0; i < colours.size(); ++i) {
        const auto found = MediaProbe::meanColour(folder.file("a.mov"), static_cast<int>(i), {0, 0, 64, 64});
        for (size_t c = 0; c < 3; ++c)
            EXPECT_NEAR(found[c], colours[i][c], 2) << "colour " << i << " component " << c;
    }
}

TEST_F(LinuxMovieWriterTest, videoRangePicturesPassUnconverted) {
    auto image = CVPixelBuffer::make(kCVPixelFormatType_420YpCbCr8BiPlanarVideoRange, 64, 64);
    std::memset(image->plane(0).baseAddress, 126, image->plane(0).bytesPerRow * 64);
    for (size_t i = 0; i < image->plane(1).bytesPerRow * 32; i += 2) {
        image->plane(1).baseAddress[i] = 100;
        image->plane(1).baseAddress[i + 1] = 160;
    }
    const auto open = beginMovie("a.mov", {pictures(64, 64, 4'000'000)});
    ASSERT_TRUE(open.inputs[0]->append(picture(image, start, 30)));
    ASSERT_EQ(finish(*open.writer), AVAssetWriterStatus::completed);
    const auto colour = MediaProbe::meanColour(folder.file("a.mov"), 0, {0, 0, 64, 64});
    // By hand: Y' = 110·255/219 = 128.08, Cb = −28·255/224 = −31.875, Cr = 32·255/224 = 36.43.
    EXPECT_NEAR(colour[0], 128.08 + 1.5748 * 36.43, 2);
    EXPECT_NEAR(colour[1], 128.08 - 0.46812 * 36.43 + 0.18732 * 31.875, 2);
    EXPECT_NEAR(colour[2], 128.08 - 1.8556 * 31.875, 2);
}

TEST_F(LinuxMovieWriterTest, anotherSizeIsStretchedOrFittedWhole) {
    AVVideoSettings stretched = pictures(128, 64, 4'000'000);
    AVVideoSettings fitted = stretched;
    fitted.scalingMode = AVVideoScalingMode::resizeAspect;
    const auto fill = beginMovie("fill.mov", {stretched});
    const auto aspect = beginMovie("aspect.mov", {fitted});
    const auto square = solid(32, 32, 250, 200, 20);
    for (const auto* open : {&fill, &aspect}) {
        ASSERT_TRUE(open->inputs[0]->append(picture(square, start, 30)));
        ASSERT_EQ(finish(*open->writer), AVAssetWriterStatus::completed);
    }
    // 32×32 fitted into 128×64 is 64×64 in the middle.
    const auto edgeOfFill = MediaProbe::meanColour(folder.file("fill.mov"), 0, {0, 16, 16, 32});
    const auto edgeOfAspect = MediaProbe::meanColour(folder.file("aspect.mov"), 0, {0, 0, 28, 64});
    const auto middle = MediaProbe::meanColour(folder.file("aspect.mov"), 0, {36, 4, 56, 56});
    const std::array<double, 3> gold = {250, 200, 20};
    for (size_t c = 0; c < 3; ++c) {
        EXPECT_NEAR(edgeOfFill[c], gold[c], 3) << c;
        EXPECT_NEAR(edgeOfAspect[c], 0, 3) << c;
        EXPECT_NEAR(middle[c], gold[c], 3) << c;
    }
}

TEST_F(LinuxMovieWriterTest, picturesAndSeveralSoundsShareOneZero) {
    const auto open = beginMovie("a.mov", {pictures(64, 48), aac(1), aac(2)});
    for (int second = 0; second < 3; ++second) {
        for (int i = 30 * second; i < 30 * (second + 1); ++i)
            ASSERT_TRUE(appendWhenReady(*open.inputs[0], *open.writer,
                                        picture(solid(64, 48, 1, 2, 3), start + CMTimeMake(i, 30), 30)));
        appendClicks(*open.inputs[1], *open.writer, second, second + 1);
        if (second > 0) appendClicks(*open.inputs[2], *open.writer, second + 0.25, second + 1.25, 2);
    }
    ASSERT_EQ(finish(*open.writer), AVAssetWriterStatus::completed);
    const URL url = folder.file("a.mov");
    const MediaProbe probe(url);
    ASSERT_EQ(probe.tracks().size(), 3u);
    EXPECT_EQ(probe.track(0).packets.size(), 90u);
    EXPECT_EQ(probe.track(1).codec, "aac");
    EXPECT_EQ(probe.track(1).tag, "mp4a");
    EXPECT_EQ(probe.track(1).channels, 1);
    EXPECT_EQ(probe.track(2).channels, 2);
    EXPECT_EQ(probe.track(2).sampleRate, 48'000);

    const auto first = clicks(MediaProbe::sound(url, 0));
    ASSERT_EQ(first.size(), 30u);
    for (size_t i = 0; i < first.size(); ++i)
        EXPECT_NEAR(first[i], 0.1 * static_cast<double>(i), 0.002) << i;
    const auto second = clicks(MediaProbe::sound(url, 1));
    ASSERT_EQ(second.size(), 20u); // from 1.3 to 3.2 s
    for (size_t i = 0; i < second.size(); ++i)
        EXPECT_NEAR(second[i], 1.3 + 0.1 * static_cast<double>(i), 0.002) << i;
    EXPECT_NEAR(MediaProbe::sound(url, 1).start, 1.25, 0.001);
}

TEST_F(LinuxMovieWriterTest, aGapOfSoundStaysAGap) {
    const auto open = beginMovie("a.mov", {pictures(64, 48), aac(1)});
    appendPictures(*open.inputs[0], *open.writer, 60);
    appendClicks(*open.inputs[1], *open.writer, 0, 0.5);
    appendClicks(*open.inputs[1], *open.writer, 1.25, 2);
    ASSERT_EQ(finish(*open.writer), AVAssetWriterStatus::completed);
    const auto found = clicks(MediaProbe::sound(folder.file("a.mov"), 0));
    const std::vector<double> expected = {0, 0.1, 0.2, 0.3, 0.4, 1.3, 1.4, 1.5, 1.6, 1.7, 1.8, 1.9};
    ASSERT_EQ(found.size(), expected.size());
    for (size_t i = 0; i < found.size(); ++i)
        EXPECT_NEAR(found[i], expected[i], 0.002) << i;
}

TEST_F(LinuxMovieWriterTest, soundOfAFastClockIsBroughtBackInTime) {
    const auto open = beginMovie("a.mov", {aac(1)});
    // Buffers of 10 ms that come every 9.9 ms: 1 % too many frames, a click in each tenth buffer.
    for (int n = 0; n < 1000; ++n) {
        std::vector<float> values(480, 0.0f);
        if (n % 10 == 0) std::fill_n(values.begin() + 240, 48, 0.9f);
        ASSERT_TRUE(appendWhenReady(*open.inputs[0], *open.writer,
                                    sound(values, 1, start + CMTimeMake(99 * n, 10'000))));
    }
    ASSERT_EQ(finish(*open.writer), AVAssetWriterStatus::completed);
    const auto found = clicks(MediaProbe::sound(folder.file("a.mov"), 0));
    ASSERT_GE(found.size(), 95u);
    EXPECT_NEAR(found.back(), 0.0099 * 990 + 0.005, 0.025);
}

TEST_F(LinuxMovieWriterTest, otherRatesAndIntegersAreConverted) {
    const auto open = beginMovie("a.mov", {aac(1), aac(1)});
    appendClicks(*open.inputs[0], *open.writer, 0, 1, 2, 44'100);
    for (int n = 0; n < 100; ++n) {
        std::vector<int16_t> values(480, 0);
        if (n % 10 == 0) std::fill_n(values.begin(), 48, int16_t{29'000});
        ASSERT_TRUE(
            appendWhenReady(*open.inputs[1], *open.writer, sound16(values, 1, start + CMTimeMake(n, 100))));
    }
    ASSERT_EQ(finish(*open.writer), AVAssetWriterStatus::completed);
    for (size_t track = 0; track < 2; ++track) {
        const auto found = clicks(MediaProbe::sound(folder.file("a.mov"), track));
        ASSERT_EQ(found.size(), 10u) << track;
        for (size_t i = 0; i < found.size(); ++i)
            EXPECT_NEAR(found[i], 0.1 * static_cast<double>(i), 0.002) << track << " " << i;
    }
}

TEST_F(LinuxMovieWriterTest, soundThatIsNoNumberDoesNotStopTheMovie) {
    const auto open = beginMovie("a.mov", {aac(1)});
    std::vector<float> values(4800, std::nanf(""));
    values[7] = INFINITY;
    ASSERT_TRUE(open.inputs[0]->append(sound(values, 1, start)));
    EXPECT_EQ(finish(*open.writer), AVAssetWriterStatus::completed);
}

TEST_F(LinuxMovieWriterTest, aMovieWithoutSamplesCanBeOpened) {
    const auto open = beginMovie("a.mov", {pictures(64, 48), aac(1)});
    ASSERT_EQ(finish(*open.writer), AVAssetWriterStatus::completed);
    const MediaProbe probe(folder.file("a.mov"));
    ASSERT_EQ(probe.tracks().size(), 2u);
    EXPECT_EQ(probe.track(0).packets.size(), 0u);
    EXPECT_EQ(probe.track(0).width, 64);
}

TEST_F(LinuxMovieWriterTest, busyPicturesStayWithinTheBitRate) {
    constexpr int64_t bitRate = 1'500'000;
    const auto open = beginMovie("a.mov", {pictures(320, 240, bitRate)});
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    for (int i = 0; i < 150; ++i) {
        auto image = CVPixelBuffer::make(kCVPixelFormatType_32BGRA, 320, 240);
        const auto& plane = image->plane(0);
        for (size_t j = 0; j < plane.bytesPerRow * plane.height; ++j)
            plane.baseAddress[j] = static_cast<uint8_t>(random() >> 26);
        ASSERT_TRUE(
            appendWhenReady(*open.inputs[0], *open.writer, picture(image, start + CMTimeMake(i, 30), 30)));
    }
    ASSERT_EQ(finish(*open.writer), AVAssetWriterStatus::completed);
    const MediaProbe probe(folder.file("a.mov"));
    int64_t bits = 0;
    for (const auto& packet : probe.track(0).packets)
        bits += 8 * static_cast<int64_t>(packet.size);
    // A second of buffer beside the five seconds of pictures.
    EXPECT_LE(bits, bitRate * 6);
    EXPECT_GE(bits, bitRate * 5 / 2);
}

} // namespace
} // namespace vintra
