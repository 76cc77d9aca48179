#include "Vintra/capturearea/CaptureRegion.h"

#include "Vintra/capturearea/CaptureModeChoice.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

namespace vintra {
namespace {

using PixelSize = CaptureRegion::PixelSize;

PixelSize sizeOf(double width, double height, double scale, AspectPreset aspect) {
    return CaptureRegion{1, {{10, 20}, {width, height}}}.pixelSize(scale, aspect);
}

TEST(CaptureRegionTest, aFreeRegionIsRoundedDownToEvenPixels) {
    EXPECT_EQ(sizeOf(100.4, 50.9, 2, AspectPreset::freeform), (PixelSize{200, 100})); // of 200 and 101
    EXPECT_EQ(sizeOf(101, 77, 1, AspectPreset::freeform), (PixelSize{100, 76}));
    EXPECT_EQ(sizeOf(101, 77, 1.5, AspectPreset::freeform), (PixelSize{150, 114})); // of 151 and 115
    EXPECT_EQ(sizeOf(1920, 1080, 1, AspectPreset::freeform), (PixelSize{1920, 1080}));
}

TEST(CaptureRegionTest, aPresetTakesTheMostUnitsThatFit) {
    EXPECT_EQ(sizeOf(100.4, 50.9, 2, AspectPreset::widescreen), (PixelSize{160, 90})); // 5 of min(6, 5)
    EXPECT_EQ(sizeOf(100.4, 50.9, 2, AspectPreset::vertical), (PixelSize{54, 96}));    // 3 of min(11, 3)
    EXPECT_EQ(sizeOf(100.4, 50.9, 2, AspectPreset::square), (PixelSize{100, 100}));    // 50 of min(100, 50)
    EXPECT_EQ(sizeOf(1920, 1080, 1, AspectPreset::widescreen), (PixelSize{1920, 1080}));
}

TEST(CaptureRegionTest, aRegionBelowOneUnitStillGetsOne) {
    EXPECT_EQ(sizeOf(31, 17, 1, AspectPreset::widescreen), (PixelSize{32, 18}));
    EXPECT_EQ(sizeOf(1, 1, 1, AspectPreset::vertical), (PixelSize{18, 32}));
    EXPECT_EQ(sizeOf(0, 0, 2, AspectPreset::square), (PixelSize{2, 2}));
    EXPECT_EQ(sizeOf(0.5, 1, 1, AspectPreset::freeform), (PixelSize{2, 2}));
}

TEST(CaptureRegionTest, aMalformedRegionHasASizeToo) {
    const double none = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(sizeOf(none, -100, 2, AspectPreset::freeform), (PixelSize{2, 2}));
    EXPECT_EQ(sizeOf(1e300, 50, 1, AspectPreset::freeform), (PixelSize{2'147'483'646, 50}));
    EXPECT_EQ(sizeOf(1e300, 36, 1, AspectPreset::widescreen), (PixelSize{64, 36}));
}

TEST(AspectPresetTest, rawValuesComeBack) {
    for (const AspectPreset preset : kAspectPresets)
        EXPECT_EQ(aspectPreset(rawValue(preset)), preset);
    EXPECT_EQ(rawValue(AspectPreset::freeform), "freeform");
    EXPECT_EQ(rawValue(AspectPreset::widescreen), "widescreen");
    EXPECT_EQ(rawValue(AspectPreset::vertical), "vertical");
    EXPECT_EQ(rawValue(AspectPreset::square), "square");
    EXPECT_FALSE(aspectPreset("Square"));
    EXPECT_FALSE(aspectPreset(""));
}

TEST(AspectPresetTest, theBarShowsRatios) {
    EXPECT_EQ(barLabel(AspectPreset::freeform), "Freeform");
    EXPECT_EQ(barLabel(AspectPreset::widescreen), "16:9");
    EXPECT_EQ(barLabel(AspectPreset::vertical), "9:16");
    EXPECT_EQ(barLabel(AspectPreset::square), "1:1");
}

TEST(CaptureModeChoiceTest, rawValuesComeBack) {
    for (const auto choice :
         {CaptureModeChoice::fullScreen, CaptureModeChoice::region, CaptureModeChoice::window}) {
        EXPECT_EQ(captureModeChoice(rawValue(choice)), choice);
    }
    EXPECT_EQ(rawValue(CaptureModeChoice::fullScreen), "fullScreen");
    EXPECT_EQ(rawValue(CaptureModeChoice::region), "region");
    EXPECT_EQ(rawValue(CaptureModeChoice::window), "window");
    EXPECT_FALSE(captureModeChoice("screen"));
}

} // namespace
} // namespace vintra
