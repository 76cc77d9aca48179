#include "Vintra/platform/linux/camera/CameraPictureConverter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>
#include <vector>

namespace vintra {
namespace {

using Layout = CameraPixelLayout;
using Matrix = CameraColour::Matrix;

constexpr Layout kLumaLayouts[] = {Layout::nv12, Layout::nv21, Layout::i420, Layout::yv12, Layout::y42b,
                                   Layout::yuyv, Layout::uyvy, Layout::yvyu, Layout::vyuy, Layout::gray};

/// A picture of any bytes.
struct RandomPicture {
    RandomPicture(Layout layout, size_t width, size_t height, CameraColour colour, unsigned seed)
        : bytes(4 * (width + 2) * (height + 2)) {
        std::mt19937 random(seed);
        for (uint8_t& byte : bytes)
            byte = static_cast<uint8_t>(random());
        picture = {.layout = layout, .width = width, .height = height, .planes = {}, .colour = colour};
        const CameraMemory memory{.bytes = bytes.data(), .size = bytes.size(), .row = 0};
        EXPECT_TRUE(layOut(picture, {&memory, 1}));
    }
    std::vector<uint8_t> bytes;
    CameraPicture picture;
};

std::shared_ptr<CVPixelBuffer> converted(const CameraPicture& picture, const CameraRows& rows) {
    auto to = CVPixelBuffer::make(CameraPictureConverter::pixelFormat(picture.layout), picture.width,
                                  picture.height);
    CameraPictureConverter(rows).convert(picture, *to);
    return to;
}

/// The bytes that show.
std::vector<uint8_t> visible(const CVPixelBuffer& buffer) {
    std::vector<uint8_t> bytes;
    for (size_t i = 0; i < buffer.planeCount(); ++i) {
        const CVPixelBuffer::Plane& plane = buffer.plane(i);
        const size_t row = plane.width * (!buffer.isPlanar() ? 4 : i == 0 ? 1 : 2);
        for (size_t y = 0; y < plane.height; ++y) {
            const uint8_t* const from = plane.baseAddress + y * plane.bytesPerRow;
            bytes.insert(bytes.end(), from, from + row);
        }
    }
    return bytes;
}

TEST(CameraPictureConverterTest, everySetOfRowsGivesTheSameBytes) {
    const CameraRows* const wide = CameraRows::avx2();
    if (wide == nullptr) GTEST_SKIP() << "this processor has no AVX2";
    unsigned seed = 1;
    for (const Layout layout : kLumaLayouts) {
        for (const auto& [width, height] : {std::pair<size_t, size_t>{2, 2}, {66, 4}, {131, 7}, {320, 18}}) {
            for (const CameraColour colour :
                 {CameraColour{}, CameraColour{Matrix::rec601, true}, CameraColour{Matrix::rec601, false},
                  CameraColour{Matrix::rec709, true}, CameraColour{Matrix::rec2020, false}}) {
                const RandomPicture random(layout, width, height, colour, ++seed);
                EXPECT_EQ(visible(*converted(random.picture, *wide)),
                          visible(*converted(random.picture, CameraRows::portable())))
                    << "layout " << static_cast<int>(layout) << " " << width << "×" << height;
            }
        }
    }
}

struct Colour {
    double luma, cb, cr;
};

/// By the definition of luma and chroma, in floating point.
Colour encoded(double red, double green, double blue, double ofRed, double ofBlue, bool isFull) {
    const double luma = ofRed * red + (1 - ofRed - ofBlue) * green + ofBlue * blue;
    const double cb = (blue - luma) / (2 * (1 - ofBlue));
    const double cr = (red - luma) / (2 * (1 - ofRed));
    if (isFull) return {luma * 255, 128 + cb * 255, 128 + cr * 255};
    return {16 + luma * 219, 128 + cb * 224, 128 + cr * 224};
}

TEST(CameraPictureConverterTest, coloursAreRightWithinTwoOf255) {
    const struct {
        CameraColour colour;
        double ofRed, ofBlue;
    } cases[] = {{{Matrix::rec601, false}, 0.299, 0.114},
                 {{Matrix::rec601, true}, 0.299, 0.114},
                 {{Matrix::rec709, false}, 0.2126, 0.0722},
                 {{Matrix::rec709, true}, 0.2126, 0.0722},
                 {{Matrix::rec2020, false}, 0.2627, 0.0593}};
    for (const auto& [colour, ofRed, ofBlue] : cases) {
        for (int i = 0; i < 125; ++i) {
            const double red = i % 5 / 4.0;
            const double green = i / 5 % 5 / 4.0;
            const double blue = i / 25 / 4.0;
            const Colour own = encoded(red, green, blue, ofRed, ofBlue, colour.isFullRange);
            const Colour expected = encoded(red, green, blue, 0.2126, 0.0722, false);
            std::vector<uint8_t> bytes(4 * 40 * 2);
            for (size_t pair = 0; pair < bytes.size(); pair += 4) {
                bytes[pair] = bytes[pair + 2] = static_cast<uint8_t>(std::lround(own.luma));
                bytes[pair + 1] = static_cast<uint8_t>(std::min(255L, std::lround(own.cb)));
                bytes[pair + 3] = static_cast<uint8_t>(std::min(255L, std::lround(own.cr)));
            }
            CameraPicture picture{
                .layout = Layout::yuyv, .width = 80, .height = 2, .planes = {}, .colour = colour};
            const CameraMemory memory{.bytes = bytes.data(), .size = bytes.size(), .row = 0};
            ASSERT_TRUE(layOut(picture, {&memory, 1}));
            const auto to = converted(picture, CameraRows::fastest());
            EXPECT_NEAR(to->plane(0).baseAddress[70], expected.luma, 2);
            EXPECT_NEAR(to->plane(1).baseAddress[70], expected.cb, 2);
            EXPECT_NEAR(to->plane(1).baseAddress[71], expected.cr, 2);
        }
    }
}

TEST(CameraPictureConverterTest, redGreenAndBlueArePutInOrder) {
    const struct {
        Layout layout;
        size_t size, red, green, blue;
    } cases[] = {{Layout::bgra, 4, 2, 1, 0}, {Layout::rgba, 4, 0, 1, 2}, {Layout::argb, 4, 1, 2, 3},
                 {Layout::abgr, 4, 3, 2, 1}, {Layout::rgb, 3, 0, 1, 2},  {Layout::bgr, 3, 2, 1, 0}};
    for (const auto& [layout, size, red, green, blue] : cases) {
        const RandomPicture random(layout, 5, 3, {}, 99);
        const auto to = converted(random.picture, CameraRows::fastest());
        for (size_t i = 0; i < 15; ++i) {
            const uint8_t* const from = random.bytes.data() + size * i;
            const uint8_t* const pixel =
                to->plane(0).baseAddress + i / 5 * to->plane(0).bytesPerRow + i % 5 * 4;
            EXPECT_EQ(pixel[0], from[blue]);
            EXPECT_EQ(pixel[1], from[green]);
            EXPECT_EQ(pixel[2], from[red]);
        }
    }
}

TEST(CameraPictureConverterTest, aBlockThatIsTooSmallIsRefused) {
    const std::vector<uint8_t> bytes(64 * 36 * 2);
    for (const Layout layout : kLumaLayouts) {
        CameraPicture picture{.layout = layout, .width = 64, .height = 36, .planes = {}, .colour = {}};
        CameraMemory memory{.bytes = bytes.data(), .size = bytes.size(), .row = 0};
        EXPECT_TRUE(layOut(picture, {&memory, 1}));
        memory.size = 64 * 36 - 1;
        EXPECT_FALSE(layOut(picture, {&memory, 1}));
        memory = {.bytes = bytes.data(), .size = bytes.size(), .row = 32};
        EXPECT_FALSE(layOut(picture, {&memory, 1})) << "rows shorter than the picture";
        memory = {.bytes = nullptr, .size = bytes.size(), .row = 0};
        EXPECT_FALSE(layOut(picture, {&memory, 1}));
    }
}

} // namespace
} // namespace vintra
