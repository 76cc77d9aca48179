#include "Vintra/platform/linux/screen/PackedColours.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

namespace vintra {
namespace {

constexpr PackedColours kTenBits{.bytesPerPixel = 4, .red = {20, 10}, .green = {10, 10}, .blue = {0, 10}};
constexpr PackedColours kFiveSixFive{.bytesPerPixel = 2, .red = {11, 5}, .green = {5, 6}, .blue = {0, 5}};
constexpr PackedColours kThreeBytes{.bytesPerPixel = 3, .red = {16, 8}, .green = {8, 8}, .blue = {0, 8}};

std::vector<uint32_t> converted(const std::vector<uint32_t>& words, const PackedColours& colours) {
    const auto bytes = static_cast<size_t>(colours.bytesPerPixel);
    std::vector<uint8_t> from(words.size() * bytes);
    for (size_t i = 0; i < words.size(); ++i)
        std::memcpy(from.data() + i * bytes, &words[i], bytes);
    std::vector<uint32_t> to(words.size());
    convertToBgrx(reinterpret_cast<uint8_t*>(to.data()), from.data(), words.size(), colours);
    return to;
}

uint32_t nearest(uint32_t value, int bits) {
    return static_cast<uint32_t>(std::lround(value * 255.0 / ((1 << bits) - 1)));
}

TEST(PackedColoursTest, everyValueOfEveryWidthIsRoundedToNearest) {
    for (int bits = 1; bits <= 10; ++bits) {
        const PackedColours colours{
            .bytesPerPixel = 4, .red = {2 * bits, bits}, .green = {bits, bits}, .blue = {0, bits}};
        std::vector<uint32_t> words;
        std::vector<uint32_t> expected;
        const uint32_t most = (1u << bits) - 1;
        for (uint32_t value = 0; value <= most; ++value) {
            const uint32_t other = most - value;
            words.push_back(value | other << bits | value << 2 * bits);
            expected.push_back(nearest(value, bits) | nearest(other, bits) << 8 | nearest(value, bits) << 16);
        }
        EXPECT_EQ(converted(words, colours), expected) << bits;
    }
}

TEST(PackedColoursTest, theBitsBesideTheColoursDontCount) {
    EXPECT_EQ(converted({0xc0000000u | 1023u << 20, 0x80000000u, 0x400003ffu}, kTenBits),
              (std::vector<uint32_t>{0xff0000, 0, 0x0000ff}));
}

TEST(PackedColoursTest, anyNumberOfPixelsIsConvertedAndNoMore) {
    for (const PackedColours& colours : {kTenBits, kFiveSixFive, kThreeBytes}) {
        for (size_t count = 0; count < 12; ++count) {
            std::vector<uint8_t> from(count * static_cast<size_t>(colours.bytesPerPixel), 0xff);
            std::vector<uint32_t> to(count + 1, 0x5a5a5a5a);
            convertToBgrx(reinterpret_cast<uint8_t*>(to.data()), from.data(), count, colours);
            std::vector<uint32_t> expected(count, 0x00ffffff);
            expected.push_back(0x5a5a5a5a);
            EXPECT_EQ(to, expected) << colours.bytesPerPixel << " bytes, " << count;
        }
    }
}

TEST(PackedColoursTest, fourBytesAreConvertedWhereTheyLie) {
    std::vector<uint32_t> pixels(9, 512u << 20 | 1023u << 10 | 2u); // 127.6, 255 and 0.499 of 255
    auto* const bytes = reinterpret_cast<uint8_t*>(pixels.data());
    convertToBgrx(bytes, bytes, pixels.size(), kTenBits);
    EXPECT_EQ(pixels, std::vector<uint32_t>(9, 0x80ff00));
}

TEST(PackedColoursTest, aMaskIsBitsInARow) {
    EXPECT_EQ(colourBitsOf(0x3ff00000), (ColourBits{20, 10}));
    EXPECT_EQ(colourBitsOf(0x7e0), (ColourBits{5, 6}));
    EXPECT_EQ(colourBitsOf(0xff000000), (ColourBits{24, 8}));
    EXPECT_EQ(colourBitsOf(0), std::nullopt);
    EXPECT_EQ(colourBitsOf(0x505), std::nullopt);
    EXPECT_EQ(colourBitsOf(0x7ff), std::nullopt);       // 11 bits
    EXPECT_EQ(colourBitsOf(0x100000000), std::nullopt); // beyond a pixel
}

} // namespace
} // namespace vintra
