#include "Vintra/audio/ContainsNonZeroSample.h"

#include "tests/SoundBuffers.h"

#include <gtest/gtest.h>

namespace vintra {
namespace {

using namespace tests;

TEST(ContainsNonZeroSampleTest, aBufferOfZerosHoldsNone) {
    for (const size_t frames : {1, 63, 64, 65, 512, 1000})
        EXPECT_FALSE(containsNonZeroSample(floatBuffer(std::vector<float>(frames)))) << frames;
}

TEST(ContainsNonZeroSampleTest, oneByteAnywhereIsEnough) {
    constexpr size_t length = 1200; // four whole scan blocks and a rest
    for (size_t at = 0; at < length; ++at) {
        std::vector<uint8_t> bytes(length);
        bytes[at] = 1;
        EXPECT_TRUE(containsNonZeroSample(soundBuffer(bytes.data(), length, floatPCMDescription(48000, 1))))
            << at;
    }
}

TEST(ContainsNonZeroSampleTest, theSmallestSampleOfAnyFormatCounts) {
    EXPECT_TRUE(containsNonZeroSample(int16Buffer({0, 0, 1, 0})));
    EXPECT_TRUE(containsNonZeroSample(floatBuffer({0, -0.0f}))); // the sign bit is a byte that isn't 0
}

TEST(ContainsNonZeroSampleTest, dataInSeveralPiecesIsNotLookedInto) {
    const std::vector<float> loud(100, 0.5f);
    EXPECT_FALSE(containsNonZeroSample(
        soundBuffer(loud.data(), 400, floatPCMDescription(48000, 1), kCMTimeZero, 200)));
}

TEST(ContainsNonZeroSampleTest, aBufferWithoutDataHoldsNone) {
    EXPECT_FALSE(containsNonZeroSample(CMSampleBuffer{}));
    EXPECT_FALSE(containsNonZeroSample(CMSampleBuffer::makeVideo(nullptr, {})));
}

} // namespace
} // namespace vintra
