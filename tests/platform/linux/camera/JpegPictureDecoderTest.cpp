#include "Vintra/platform/linux/camera/JpegPictureDecoder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>
#include <random>
#include <turbojpeg.h>
#include <vector>

namespace vintra {
namespace {

using JpegBytes = std::vector<uint8_t>;

/// What `JpegGradient` has at a place: smooth, so that a JPEG of it is nearly exact.
int redAt(size_t x, size_t width) {
    return static_cast<int>(40 + 160 * x / width);
}
int greenAt(size_t y, size_t height) {
    return static_cast<int>(40 + 160 * y / height);
}
constexpr int kBlue = 90;

JpegBytes jpegOfGradient(int width, int height, int subsampling, int flags = 0) {
    std::vector<uint8_t> pixels;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            for (const int value : {redAt(static_cast<size_t>(x), static_cast<size_t>(width)),
                                    greenAt(static_cast<size_t>(y), static_cast<size_t>(height)), kBlue})
                pixels.push_back(static_cast<uint8_t>(value));
    tjhandle compressor = tjInitCompress();
    unsigned char* bytes = nullptr;
    unsigned long size = 0;
    EXPECT_EQ(tjCompress2(compressor, pixels.data(), width, 0, height, TJPF_RGB, &bytes, &size, subsampling,
                          95, flags),
              0);
    JpegBytes result(bytes, bytes + size);
    tjFree(bytes);
    tjDestroy(compressor);
    return result;
}

/// The picture without its segments of that kind: its marker's second byte.
JpegBytes without(const JpegBytes& jpeg, uint8_t marker) {
    JpegBytes result(jpeg.begin(), jpeg.begin() + 2);
    size_t at = 2;
    while (at + 4 <= jpeg.size() && jpeg[at] == 0xFF) {
        const size_t length = 2 + (size_t{jpeg[at + 2]} << 8 | jpeg[at + 3]);
        const bool isScan = jpeg[at + 1] == 0xDA;
        const auto end = isScan ? jpeg.end() : jpeg.begin() + static_cast<ptrdiff_t>(at + length);
        if (jpeg[at + 1] != marker)
            result.insert(result.end(), jpeg.begin() + static_cast<ptrdiff_t>(at), end);
        if (isScan) break;
        at += length;
    }
    return result;
}

/// What came out, copied, as the luma of a place or its green.
struct Decoded {
    CameraPixelLayout layout = CameraPixelLayout::nv12;
    size_t width = 0;
    size_t height = 0;
    std::vector<uint8_t> first; ///< the first plane, close together
    int64_t stamp = 0;
};

std::optional<Decoded> decodedJpeg(JpegPictureDecoder& decoder, const JpegBytes& jpeg) {
    std::optional<Decoded> result;
    const bool isSound = decoder.decode(jpeg, 7, [&](const CameraPicture& picture, int64_t stamp) {
        result = Decoded{.layout = picture.layout,
                         .width = picture.width,
                         .height = picture.height,
                         .first = {},
                         .stamp = stamp};
        EXPECT_EQ(picture.colour, CameraColour::jpeg());
        const size_t bytesPerPixel = picture.layout == CameraPixelLayout::bgra ? 4 : 1;
        for (size_t y = 0; y < picture.height; ++y) {
            const uint8_t* const row = picture.planes[0].bytes + y * picture.planes[0].row;
            result->first.insert(result->first.end(), row, row + picture.width * bytesPerPixel);
        }
    });
    EXPECT_EQ(isSound, result.has_value());
    return result;
}

void expectTheGradient(const Decoded& decoded) {
    constexpr int kTolerance = 4; // of 255
    for (size_t y = 0; y < decoded.height; ++y) {
        for (size_t x = 0; x < decoded.width; ++x) {
            const int red = redAt(x, decoded.width);
            const int green = greenAt(y, decoded.height);
            if (decoded.layout == CameraPixelLayout::bgra) {
                const uint8_t* const pixel = &decoded.first[(y * decoded.width + x) * 4];
                ASSERT_NEAR(pixel[0], kBlue, kTolerance) << x << ", " << y;
                ASSERT_NEAR(pixel[1], green, kTolerance) << x << ", " << y;
                ASSERT_NEAR(pixel[2], red, kTolerance) << x << ", " << y;
            } else {
                const double luma = 0.299 * red + 0.587 * green + 0.114 * kBlue;
                ASSERT_NEAR(decoded.first[y * decoded.width + x], luma, kTolerance) << x << ", " << y;
            }
        }
    }
}

TEST(JpegPictureDecoderTest, everySubsamplingComesOutAtEverySize) {
    JpegPictureDecoder decoder;
    ASSERT_TRUE(decoder.isUsable());
    const std::pair<int, CameraPixelLayout> kinds[] = {
        {TJSAMP_420, CameraPixelLayout::i420},  {TJSAMP_422, CameraPixelLayout::y42b},
        {TJSAMP_GRAY, CameraPixelLayout::gray}, {TJSAMP_444, CameraPixelLayout::bgra},
        {TJSAMP_440, CameraPixelLayout::bgra},  {TJSAMP_411, CameraPixelLayout::bgra}};
    for (const auto& [subsampling, layout] : kinds) {
        for (const auto& [width, height] : {std::pair{320, 180}, std::pair{161, 91}, std::pair{1, 1}}) {
            const auto decoded = decodedJpeg(decoder, jpegOfGradient(width, height, subsampling));
            ASSERT_TRUE(decoded) << subsampling << ", " << width;
            EXPECT_EQ(decoded->layout, layout);
            EXPECT_EQ(decoded->width, static_cast<size_t>(width));
            EXPECT_EQ(decoded->height, static_cast<size_t>(height));
            EXPECT_EQ(decoded->stamp, 7);
            expectTheGradient(*decoded);
        }
    }
}

TEST(JpegPictureDecoderTest, aProgressivePictureIsOneToo) {
    JpegPictureDecoder decoder;
    const auto decoded = decodedJpeg(decoder, jpegOfGradient(160, 90, TJSAMP_422, TJFLAG_PROGRESSIVE));
    ASSERT_TRUE(decoded);
    expectTheGradient(*decoded);
}

TEST(JpegPictureDecoderTest, aPictureWithoutTablesHasTheUsualOnes) {
    constexpr uint8_t kHuffmanTables = 0xC4;
    JpegPictureDecoder decoder;
    const JpegBytes whole = jpegOfGradient(160, 90, TJSAMP_422);
    const JpegBytes bare = without(whole, kHuffmanTables);
    ASSERT_LT(bare.size(), whole.size());
    const auto decoded = decodedJpeg(decoder, bare);
    ASSERT_TRUE(decoded);
    EXPECT_EQ(decoded->first, decodedJpeg(decoder, whole)->first);
}

TEST(JpegPictureDecoderTest, bytesBetweenMarkersAndBehindThePictureAreNoHarm) {
    JpegPictureDecoder decoder;
    JpegBytes jpeg = jpegOfGradient(160, 90, TJSAMP_422);
    jpeg.insert(jpeg.end() - 2, {0x12, 0x34, 0x56});
    jpeg.insert(jpeg.end(), 500, 0);
    const auto decoded = decodedJpeg(decoder, jpeg);
    ASSERT_TRUE(decoded);
    expectTheGradient(*decoded);
}

TEST(JpegPictureDecoderTest, aPictureThatWasCutOffIsBroken) {
    JpegPictureDecoder decoder;
    const JpegBytes jpeg = jpegOfGradient(160, 90, TJSAMP_422);
    for (size_t size = 0; size + 2 < jpeg.size(); size += 7)
        EXPECT_FALSE(decodedJpeg(decoder, {jpeg.begin(), jpeg.begin() + static_cast<ptrdiff_t>(size)}))
            << size;
    // And the next whole one comes out.
    EXPECT_TRUE(decodedJpeg(decoder, jpeg));
}

TEST(JpegPictureDecoderTest, whateverTheBytesNothingIsReadBeyondThem) {
    JpegPictureDecoder decoder;
    const JpegBytes jpeg = jpegOfGradient(64, 48, TJSAMP_420);
    std::mt19937 random(1);
    for (int i = 0; i < 2000; ++i) {
        JpegBytes changed = jpeg;
        for (int n = 0; n < 3; ++n)
            changed[random() % changed.size()] = static_cast<uint8_t>(random());
        decodedJpeg(decoder, changed);
    }
}

} // namespace
} // namespace vintra
