#include "Vintra/audio/ExtractMonoChannel.h"

#include "tests/SoundBuffers.h"

#include <gtest/gtest.h>

namespace vintra {
namespace {

using namespace tests;

/// Sample of a frame and channel as channel + 1 and thousandths of the frame.
std::vector<float> interleaved(int frames, int channels) {
    std::vector<float> samples;
    for (int frame = 0; frame < frames; ++frame) {
        for (int channel = 0; channel < channels; ++channel)
            samples.push_back(static_cast<float>(channel + 1) + static_cast<float>(frame) / 1000);
    }
    return samples;
}

class ExtractMonoChannelTest : public testing::Test {
protected:
    MonoFormatCache formats;
    std::optional<CMSampleBuffer> extract(int channel, int totalChannels, const CMSampleBuffer& from) {
        return extractMonoChannel(channel, totalChannels, from, 48000.0, formats);
    }
};

TEST_F(ExtractMonoChannelTest, theFourthOfFourChannelsIsEveryFourthSampleFromTheFourthOn) {
    const auto mono = extract(3, 4, floatBuffer(interleaved(5, 4), 4));
    ASSERT_TRUE(mono);
    EXPECT_EQ(samplesOf<float>(*mono), (std::vector<float>{4.0f, 4.001f, 4.002f, 4.003f, 4.004f}));
    EXPECT_EQ(mono->numSamples(), 5);
}

TEST_F(ExtractMonoChannelTest, theResultCarriesItsOwnFormatAndTheSourcesTime) {
    const CMTime time = CMTimeMake(123'456'789, 7'200'000);
    const auto mono = extract(1, 2, floatBuffer(interleaved(480, 2), 2, time));
    ASSERT_TRUE(mono);
    EXPECT_EQ(mono->presentationTimeStamp(), time);
    EXPECT_EQ(mono->timing().duration.value, 1);
    EXPECT_EQ(mono->timing().duration.timescale, 48'000);
    EXPECT_FALSE(mono->timing().decodeTimeStamp.isValid());
    EXPECT_EQ(mono->duration(), CMTimeMake(1, 100));
    const auto* description = mono->formatDescription()->streamBasicDescription();
    EXPECT_EQ(description->mFormatID, kAudioFormatLinearPCM);
    EXPECT_EQ(description->mFormatFlags, 9u);
    EXPECT_EQ(description->mSampleRate, 48'000);
    EXPECT_EQ(description->mBytesPerFrame, 4u);
    EXPECT_EQ(description->mBytesPerPacket, 4u);
    EXPECT_EQ(description->mFramesPerPacket, 1u);
    EXPECT_EQ(description->mChannelsPerFrame, 1u);
    EXPECT_EQ(description->mBitsPerChannel, 32u);
}

TEST_F(ExtractMonoChannelTest, integersOf16BitsAreTakenToo) {
    const auto mono = extract(1, 3, int16Buffer({1, 2, 3, 11, 12, 13}, 3));
    ASSERT_TRUE(mono);
    EXPECT_EQ(samplesOf<int16_t>(*mono), (std::vector<int16_t>{2, 12}));
    const auto* description = mono->formatDescription()->streamBasicDescription();
    EXPECT_EQ(description->mFormatFlags, 12u);
    EXPECT_EQ(description->mBytesPerFrame, 2u);
    EXPECT_EQ(description->mBitsPerChannel, 16u);
}

TEST_F(ExtractMonoChannelTest, oneOf32ChannelsIsPicked) {
    const auto mono = extract(31, 32, floatBuffer(interleaved(512, 32), 32));
    ASSERT_TRUE(mono);
    EXPECT_EQ(samplesOf<float>(*mono)[511], 32.511f);
    EXPECT_EQ(mono->numSamples(), 512);
}

TEST_F(ExtractMonoChannelTest, theSourceStaysAsItIs) {
    const auto source = floatBuffer(interleaved(5, 1));
    const auto mono = extract(0, 1, source);
    ASSERT_TRUE(mono);
    mono->dataBuffer()->fillDataBytes(0, 0, 20);
    EXPECT_EQ(samplesOf<float>(source), interleaved(5, 1));
}

TEST_F(ExtractMonoChannelTest, aChannelThatIsNotThereGivesNothing) {
    const auto source = floatBuffer(interleaved(5, 2), 2);
    EXPECT_FALSE(extract(2, 2, source));
    EXPECT_FALSE(extract(-1, 2, source));
    EXPECT_FALSE(extract(0, 0, source));
    EXPECT_FALSE(extract(0, -2, source));
}

TEST_F(ExtractMonoChannelTest, lessThanAFrameGivesNothingAndARestIsLeftOut) {
    EXPECT_FALSE(extract(0, 4, floatBuffer({1, 2, 3})));
    const auto mono = extract(0, 4, floatBuffer({1, 2, 3, 4, 5}));
    ASSERT_TRUE(mono);
    EXPECT_EQ(mono->numSamples(), 1);
}

TEST_F(ExtractMonoChannelTest, otherLayoutsGiveNothing) {
    const std::vector<float> samples(16);
    const auto with = [&](AudioStreamBasicDescription description) {
        return extract(0, 1, soundBuffer(samples.data(), 64, description));
    };
    auto description = floatPCMDescription(48000, 1);
    description.mFormatFlags |= kAudioFormatFlagIsBigEndian;
    EXPECT_FALSE(with(description));
    description = floatPCMDescription(48000, 1);
    description.mFormatFlags |= kAudioFormatFlagIsNonInterleaved;
    EXPECT_FALSE(with(description));
    description = floatPCMDescription(48000, 1);
    description.mBitsPerChannel = 64;
    EXPECT_FALSE(with(description));
    description = int16Description(48000, 1);
    description.mBitsPerChannel = 24;
    EXPECT_FALSE(with(description));
    EXPECT_TRUE(with(int16Description(48000, 1)));
}

TEST_F(ExtractMonoChannelTest, dataInPiecesAndNoDataGiveNothing) {
    const std::vector<float> samples(16);
    EXPECT_FALSE(
        extract(0, 1, soundBuffer(samples.data(), 64, floatPCMDescription(48000, 1), kCMTimeZero, 32)));
    EXPECT_FALSE(extract(0, 1, CMSampleBuffer{}));
    EXPECT_FALSE(extract(0, 1, CMSampleBuffer::makeVideo(nullptr, {})));
}

TEST_F(ExtractMonoChannelTest, aRateThatCannotBeGivesNothing) {
    EXPECT_FALSE(extractMonoChannel(0, 1, floatBuffer({1}), 0, formats));
}

TEST_F(ExtractMonoChannelTest, aFormatIsMadeOnce) {
    const auto first = formats.formatDescription(48000, true);
    EXPECT_EQ(formats.formatDescription(48000, true), first);
    EXPECT_NE(formats.formatDescription(48000, false), first);
    EXPECT_NE(formats.formatDescription(44100, true), first);
    EXPECT_EQ(formats.formatDescription(0, true), nullptr);
}

} // namespace
} // namespace vintra
