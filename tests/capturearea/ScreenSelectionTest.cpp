#include "Vintra/capturearea/ScreenSelection.h"

#include <gtest/gtest.h>

namespace vintra {
namespace {

CaptureDisplay display(uint32_t id) {
    return {.id = id, .name = "Display", .width = 100, .height = 100};
}

TEST(ScreenSelectionTest, theChosenDisplayOrElseTheFirstIsTheEffectiveOne) {
    ScreenSelection selection;
    EXPECT_EQ(selection.effectiveDisplay(), std::nullopt);
    selection.selectedDisplayID.set(5);
    EXPECT_EQ(selection.effectiveDisplay(), std::nullopt);
    selection.availableDisplays.set({display(1), display(5)});
    EXPECT_EQ(selection.effectiveDisplay(), display(5));
    selection.selectedDisplayID.set(9);
    EXPECT_EQ(selection.effectiveDisplay(), display(1));
    selection.selectedDisplayID.set(std::nullopt);
    EXPECT_EQ(selection.effectiveDisplay(), display(1));
}

TEST(ScreenSelectionTest, aModeWithoutItsObjectIsTheFullScreen) {
    ScreenSelection selection;
    selection.availableDisplays.set({display(1)});
    EXPECT_EQ(selection.effectiveCaptureMode(), CaptureModeChoice::fullScreen);
    selection.screenCaptureMode.set(CaptureModeChoice::region);
    EXPECT_EQ(selection.effectiveCaptureMode(), CaptureModeChoice::fullScreen);
    selection.captureRegion.set(CaptureRegion{.displayID = 5, .rect = {{0, 0}, {10, 10}}});
    EXPECT_EQ(selection.effectiveCaptureMode(), CaptureModeChoice::fullScreen) << "its display isn't there";
    selection.availableDisplays.set({display(1), display(5)});
    EXPECT_EQ(selection.effectiveCaptureMode(), CaptureModeChoice::region);
    selection.screenCaptureMode.set(CaptureModeChoice::window);
    EXPECT_EQ(selection.effectiveCaptureMode(), CaptureModeChoice::fullScreen);
    selection.selectedWindowID.set(0);
    EXPECT_EQ(selection.effectiveCaptureMode(), CaptureModeChoice::window);
}

} // namespace
} // namespace vintra
