#include "tests/take/RecorderFixture.h"

#include <utility>

namespace vintra {
namespace {

class CaptureAreaLabelTest : public RecorderFixture {
protected:
    /// Two displays, of which the first alone has a screen, of 1 pixel a point.
    void SetUp() override {
        RecorderFixture::SetUp();
        machine.screens->list[0].backingScaleFactor = 1;
        listDisplays(
            {{.displayID = 1, .width = 1440, .height = 900}, {.displayID = 5, .width = 800, .height = 600}});
    }
    void listDisplays(std::vector<SCDisplay> displays) {
        machine.screenCapture->content.displays = std::move(displays);
        machine.complete(recorder->refreshDisplays());
    }
    std::string labelOfRegion(uint32_t displayID, double width, double height,
                              AspectPreset aspect = AspectPreset::freeform) {
        recorder->screenCaptureMode.set(CaptureModeChoice::region);
        recorder->aspectPreset.set(aspect);
        recorder->captureRegion.set(CaptureRegion{.displayID = displayID, .rect = {{0, 0}, {width, height}}});
        return recorder->captureAreaLabel();
    }
};

TEST_F(CaptureAreaLabelTest, aDisplayWithoutAScreenHasTwoPixelsAPoint) {
    EXPECT_EQ(labelOfRegion(1, 300, 200.5), "Area · 300×200");
    EXPECT_EQ(labelOfRegion(5, 300, 200.5), "Area · 600×400"); // of 401 rows the even number below
    recorder->screenCaptureMode.set(CaptureModeChoice::fullScreen);
    recorder->selectedDisplayID.set(5);
    EXPECT_EQ(recorder->captureAreaLabel(), "1600×1200");
}

TEST_F(CaptureAreaLabelTest, aRegionOnADisplayThatHasGoneIsNotTheArea) {
    EXPECT_EQ(labelOfRegion(9, 300, 200), "1440×900");
    EXPECT_TRUE(recorder->captureRegion->has_value()) << "it waits for its display";
}

TEST_F(CaptureAreaLabelTest, theShapeIsNamed) {
    // Whole steps of 32 × 18, 18 × 32 and 2 × 2 pixels that fit into 1280 × 720.
    EXPECT_EQ(labelOfRegion(5, 640, 360, AspectPreset::widescreen), "Area · 1280×720 · 16:9");
    EXPECT_EQ(labelOfRegion(5, 640, 360, AspectPreset::vertical), "Area · 396×704 · 9:16");
    EXPECT_EQ(labelOfRegion(5, 640, 360, AspectPreset::square), "Area · 720×720 · 1:1");
    EXPECT_EQ(labelOfRegion(5, 640, 360, AspectPreset::freeform), "Area · 1280×720");
}

TEST_F(CaptureAreaLabelTest, theSizeIsTheCappedOne) {
    listDisplays({{.displayID = 5, .width = 3840, .height = 2400}});
    // 7680 × 4800 is above 4096 × 2304 pixels, by the square of 0.50596: 3885 × 2428, even sides.
    EXPECT_EQ(recorder->captureAreaLabel(), "Display 5 · 3884×2428");
    // 6000 × 4000, by the square of 0.62707: 3762 × 2508.
    EXPECT_EQ(labelOfRegion(5, 3000, 2000), "Area · 3762×2508");
    machine.userDefaults->values["screenCaptureNativeResolution"] = true;
    EXPECT_EQ(recorder->captureAreaLabel(), "Area · 6000×4000");
    recorder->screenCaptureMode.set(CaptureModeChoice::fullScreen);
    EXPECT_EQ(recorder->captureAreaLabel(), "Display 5 · 7680×4800");
}

TEST_F(CaptureAreaLabelTest, withoutDisplaysThereIsNone) {
    recorder->availableDisplays.set({});
    EXPECT_EQ(recorder->captureAreaLabel(), "No display");
    EXPECT_EQ(labelOfRegion(1, 300, 200), "No display");
    recorder->screenCaptureMode.set(CaptureModeChoice::window);
    EXPECT_EQ(recorder->captureAreaLabel(), "Window · none chosen");
}

} // namespace
} // namespace vintra
