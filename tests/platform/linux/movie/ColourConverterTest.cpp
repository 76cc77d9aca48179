#include "Vintra/platform/linux/movie/ColourConverter.h"

#include <cmath>
#include <gtest/gtest.h>
#include <random>

namespace vintra {
namespace {

struct Result {
    std::vector<uint8_t> luma;
    std::vector<uint8_t> chroma;
    bool operator==(const Result&) const = default;
};

/// BGRA of its own memory, at an odd address and with rows of an odd stride.
struct Source {
    std::vector<uint8_t> bytes;
    std::shared_ptr<CVPixelBuffer> picture;
};

Source randomPicture(std::mt19937& random, size_t width, size_t height, size_t padding) {
    const size_t row = 4 * width + padding;
    Source source{std::vector<uint8_t>(row * height + 1), nullptr};
    for (auto& byte : source.bytes)
        byte = static_cast<uint8_t>(random() >> 24);
    source.picture = CVPixelBuffer::make(kCVPixelFormatType_32BGRA, width, height,
                                         {{source.bytes.data() + 1, width, height, row}}, nullptr);
    return source;
}

Result convert(ColourConverter converter, const CVPixelBuffer& source, size_t padding = 0) {
    const size_t row = source.width() + padding;
    constexpr uint8_t untouched = 0xA5;
    Result result{std::vector<uint8_t>(row * source.height(), untouched),
                  std::vector<uint8_t>(row * source.height() / 2, untouched)};
    converter.convert(source, {result.luma.data(), row, result.chroma.data(), row});
    for (auto* plane : {&result.luma, &result.chroma})
        for (size_t i = 0; i < plane->size(); ++i)
            EXPECT_TRUE(i % row < source.width() || (*plane)[i] == untouched) << "beyond a row's end";
    return result;
}

class ColourConverterTest : public ::testing::TestWithParam<ColourConverter::Variant> {
protected:
    void SetUp() override {
        if (!ColourConverter::isSupported(GetParam())) GTEST_SKIP() << "not a variant of this processor";
    }
};

TEST_P(ColourConverterTest, givesTheSameBytesAsThePortableVariant) {
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    for (const size_t width : {2u, 14u, 16u, 18u, 30u, 32u, 34u, 62u, 64u, 66u, 1366u}) {
        for (const size_t padding : {0u, 1u, 3u, 13u}) {
            const Source source = randomPicture(random, width, 6, padding);
            EXPECT_EQ(convert(ColourConverter(GetParam()), *source.picture, padding),
                      convert(ColourConverter(ColourConverter::Variant::portable), *source.picture, padding))
                << width << " " << padding;
        }
    }
}

TEST_P(ColourConverterTest, isWithinThreeFifthsOfTheExactMatrix) {
    std::mt19937 random(1);
    const Source source = randomPicture(random, 64, 64, 0);
    const Result result = convert(ColourConverter(GetParam()), *source.picture);
    const auto pixel = [&](size_t x, size_t y, size_t component) {
        return static_cast<double>(source.picture->plane(0).baseAddress[256 * y + 4 * x + component]);
    };
    const auto luma = [](double b, double g, double r) { return 0.2126 * r + 0.7152 * g + 0.0722 * b; };
    for (size_t y = 0; y < 64; ++y) {
        for (size_t x = 0; x < 64; ++x) {
            const double exact = 16 + luma(pixel(x, y, 0), pixel(x, y, 1), pixel(x, y, 2)) * 219 / 255;
            EXPECT_NEAR(result.luma[64 * y + x], exact, 0.6);
        }
    }
    for (size_t y = 0; y < 64; y += 2) {
        for (size_t x = 0; x < 64; x += 2) {
            double mean[3];
            for (size_t c = 0; c < 3; ++c)
                mean[c] =
                    (pixel(x, y, c) + pixel(x + 1, y, c) + pixel(x, y + 1, c) + pixel(x + 1, y + 1, c)) / 4;
            const double grey = luma(mean[0], mean[1], mean[2]);
            EXPECT_NEAR(result.chroma[32 * y + x], 128 + (mean[0] - grey) / 1.8556 * 224 / 255, 0.6);
            EXPECT_NEAR(result.chroma[32 * y + x + 1], 128 + (mean[2] - grey) / 1.5748 * 224 / 255, 0.6);
        }
    }
}

TEST_P(ColourConverterTest, blackWhiteAndGreysHaveNoColour) {
    for (const int grey : {0, 1, 77, 128, 254, 255}) {
        auto picture = CVPixelBuffer::make(kCVPixelFormatType_32BGRA, 64, 2);
        for (size_t i = 0; i < picture->plane(0).bytesPerRow * 2; ++i)
            picture->plane(0).baseAddress[i] = static_cast<uint8_t>(grey);
        const Result result = convert(ColourConverter(GetParam()), *picture);
        for (const uint8_t luma : result.luma)
            EXPECT_EQ(luma, std::lround(16 + grey * 219.0 / 255)) << grey;
        for (const uint8_t chroma : result.chroma)
            EXPECT_EQ(chroma, 128) << grey;
    }
}

INSTANTIATE_TEST_SUITE_P(Variants, ColourConverterTest,
                         ::testing::Values(ColourConverter::Variant::portable, ColourConverter::Variant::sse2,
                                           ColourConverter::Variant::avx2));

} // namespace
} // namespace vintra
