#include "Vintra/platform/CMSampleBuffer.h"

#include <gtest/gtest.h>
#include <utility>

namespace vintra {
namespace {

const CMTime kStart = CMTimeMake(7'200'001, 7'200'000);

CMSampleBuffer makePicture(std::vector<CMSampleAttachments> attachments = {}) {
    return CMSampleBuffer::makeVideo(CVPixelBuffer::make(kCVPixelFormatType_32BGRA, 4, 2),
                                     {CMTimeMake(1, 60), kStart, kCMTimeInvalid}, std::move(attachments));
}

CMSampleBuffer makeSound(int64_t frames) {
    return CMSampleBuffer::makeAudio(CMBlockBuffer::make(static_cast<size_t>(frames) * 4),
                                     CMAudioFormatDescriptionCreate(floatPCMDescription(48'000, 1)), frames,
                                     {CMTimeMake(1, 48'000), kStart, kCMTimeInvalid});
}

TEST(CMSampleBufferTest, anInvalidSampleHasNothing) {
    const CMSampleBuffer none;
    EXPECT_FALSE(none.isValid());
    EXPECT_FALSE(none.presentationTimeStamp().isValid());
    EXPECT_FALSE(none.duration().isValid());
    EXPECT_EQ(none.numSamples(), 0);
    EXPECT_EQ(none.imageBuffer(), nullptr);
    EXPECT_EQ(none.dataBuffer(), nullptr);
    EXPECT_EQ(none.formatDescription(), nullptr);
    EXPECT_TRUE(none.attachments().empty());
    EXPECT_FALSE(CMSampleBufferCreateCopyWithNewTiming(none, {}));
}

TEST(CMSampleBufferTest, soundWithoutDataFormatOrFramesIsInvalid) {
    const auto data = CMBlockBuffer::make(4);
    const auto format = CMAudioFormatDescriptionCreate(floatPCMDescription(48'000, 1));
    EXPECT_FALSE(CMSampleBuffer::makeAudio(nullptr, format, 1, {}).isValid());
    EXPECT_FALSE(CMSampleBuffer::makeAudio(data, nullptr, 1, {}).isValid());
    EXPECT_FALSE(CMSampleBuffer::makeAudio(data, format, 0, {}).isValid());
    EXPECT_TRUE(CMSampleBuffer::makeAudio(data, format, 1, {}).isValid());
}

TEST(CMSampleBufferTest, theDurationOfSoundIsThatOfAllItsFrames) {
    const CMSampleBuffer sound = makeSound(512);
    EXPECT_EQ(sound.numSamples(), 512);
    EXPECT_EQ(sound.duration(), CMTimeMake(512, 48'000));
    EXPECT_EQ(sound.timing().duration, CMTimeMake(1, 48'000));
}

TEST(CMSampleBufferTest, aRetimedCopySharesThePictureAndLeavesTheOriginal) {
    CMSampleAttachments attachments;
    attachments["status"] = int64_t{0};
    const CMSampleBuffer original = makePicture({attachments});
    const CMTime later = kStart + CMTimeMake(5, 60);
    const auto copy =
        CMSampleBufferCreateCopyWithNewTiming(original, {CMTimeMake(1, 30), later, kCMTimeInvalid});
    ASSERT_TRUE(copy);
    EXPECT_EQ(copy->imageBuffer(), original.imageBuffer());
    EXPECT_EQ(copy->presentationTimeStamp(), later);
    EXPECT_EQ(copy->duration(), CMTimeMake(1, 30));
    EXPECT_FALSE(copy->timing().decodeTimeStamp.isValid());
    EXPECT_EQ(copy->attachments(), original.attachments());
    EXPECT_EQ(original.presentationTimeStamp(), kStart);
    EXPECT_EQ(original.duration(), CMTimeMake(1, 60));
}

TEST(CMSampleBufferTest, aRetimedCopyOfSoundSharesItsBytes) {
    const CMSampleBuffer original = makeSound(16);
    const auto copy = CMSampleBufferCreateCopyWithNewTiming(original, original.timing());
    ASSERT_TRUE(copy);
    EXPECT_EQ(copy->dataBuffer(), original.dataBuffer());
    EXPECT_EQ(copy->formatDescription(), original.formatDescription());
    EXPECT_EQ(copy->numSamples(), 16);
}

TEST(CMSampleBufferTest, aFrameWithoutAPictureIsValidButCannotBeRetimed) {
    const CMSampleBuffer idle =
        CMSampleBuffer::makeVideo(nullptr, {CMTimeMake(1, 60), kStart, kCMTimeInvalid}, {{}});
    EXPECT_TRUE(idle.isValid());
    EXPECT_EQ(idle.imageBuffer(), nullptr);
    EXPECT_EQ(idle.attachments().size(), 1u);
    EXPECT_FALSE(CMSampleBufferCreateCopyWithNewTiming(idle, idle.timing()));
}

TEST(CMSampleBufferTest, copiesKeepThePayloadAlive) {
    auto image = CVPixelBuffer::make(kCVPixelFormatType_32BGRA, 4, 2);
    const std::weak_ptr<CVPixelBuffer> watched = image;
    auto original = CMSampleBuffer::makeVideo(std::move(image), {CMTimeMake(1, 60), kStart, kCMTimeInvalid});
    auto copy = CMSampleBufferCreateCopyWithNewTiming(original, original.timing());
    original = CMSampleBuffer();
    EXPECT_FALSE(watched.expired());
    copy.reset();
    EXPECT_TRUE(watched.expired());
}

TEST(CMFormatDescriptionTest, aFormatWithoutChannelsOrRateIsNone) {
    EXPECT_EQ(CMAudioFormatDescriptionCreate(floatPCMDescription(48'000, 0)), nullptr);
    EXPECT_EQ(CMAudioFormatDescriptionCreate(floatPCMDescription(0, 2)), nullptr);
    const auto format = CMAudioFormatDescriptionCreate(floatPCMDescription(44'100, 3));
    ASSERT_NE(format, nullptr);
    ASSERT_NE(format->streamBasicDescription(), nullptr);
    EXPECT_EQ(format->streamBasicDescription()->mBytesPerFrame, 12u);
    EXPECT_TRUE(format->streamBasicDescription()->isFloat());
    EXPECT_FALSE(format->streamBasicDescription()->isNonInterleaved());
    EXPECT_EQ(format->videoDescription(), nullptr);
}

TEST(CMFormatDescriptionTest, aCodeOfFourCharactersIsABigEndianNumber) {
    EXPECT_EQ(fourCharCode("lpcm"), 0x6C70636Du);
    EXPECT_EQ(fourCharCode("aac "), 0x61616320u);
}

} // namespace
} // namespace vintra
