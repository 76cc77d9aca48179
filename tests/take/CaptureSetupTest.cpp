#include "Vintra/platform/simulated/SimulatedMachine.h"
#include "Vintra/take/CaptureArea.h"
#include "Vintra/take/RecordingError.h"
#include "Vintra/take/ScreenSource.h"

#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vintra {
namespace {

using Calls = std::vector<std::string>;

/// The source and the area of the screen with what they need, and no recorder.
class CaptureSetupTest : public ::testing::Test {
protected:
    void SetUp() override { machine.complete(source.refreshDisplays()); }
    ScreenSource::Setup setUp() { return machine.complete(source.setUp()); }
    std::string refusal() {
        try {
            setUp();
        } catch (const RecordingError& error) {
            return error.errorDescription();
        } catch (const SystemError& error) {
            return error.localizedDescription();
        }
        return "";
    }
    static const SCContentFilter::Display& displayOf(const ScreenSource::Setup& setup) {
        return std::get<SCContentFilter::Display>(setup.filter.content);
    }

    SimulatedMachine machine;
    const Platform platform = machine.platform();
    SCShareableContent& content = machine.screenCapture->content;
    ScreenSelection selection;
    Published<bool> isRecording{false};
    SimulatedCaptureOverlayWindows& windows = *machine.captureOverlayWindows;
    CaptureOverlays overlays{machine.captureOverlayWindows, selection, isRecording};
    Published<std::optional<std::string>> lastError;
    CaptureArea area{{.platform = platform,
                      .selection = selection,
                      .overlays = overlays,
                      .isRecording = isRecording,
                      .lastError = lastError}};
    ScreenSource source{{.platform = platform, .selection = selection, .area = area, .overlays = overlays}};
};

TEST_F(CaptureSetupTest, theClickHighlightIsTheOneWindowOfThisProgramThatIsRecorded) {
    selection.showMouseClicks.set(true);
    windows.clickHighlightWindow = 99;
    windows.calls.clear();
    content.windows = {{.windowID = 98, .frame = {}, .title = ""},
                       {.windowID = 99, .frame = {}, .title = ""}};
    const auto queries = machine.screenCapture->contentQueries;
    const auto setup = setUp();
    EXPECT_EQ(windows.calls, Calls{"clicks on Built-in Display"});
    EXPECT_EQ(machine.screenCapture->contentQueries, queries + 2) << "the window is listed once it is placed";
    ASSERT_EQ(displayOf(setup).exceptingWindows.size(), 1u);
    EXPECT_EQ(displayOf(setup).exceptingWindows[0].windowID, 99u);
    ASSERT_EQ(displayOf(setup).excludingApplications.size(), 1u);
}

TEST_F(CaptureSetupTest, withoutAHighlightNothingIsExcepted) {
    EXPECT_TRUE(displayOf(setUp()).exceptingWindows.empty()) << "clicks aren't shown";
    selection.showMouseClicks.set(true);
    EXPECT_TRUE(displayOf(setUp()).exceptingWindows.empty()) << "there is no such window";
    windows.clickHighlightWindow = 99;
    EXPECT_TRUE(displayOf(setUp()).exceptingWindows.empty()) << "it isn't on the screen";
    machine.screens->list.clear();
    windows.calls.clear();
    setUp();
    EXPECT_EQ(windows.calls, Calls{}) << "there is no screen to put it on";
}

TEST_F(CaptureSetupTest, aWindowsMovieShowsNoClicks) {
    selection.showMouseClicks.set(true);
    content.windows = {{.windowID = 40, .frame = {{0, 0}, {301, 200}}, .title = "Notes"}};
    selection.selectedWindowID.set(40);
    selection.screenCaptureMode.set(CaptureModeChoice::window);
    windows.calls.clear();
    const auto setup = setUp();
    EXPECT_EQ(windows.calls, Calls{});
    EXPECT_EQ(setup.windowSize, (CGSize{301, 200}));
    EXPECT_EQ(setup.configuration.width, 602);
    EXPECT_EQ(setup.configuration.height, 400);
    EXPECT_TRUE(std::holds_alternative<SCContentFilter::DesktopIndependentWindow>(setup.filter.content));
}

TEST_F(CaptureSetupTest, aDisplaysMovieHasNoWindowSize) {
    EXPECT_EQ(setUp().windowSize, std::nullopt);
}

TEST_F(CaptureSetupTest, whatCannotBeCapturedIsRefusedInWords) {
    const auto gone =
        "The window you chose isn't available any more — it may have been closed. Pick another window, "
        "or switch to Full screen.";
    selection.screenCaptureMode.set(CaptureModeChoice::window);
    EXPECT_EQ(refusal(), gone);
    selection.selectedWindowID.set(40);
    EXPECT_EQ(refusal(), gone);
    content.displays.clear();
    EXPECT_EQ(refusal(), "No display available to capture.");
    machine.screenCapture->contentError = SystemError("test", 1, "The screen can't be read.");
    EXPECT_EQ(refusal(), "The screen can't be read.");
}

TEST_F(CaptureSetupTest, screensThatChangeAreReadAnewOnceTheyAreObserved) {
    content.displays.push_back({.displayID = 5, .width = 800, .height = 600});
    machine.screens->notify();
    machine.run(0.3);
    EXPECT_EQ(selection.availableDisplays->size(), 1u);
    source.observeScreenChanges();
    machine.screens->notify();
    machine.run(0.3);
    EXPECT_EQ(selection.availableDisplays->size(), 2u);
}

TEST_F(CaptureSetupTest, choosingAModeShowsTheGuideOrAPicker) {
    const auto chosen = [this](CaptureModeChoice mode) {
        selection.regionGuideVisible.set(false);
        windows.calls.clear();
        area.chooseCaptureMode(mode);
        return windows.calls;
    };
    // The change of mode and the guide's showing each bring the guide in line.
    EXPECT_EQ(chosen(CaptureModeChoice::window), (Calls{"guide", "guide", "window selection"}));
    EXPECT_TRUE(*selection.regionGuideVisible);
    EXPECT_EQ(chosen(CaptureModeChoice::region), (Calls{"guide", "region selection"}));
    EXPECT_FALSE(*selection.regionGuideVisible) << "there is no region to guide to yet";
    selection.captureRegion.set(CaptureRegion{.displayID = 1, .rect = {{0, 0}, {100, 100}}});
    EXPECT_EQ(chosen(CaptureModeChoice::region), Calls{"region selection"}) << "again draws a new one";
    EXPECT_EQ(chosen(CaptureModeChoice::fullScreen), (Calls{"guide", "guide"}));
    EXPECT_TRUE(*selection.regionGuideVisible);
    EXPECT_EQ(chosen(CaptureModeChoice::region), (Calls{"guide", "guide"}))
        << "back to the region that is there";
    EXPECT_TRUE(*selection.regionGuideVisible);
}

} // namespace
} // namespace vintra
