#include "Vintra/platform/linux/wayland/PortalPixels.h"

#include <gtest/gtest.h>

#include <vector>

namespace vintra {
namespace {

/// Red 0x11, green 0x22, blue 0x33.
constexpr uint32_t kColour = 0x112233;
constexpr uint32_t kWithoutFourth = 0xffffff;

TEST(PortalPixelsTest, everyLayoutIsReadToTheSameColour) {
    const struct {
        PortalPixels pixels;
        std::vector<uint8_t> bytes;
    } cases[] = {
        {PortalPixels::bgrx, {0x33, 0x22, 0x11, 0x99}}, {PortalPixels::rgbx, {0x11, 0x22, 0x33, 0x99}},
        {PortalPixels::xrgb, {0x99, 0x11, 0x22, 0x33}}, {PortalPixels::xbgr, {0x99, 0x33, 0x22, 0x11}},
        {PortalPixels::bgr, {0x33, 0x22, 0x11}},        {PortalPixels::rgb, {0x11, 0x22, 0x33}}};
    for (const auto& one : cases) {
        EXPECT_EQ(bgrxOf(one.bytes.data(), one.pixels) & kWithoutFourth, kColour)
            << static_cast<int>(one.pixels);
        std::vector<uint8_t> many;
        for (int i = 0; i < 5; ++i)
            many.insert(many.end(), one.bytes.begin(), one.bytes.end());
        std::vector<uint8_t> copied(5 * 4);
        copyPixels(copied.data(), many.data(), 5, one.pixels);
        for (size_t i = 0; i < 5; ++i) {
            EXPECT_EQ(copied[4 * i], 0x33);
            EXPECT_EQ(copied[4 * i + 1], 0x22);
            EXPECT_EQ(copied[4 * i + 2], 0x11);
        }
    }
}

TEST(PortalPixelsTest, tenBitsAreRoundedToEight) {
    // 1023 is white; 512 of 1023 is 127.6 of 255; 2 is 0.499, 3 is 0.748.
    const auto bytes = [](uint32_t high, uint32_t middle, uint32_t low) {
        const uint32_t word = high << 20 | middle << 10 | low;
        return std::vector<uint8_t>{static_cast<uint8_t>(word), static_cast<uint8_t>(word >> 8),
                                    static_cast<uint8_t>(word >> 16), static_cast<uint8_t>(word >> 24)};
    };
    const auto pixel = bytes(1023, 512, 2);
    EXPECT_EQ(bgrxOf(pixel.data(), PortalPixels::xrgb2101010), 0xff8000u);
    EXPECT_EQ(bgrxOf(pixel.data(), PortalPixels::xbgr2101010), 0x0080ffu);
    EXPECT_EQ(bgrxOf(bytes(3, 0, 0).data(), PortalPixels::xrgb2101010), 0x010000u);
}

} // namespace
} // namespace vintra
