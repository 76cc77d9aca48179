#include "tests/platform/linux/movie/WriterFixture.h"
#include "tests/support/MediaProbe.h"

#include <cmath>
#include <fstream>

namespace vintra {
namespace {

class LinuxWaveWriterTest : public WriterFixture {
protected:
    static constexpr size_t kHeader = 80;

    std::string read(const std::string& name) const {
        std::ifstream file(folder.file(name).path(), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    static uint32_t number(const std::string& bytes, size_t at, int count) {
        uint32_t value = 0;
        for (int i = count - 1; i >= 0; --i)
            value = value << 8 | static_cast<unsigned char>(bytes.at(at + static_cast<size_t>(i)));
        return value;
    }
    static int32_t value24(const std::string& bytes, size_t index) {
        const auto raw = static_cast<int32_t>(number(bytes, kHeader + 3 * index, 3) << 8);
        return raw >> 8;
    }
};

TEST_F(LinuxWaveWriterTest, theHeaderIsThePlainOneWithRoomForLargeSizes) {
    const auto open = beginWave("a.wav", 2);
    ASSERT_TRUE(open.inputs[0]->append(sound(std::vector<float>(960, 0.0f), 2, start)));
    ASSERT_EQ(finish(*open.writer), AVAssetWriterStatus::completed);
    const std::string bytes = read("a.wav");
    ASSERT_EQ(bytes.size(), kHeader + 480 * 6);
    EXPECT_EQ(bytes.substr(0, 4), "RIFF");
    EXPECT_EQ(number(bytes, 4, 4), bytes.size() - 8);
    EXPECT_EQ(bytes.substr(8, 8), "WAVEJUNK");
    EXPECT_EQ(number(bytes, 16, 4), 28u);
    EXPECT_EQ(bytes.substr(20, 28), std::string(28, '\0'));
    EXPECT_EQ(bytes.substr(48, 4), "fmt ");
    EXPECT_EQ(number(bytes, 52, 4), 16u);
    EXPECT_EQ(number(bytes, 56, 2), 1u);
    EXPECT_EQ(number(bytes, 58, 2), 2u);
    EXPECT_EQ(number(bytes, 60, 4), 48'000u);
    EXPECT_EQ(number(bytes, 64, 4), 288'000u);
    EXPECT_EQ(number(bytes, 68, 2), 6u);
    EXPECT_EQ(number(bytes, 70, 2), 24u);
    EXPECT_EQ(bytes.substr(72, 4), "data");
    EXPECT_EQ(number(bytes, 76, 4), 480u * 6);
}

TEST_F(LinuxWaveWriterTest, floatsAreRoundedToNearestAndHeldAtFullScale) {
    const float half = 0.5f / 8'388'608; // of the smallest step
    const std::vector<float> values = {0.0f,          0.5f,        -0.5f,    1.0f,
                                       -1.0f,         1.5f,        -7.0f,    half,
                                       -half,         half * 0.9f, 3 * half, 1.0f / 8'388'608,
                                       std::nanf(""), INFINITY,    -INFINITY};
    const std::vector<int32_t> expected = {0,         4'194'304,  -4'194'304, 8'388'607, -8'388'608,
                                           8'388'607, -8'388'608, 1,          -1,        0,
                                           2,         1,          0,          8'388'607, -8'388'608};
    const auto open = beginWave("a.wav", 1);
    ASSERT_TRUE(open.inputs[0]->append(sound(values, 1, start)));
    ASSERT_EQ(finish(*open.writer), AVAssetWriterStatus::completed);
    const std::string bytes = read("a.wav");
    for (size_t i = 0; i < values.size(); ++i)
        EXPECT_EQ(value24(bytes, i), expected[i]) << i;
    // 45 bytes of samples: one more makes the chunk even, and isn't counted.
    EXPECT_EQ(bytes.size(), kHeader + 45 + 1);
    EXPECT_EQ(number(bytes, 76, 4), 45u);
    EXPECT_EQ(number(bytes, 4, 4), bytes.size() - 8);
}

TEST_F(LinuxWaveWriterTest, sixteenBitIntegersKeepTheirValue) {
    const std::vector<int16_t> values = {0, 1, -1, 32'767, -32'768, 12'345};
    const auto open = beginWave("a.wav", 1);
    ASSERT_TRUE(open.inputs[0]->append(sound16(values, 1, start)));
    ASSERT_EQ(finish(*open.writer), AVAssetWriterStatus::completed);
    const std::string bytes = read("a.wav");
    for (size_t i = 0; i < values.size(); ++i)
        EXPECT_EQ(value24(bytes, i), values[i] * 256) << i;
}

TEST_F(LinuxWaveWriterTest, buffersFollowOneAnotherWithoutTheirGaps) {
    const auto open = beginWave("a.wav", 1);
    for (int n = 0; n < 300; ++n) {
        std::vector<float> values(480);
        for (size_t i = 0; i < values.size(); ++i)
            values[i] = static_cast<float>(480 * n + static_cast<int>(i)) / 8'388'608;
        // Half a second late, and a gap of a second after each hundred.
        const CMTime time = start + CMTimeMake(50 + n + 100 * (n / 100), 100);
        ASSERT_TRUE(appendWhenReady(*open.inputs[0], *open.writer, sound(values, 1, time)));
    }
    ASSERT_EQ(finish(*open.writer), AVAssetWriterStatus::completed);
    const std::string bytes = read("a.wav");
    ASSERT_EQ(bytes.size(), kHeader + 300 * 480 * 3);
    for (size_t i = 0; i < 300 * 480; ++i)
        ASSERT_EQ(value24(bytes, i), static_cast<int32_t>(i)) << i;
}

TEST_F(LinuxWaveWriterTest, framesBeforeTheSessionAreLeftOut) {
    const auto open = beginWave("a.wav", 1);
    std::vector<float> values(480);
    for (size_t i = 0; i < values.size(); ++i)
        values[i] = static_cast<float>(i) / 8'388'608;
    ASSERT_TRUE(open.inputs[0]->append(sound(values, 1, start - CMTimeMake(480, 48'000)))); // wholly before
    ASSERT_TRUE(open.inputs[0]->append(sound(values, 1, start - CMTimeMake(100, 48'000))));
    ASSERT_EQ(finish(*open.writer), AVAssetWriterStatus::completed);
    const std::string bytes = read("a.wav");
    ASSERT_EQ(bytes.size(), kHeader + 380 * 3);
    EXPECT_EQ(value24(bytes, 0), 100);
    EXPECT_EQ(value24(bytes, 379), 479);
}

TEST_F(LinuxWaveWriterTest, soundInSeveralPiecesIsRead) {
    std::vector<float> values(480);
    for (size_t i = 0; i < values.size(); ++i)
        values[i] = static_cast<float>(i) / 8'388'608;
    auto* bytes = reinterpret_cast<uint8_t*>(values.data());
    auto data = CMBlockBuffer::make({{bytes, 401}, {bytes + 401, 480 * 4 - 401}}, nullptr);
    const auto open = beginWave("a.wav", 1);
    ASSERT_TRUE(open.inputs[0]->append(
        CMSampleBuffer::makeAudio(data, CMAudioFormatDescriptionCreate(floatPCMDescription(48'000, 1)), 480,
                                  {CMTimeMake(1, 48'000), start, kCMTimeInvalid})));
    ASSERT_EQ(finish(*open.writer), AVAssetWriterStatus::completed);
    const std::string file = read("a.wav");
    for (size_t i = 0; i < values.size(); ++i)
        ASSERT_EQ(value24(file, i), static_cast<int32_t>(i));
}

TEST_F(LinuxWaveWriterTest, anEmptyFileIsAWholeHeader) {
    const auto open = beginWave("a.wav", 1);
    ASSERT_EQ(finish(*open.writer), AVAssetWriterStatus::completed);
    const std::string bytes = read("a.wav");
    ASSERT_EQ(bytes.size(), kHeader);
    EXPECT_EQ(number(bytes, 4, 4), kHeader - 8);
    EXPECT_EQ(number(bytes, 76, 4), 0u);
}

TEST_F(LinuxWaveWriterTest, manyChannelsTakeTheExtensibleHeader) {
    const auto open = beginWave("a.wav", 4);
    ASSERT_TRUE(open.inputs[0]->append(sound(std::vector<float>(4 * 100, 0.25f), 4, start)));
    ASSERT_EQ(finish(*open.writer), AVAssetWriterStatus::completed);
    const std::string bytes = read("a.wav");
    EXPECT_EQ(number(bytes, 56, 2), 0xFFFEu);
    EXPECT_EQ(number(bytes, 76 + 4, 1), 1u); // PCM
    EXPECT_EQ(bytes.substr(96, 4), "data");
    const MediaProbe probe(folder.file("a.wav"));
    EXPECT_EQ(probe.track(0).codec, "pcm_s24le");
    EXPECT_EQ(probe.track(0).channels, 4);
}

TEST_F(LinuxWaveWriterTest, refusesSoundItCannotRead) {
    const auto open = beginWave("a.wav", 1);
    AudioStreamBasicDescription format = floatPCMDescription(48'000, 1);
    format.mBitsPerChannel = 64;
    auto data = CMBlockBuffer::make(8 * 480);
    const CMSampleTimingInfo timing{CMTimeMake(1, 48'000), start, kCMTimeInvalid};
    EXPECT_FALSE(open.inputs[0]->append(
        CMSampleBuffer::makeAudio(data, CMAudioFormatDescriptionCreate(format), 480, timing)));
    // More frames than there are bytes.
    EXPECT_FALSE(open.inputs[0]->append(CMSampleBuffer::makeAudio(
        data, CMAudioFormatDescriptionCreate(floatPCMDescription(48'000, 1)), 961, timing)));
    EXPECT_EQ(finish(*open.writer), AVAssetWriterStatus::completed);
}

} // namespace
} // namespace vintra
