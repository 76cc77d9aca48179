#include "Vintra/capturearea/CaptureOverlays.h"

#include "Vintra/platform/simulated/SimulatedCaptureOverlayWindows.h"

#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace vintra {
namespace {

using Calls = std::vector<std::string>;

class CaptureOverlaysTest : public ::testing::Test {
protected:
    ScreenSelection selection;
    Published<bool> isRecording{false};
    std::shared_ptr<SimulatedCaptureOverlayWindows> windows =
        std::make_shared<SimulatedCaptureOverlayWindows>();
    CaptureOverlays overlays{windows, selection, isRecording};
};

TEST_F(CaptureOverlaysTest, eachChoiceThatTheGuideShowsBringsItInLine) {
    selection.screenFrameRate.set(24);
    selection.selectedDisplayID.set(7);
    selection.selectedWindowID.set(8);
    selection.screenCaptureMode.set(CaptureModeChoice::region);
    selection.captureRegion.set(CaptureRegion{7, {{1, 2}, {30, 40}}});
    selection.clickRippleColor.set(0x00ff00);
    EXPECT_EQ(windows->calls, Calls(6, "guide"));
}

TEST_F(CaptureOverlaysTest, theChoiceOfClicksConcernsTheHighlightFirst) {
    selection.showMouseClicks.set(true);
    EXPECT_EQ(windows->calls, (Calls{"clicks", "guide"}));
}

TEST_F(CaptureOverlaysTest, whatStaysTheSameTouchesNoWindow) {
    selection.screenFrameRate.set(60);
    selection.screenEnabled.set(false);
    EXPECT_EQ(windows->calls, Calls{});
}

TEST_F(CaptureOverlaysTest, theGuideComesUpWithTheFirstListOfDisplaysAlone) {
    overlays.showRegionGuideOnFirstLoad();
    EXPECT_FALSE(*selection.regionGuideVisible) << "there are no displays yet";
    selection.availableDisplays.set({{.id = 1, .name = "One", .width = 100, .height = 100}});
    overlays.showRegionGuideOnFirstLoad();
    EXPECT_TRUE(*selection.regionGuideVisible);
    selection.regionGuideVisible.set(false);
    overlays.showRegionGuideOnFirstLoad();
    EXPECT_FALSE(*selection.regionGuideVisible) << "the user has closed it";
}

TEST_F(CaptureOverlaysTest, theGuideStaysAwayForTheWholeRunIfATakeRunsAtTheFirstList) {
    selection.availableDisplays.set({{.id = 1, .name = "One", .width = 100, .height = 100}});
    isRecording.set(true);
    overlays.showRegionGuideOnFirstLoad();
    isRecording.set(false);
    overlays.showRegionGuideOnFirstLoad();
    EXPECT_FALSE(*selection.regionGuideVisible);
}

TEST_F(CaptureOverlaysTest, theGuideStaysAwayWithoutAScreenTrack) {
    selection.availableDisplays.set({{.id = 1, .name = "One", .width = 100, .height = 100}});
    selection.screenEnabled.set(false);
    overlays.showRegionGuideOnFirstLoad();
    EXPECT_FALSE(*selection.regionGuideVisible);
}

} // namespace
} // namespace vintra
