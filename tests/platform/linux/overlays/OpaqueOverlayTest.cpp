#include "Vintra/platform/linux/overlays/OpaqueOverlay.h"

#include <gtest/gtest.h>

namespace vintra {
namespace {

TEST(OpaqueOverlayTest, aDimmedSurroundBecomesANarrowBorderAndIsNothingWithoutAHole) {
    const CGRect screen{{0, 0}, {100, 80}};
    const DrawList::StrokedRect frame{{{9.5, 9.5}, {31, 21}}, 1, NSColor::white()};
    const DrawList list{
        {DrawList::FilledSurround{{{10, 10}, {30, 20}}, screen, NSColor::black(0.55)}, frame}};
    const DrawList expected{
        {DrawList::FilledSurround{{{10, 10}, {30, 20}}, {{6, 6}, {38, 28}}, NSColor::black(0.55)}, frame}};
    EXPECT_EQ(OpaqueOverlay::withoutSurround(list), expected);
    const DrawList empty{{DrawList::FilledSurround{{}, screen, NSColor::black(0.55)}, frame}};
    EXPECT_EQ(OpaqueOverlay::withoutSurround(empty), DrawList{{frame}});
}

TEST(OpaqueOverlayTest, whatIsDrawnIsOpaqueAndInFewRectangles) {
    // Half of white, premultiplied, is 0x80808080; a quarter of red 0x40400000; next to nothing 0x10000000.
    std::vector<uint32_t> pixels{
        0x10000000, 0x80808080, 0xff123456, 0,          //
        0,          0x40400000, 0x80000000, 0,          //
        0,          0,          0,          0,          //
        0xff000000, 0,          0,          0x80804020, //
        0xff000000, 0,          0xff000001, 0xff000000, //
    };
    const auto shape = OpaqueOverlay::makeOpaque({pixels.data(), 4, 5, 1}, {0, 0, 4, 5});
    EXPECT_EQ(shape,
              (std::vector<PixelRect>{{1, 0, 2, 2}, {0, 3, 1, 1}, {3, 3, 1, 1}, {0, 4, 1, 1}, {2, 4, 2, 1}}));
    EXPECT_EQ(pixels, (std::vector<uint32_t>{
                          0,          0xffffffff, 0xff123456, 0,          //
                          0,          0xffff0000, 0xff000000, 0,          //
                          0,          0,          0,          0,          //
                          0xff000000, 0,          0,          0xffff8040, //
                          0xff000000, 0,          0xff000001, 0xff000000, //
                      }));
}

} // namespace
} // namespace vintra
