#include "Vintra/audio/ApplyGain.h"

#include "tests/SoundBuffers.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <random>

namespace vintra {
namespace {

using namespace tests;

constexpr float kNotANumber = std::numeric_limits<float>::quiet_NaN();

struct Applied {
    std::vector<float> samples;
    float level;
};

Applied applied(const std::vector<float>& samples, double gainDB) {
    const auto buffer = floatBuffer(samples);
    const auto result = applyGain(buffer, gainDB, kGainCeiling);
    EXPECT_EQ(result.buffer.dataBuffer(), buffer.dataBuffer()); // in place
    return {samplesOf<float>(buffer), result.level};
}

std::vector<int16_t> appliedToIntegers(const std::vector<int16_t>& samples, double gainDB,
                                       double ceiling = kGainCeiling) {
    const auto buffer = int16Buffer(samples);
    applyGain(buffer, gainDB, ceiling);
    return samplesOf<int16_t>(buffer);
}

/// One loud sample and the rest at half of it, in lengths that end within, at and behind a vector block.
std::vector<float> peaking(float peak, size_t count, size_t at) {
    std::vector<float> samples(count, peak / 2);
    samples[at] = -peak;
    return samples;
}

TEST(ApplyGainTest, aBoostIsLimitedToTheCeiling) {
    const auto [samples, level] = applied({0.5f, -0.25f}, 12);
    EXPECT_NEAR(samples[0], 0.891f, 1e-6);
    EXPECT_NEAR(samples[1], -0.4455f, 1e-6);
    EXPECT_NEAR(level, (20 * std::log10(0.891) + 60) / 60, 1e-6);
}

TEST(ApplyGainTest, twelveDecibelsOnAPeakAtMinusThreeRaiseByAboutTwo) {
    const float peak = static_cast<float>(std::pow(10, -3.0 / 20));
    const auto [samples, level] = applied({peak}, 12);
    EXPECT_NEAR(samples[0], 0.891, 1e-6);
    EXPECT_NEAR(20 * std::log10(samples[0] / peak), 2.0, 0.01);
}

TEST(ApplyGainTest, aBoostThatStaysBelowTheCeilingIsAppliedWhole) {
    const auto [samples, level] = applied({0.1f}, 6);
    EXPECT_NEAR(samples[0], 0.1 * std::pow(10, 0.3), 1e-7);
}

TEST(ApplyGainTest, aPeakAboveTheCeilingIsNotLowered) {
    const auto [samples, level] = applied({0.95f, 0.1f}, 12);
    EXPECT_EQ(samples, (std::vector<float>{0.95f, 0.1f}));
    EXPECT_NEAR(level, (20 * std::log10(0.95) + 60) / 60, 1e-6);
}

TEST(ApplyGainTest, attenuationKnowsNoCeiling) {
    const double half = std::pow(10, -6.0 / 20);
    const auto [samples, level] = applied({1.0f, -1.0f}, -6);
    EXPECT_NEAR(samples[0], half, 1e-7);
    EXPECT_NEAR(samples[1], -half, 1e-7);
    EXPECT_NEAR(level, 54.0 / 60, 1e-6);
    EXPECT_NEAR(applied({4.0f}, -6).samples[0], 4 * half, 1e-6);
}

TEST(ApplyGainTest, unityLeavesTheSamplesAndReadsTheLevel) {
    const std::vector<float> before = {0.1f, -0.01f, 0.003f};
    const auto [samples, level] = applied(before, 0);
    EXPECT_EQ(samples, before);
    EXPECT_NEAR(level, 40.0 / 60, 1e-6);
}

TEST(ApplyGainTest, theLevelRunsFromMinus60DecibelsToFullScale) {
    EXPECT_NEAR(applied({0.001f}, 0).level, 0, 1e-6);
    EXPECT_EQ(applied({0.0005f}, 0).level, 0);
    EXPECT_EQ(applied({1.0f}, 0).level, 1);
    EXPECT_EQ(applied({-1.0f}, 0).level, 1);
    EXPECT_EQ(applied({3.0f}, 0).level, 1);
    EXPECT_NEAR(applied({0.0316227766f}, 0).level, 0.5, 1e-6); // -30 dBFS
}

TEST(ApplyGainTest, silenceStaysSilenceAtLevelZero) {
    const auto [samples, level] = applied(std::vector<float>(100), 12);
    EXPECT_EQ(samples, std::vector<float>(100));
    EXPECT_EQ(level, 0);
}

TEST(ApplyGainTest, thePeakIsFoundWhereverItLies) {
    for (const size_t count : {1, 15, 16, 17, 31, 32, 33, 512}) {
        for (size_t at = 0; at < count; ++at) {
            const auto [samples, level] = applied(peaking(0.5f, count, at), 12);
            EXPECT_NEAR(samples[at], -0.891f, 1e-6) << count << " " << at;
        }
    }
}

TEST(ApplyGainTest, everySampleIsScaledAlikeWhereverBlocksEnd) {
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> anySample(-1, 1);
    std::vector<float> before(1000);
    for (float& sample : before)
        sample = anySample(random);
    const auto factor = static_cast<float>(std::pow(10, -7.0 / 20));
    for (size_t count = 1; count <= 50; ++count) {
        const std::vector<float> part(before.begin(), before.begin() + static_cast<std::ptrdiff_t>(count));
        const auto [samples, level] = applied(part, -7);
        for (size_t index = 0; index < count; ++index)
            ASSERT_EQ(samples[index], part[index] * factor) << count << " " << index;
    }
}

TEST(ApplyGainTest, dataAtAnyAddressIsTaken) {
    const std::vector<float> samples(40, 0.5f);
    auto memory = std::make_shared<std::vector<uint8_t>>(200);
    for (size_t shift = 0; shift < 4; ++shift) {
        std::memcpy(memory->data() + shift, samples.data(), 160);
        const auto buffer = CMSampleBuffer::makeAudio(
            CMBlockBuffer::make({{memory->data() + shift, 160}}, memory),
            std::make_shared<const CMFormatDescription>(floatPCMDescription(48000, 1)), 40, {});
        applyGain(buffer, -20, kGainCeiling);
        for (const float sample : samplesOf<float>(buffer))
            EXPECT_NEAR(sample, 0.05f, 1e-7);
    }
}

TEST(ApplyGainTest, integersAreRoundedToNearestWithTiesAway) {
    // Half: 20 log10(0.5) isn't exact, so the tie is made by a ceiling instead: 20000 -> 0.891 * 32767.
    EXPECT_EQ(appliedToIntegers({20000, 1, -1}, 40, 30000.0 / 32767), (std::vector<int16_t>{30000, 2, -2}));
    // 1.5 times: 1.5 and -1.5, 4.5 and -4.5 go away from zero.
    EXPECT_EQ(appliedToIntegers({20000, 3, -3}, 40, 30000.0 / 32767), (std::vector<int16_t>{30000, 5, -5}));
}

TEST(ApplyGainTest, integersAgreeWithRoundingOneByOne) {
    std::vector<int16_t> before;
    for (int value = -32768; value <= 32767; value += 7)
        before.push_back(static_cast<int16_t>(value));
    const double factor = std::pow(10, -5.0 / 20);
    const auto after = appliedToIntegers(before, -5);
    for (size_t index = 0; index < before.size(); ++index)
        ASSERT_EQ(after[index], std::lround(factor * before[index])) << before[index];
}

TEST(ApplyGainTest, theLowestIntegerIsAPeakToo) {
    std::vector<int16_t> samples(33, 5);
    samples[20] = -32768;
    const auto buffer = int16Buffer(samples);
    EXPECT_EQ(applyGain(buffer, 0, kGainCeiling).level, 1);
    EXPECT_EQ(samplesOf<int16_t>(buffer), samples);
    EXPECT_EQ(appliedToIntegers(samples, 12), samples); // it lies above the ceiling already
}

TEST(ApplyGainTest, anIntegerBoostAtACeilingAboveFullScaleIsClamped) {
    EXPECT_EQ(appliedToIntegers({16000, -16000}, 20, 4), (std::vector<int16_t>{32767, -32768}));
}

TEST(ApplyGainTest, integersAreLimitedToTheCeilingOfTheirFullScale) {
    EXPECT_EQ(appliedToIntegers({16384, -8192}, 12), (std::vector<int16_t>{29195, -14598})); // 0.891 * 32767
}

TEST(ApplyGainTest, aBufferInPiecesOrWithoutDataStaysAsItIs) {
    const std::vector<float> loud(64, 0.5f);
    const auto pieces = soundBuffer(loud.data(), 256, floatPCMDescription(48000, 1), kCMTimeZero, 100);
    EXPECT_EQ(applyGain(pieces, -6, kGainCeiling).level, 0);
    EXPECT_EQ(samplesOf<float>(pieces), loud);
    EXPECT_EQ(applyGain(CMSampleBuffer{}, 6, kGainCeiling).level, 0);
    EXPECT_EQ(applyGain(CMSampleBuffer::makeVideo(nullptr, {}), 6, kGainCeiling).level, 0);
}

TEST(ApplyGainTest, layoutsThatAreNotCapturedStayAsTheyAre) {
    auto description = floatPCMDescription(48000, 1);
    description.mFormatFlags |= kAudioFormatFlagIsBigEndian;
    const std::vector<float> loud(8, 0.5f);
    const auto bigEndian = soundBuffer(loud.data(), 32, description);
    EXPECT_EQ(applyGain(bigEndian, -6, kGainCeiling).level, 0);
    EXPECT_EQ(samplesOf<float>(bigEndian), loud);
    auto wide = int16Description(48000, 1);
    wide.mBitsPerChannel = 32;
    const auto integers = soundBuffer(loud.data(), 32, wide);
    EXPECT_EQ(applyGain(integers, -6, kGainCeiling).level, 0);
    EXPECT_EQ(samplesOf<float>(integers), loud);
}

TEST(ApplyGainTest, samplesThatAreNoNumbersNeitherRaiseThePeakNorReachTheMeter) {
    const auto [samples, level] = applied({0.25f, kNotANumber, 0.1f}, 6);
    EXPECT_NEAR(samples[0], 0.25 * std::pow(10, 0.3), 1e-6);
    EXPECT_TRUE(std::isnan(samples[1]));
    EXPECT_NEAR(level, (20 * std::log10(0.25) + 66) / 60, 1e-6);
    EXPECT_EQ(applied({kNotANumber}, 6).level, 0);
    EXPECT_EQ(applied({std::numeric_limits<float>::infinity()}, 6).level, 1);
    EXPECT_EQ(applied({0.5f}, kNotANumber).samples[0], 0.5f);
}

} // namespace
} // namespace vintra
