#include "Vintra/platform/CVPixelBuffer.h"

#include <cstring>
#include <gtest/gtest.h>

namespace vintra {
namespace {

TEST(CVPixelBufferTest, aPictureInBGRAHasOnePlaneOfAlignedRows) {
    const auto picture = CVPixelBuffer::make(kCVPixelFormatType_32BGRA, 17, 3);
    ASSERT_NE(picture, nullptr);
    EXPECT_EQ(picture->pixelFormat(), kCVPixelFormatType_32BGRA);
    EXPECT_EQ(picture->width(), 17u);
    EXPECT_EQ(picture->height(), 3u);
    EXPECT_FALSE(picture->isPlanar());
    ASSERT_EQ(picture->planeCount(), 1u);
    EXPECT_EQ(picture->plane(0).bytesPerRow, 128u); // 68 bytes of pixels
    EXPECT_EQ(reinterpret_cast<uintptr_t>(picture->plane(0).baseAddress) % 64, 0u);
    std::memset(picture->plane(0).baseAddress, 1, 128 * 3);
}

TEST(CVPixelBufferTest, theChromaOfAnOddSizeIsRoundedUp) {
    const auto picture = CVPixelBuffer::make(kCVPixelFormatType_420YpCbCr8BiPlanarVideoRange, 65, 5);
    ASSERT_NE(picture, nullptr);
    EXPECT_TRUE(picture->isPlanar());
    ASSERT_EQ(picture->planeCount(), 2u);
    EXPECT_EQ(picture->plane(0).bytesPerRow, 128u);
    EXPECT_EQ(picture->plane(1).width, 33u);
    EXPECT_EQ(picture->plane(1).height, 3u);
    EXPECT_EQ(picture->plane(1).bytesPerRow, 128u); // 66 bytes of chroma
    EXPECT_EQ(picture->plane(1).baseAddress, picture->plane(0).baseAddress + 128 * 5);
    std::memset(picture->plane(0).baseAddress, 1, 128 * 5);
    std::memset(picture->plane(1).baseAddress, 1, 128 * 3);
    EXPECT_THROW(picture->plane(2), std::out_of_range);
}

TEST(CVPixelBufferTest, anUnknownFormatGivesNone) {
    EXPECT_EQ(CVPixelBuffer::make(fourCharCode("RGB3"), 4, 4), nullptr);
}

TEST(CVPixelBufferTest, aPictureOverForeignMemoryKeepsItsOwner) {
    auto memory = std::make_shared<std::vector<uint8_t>>(64);
    const std::weak_ptr<std::vector<uint8_t>> watched = memory;
    auto picture = CVPixelBuffer::make(kCVPixelFormatType_32BGRA, 4, 4, {{memory->data(), 4, 4, 16}}, memory);
    memory = nullptr;
    EXPECT_FALSE(watched.expired());
    picture = nullptr;
    EXPECT_TRUE(watched.expired());
}

TEST(CVPixelBufferTest, aPictureWithoutSizeIsHarmless) {
    const auto picture = CVPixelBuffer::make(kCVPixelFormatType_32BGRA, 0, 0);
    ASSERT_NE(picture, nullptr);
    EXPECT_EQ(picture->width(), 0u);
}

} // namespace
} // namespace vintra
