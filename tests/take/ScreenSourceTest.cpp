#include "tests/take/RecorderFixture.h"

namespace vintra {
namespace {

class ScreenSourceTest : public RecorderFixture {
protected:
    void SetUp() override {
        RecorderFixture::SetUp();
        machine.screenCapture->content.displays = {{.displayID = 1, .width = 1440, .height = 900},
                                                   {.displayID = 5, .width = 800, .height = 600}};
        machine.complete(recorder->refreshDisplays());
    }
    const SCStreamConfiguration& configuration() const { return *machine.screenCapture->lastConfiguration; }
    const SCContentFilter::Display& displayFilter() const {
        return std::get<SCContentFilter::Display>(machine.screenCapture->lastFilter->content);
    }
};

TEST_F(ScreenSourceTest, displaysAreListedInPixelsByTheirScreensNames) {
    EXPECT_EQ(
        *recorder->availableDisplays,
        (std::vector<CaptureDisplay>{{.id = 1, .name = "Built-in Display", .width = 2880, .height = 1800},
                                     {.id = 5, .name = "Display 5", .width = 1600, .height = 1200}}));
}

TEST_F(ScreenSourceTest, theFullScreenIsCapturedWithTheStreamsFixedSettings) {
    recordFor(0.5);
    EXPECT_EQ(configuration().width, 2880);
    EXPECT_EQ(configuration().height, 1800);
    EXPECT_FALSE(configuration().sourceRect.has_value());
    EXPECT_EQ(configuration().minimumFrameInterval, CMTimeMake(1, 30));
    EXPECT_EQ(configuration().pixelFormat, 0x42475241u);
    EXPECT_TRUE(configuration().showsCursor);
    EXPECT_EQ(configuration().queueDepth, 8);
    EXPECT_EQ(displayFilter().display.displayID, 1u);
    ASSERT_EQ(displayFilter().excludingApplications.size(), 1u) << "this program's own windows";
    EXPECT_EQ(displayFilter().excludingApplications[0].processID, machine.processInfo->processIdentifier());
    EXPECT_TRUE(displayFilter().exceptingWindows.empty());
}

TEST_F(ScreenSourceTest, theChosenDisplayIsCaptured) {
    recorder->selectedDisplayID.set(5);
    recordFor(0.5);
    EXPECT_EQ(displayFilter().display.displayID, 5u);
    EXPECT_EQ(configuration().width, 1600);
}

TEST_F(ScreenSourceTest, aDisplayThatIsGoneFallsBackToTheFirst) {
    recorder->selectedDisplayID.set(9);
    recordFor(0.5);
    EXPECT_EQ(displayFilter().display.displayID, 1u);
}

TEST_F(ScreenSourceTest, aRefreshWithoutTheChosenDisplayClearsTheChoice) {
    recorder->selectedDisplayID.set(5);
    machine.screenCapture->content.displays.pop_back();
    machine.complete(recorder->refreshDisplays());
    EXPECT_FALSE(recorder->selectedDisplayID->has_value());
    EXPECT_FALSE(machine.userDefaults->values.contains("selectedDisplayID"));
}

TEST_F(ScreenSourceTest, aRefreshThatFailsChangesNothing) {
    machine.screenCapture->contentError = SystemError("test", 1, "no");
    machine.complete(recorder->refreshDisplays());
    EXPECT_EQ(recorder->availableDisplays->size(), 2u);
    EXPECT_FALSE(recorder->lastError->has_value());
}

TEST_F(ScreenSourceTest, aRegionIsReadFromItsEvenRectangle) {
    recorder->captureRegion.set(CaptureRegion{.displayID = 1, .rect = {{10, 20}, {101, 77}}});
    recorder->screenCaptureMode.set(CaptureModeChoice::region);
    recordFor(0.5);
    EXPECT_EQ(configuration().width, 202);
    EXPECT_EQ(configuration().height, 154);
    EXPECT_EQ(configuration().sourceRect, (CGRect{{10, 20}, {101, 77}}));
    machine.screens->list[0].backingScaleFactor = 1;
    machine.complete(recorder->startRecording(URL::fileURL(path("second_video.mov"))));
    stop();
    EXPECT_EQ(configuration().width, 100);
    EXPECT_EQ(configuration().height, 76);
    EXPECT_EQ(configuration().sourceRect, (CGRect{{10, 20}, {100, 76}}));
}

TEST_F(ScreenSourceTest, aRegionOnAnotherDisplayThanTheChosenOneCapturesThatDisplayWhole) {
    recorder->captureRegion.set(CaptureRegion{.displayID = 1, .rect = {{10, 20}, {100, 70}}});
    recorder->screenCaptureMode.set(CaptureModeChoice::region);
    recorder->selectedDisplayID.set(5);
    recordFor(0.5);
    EXPECT_EQ(displayFilter().display.displayID, 5u);
    EXPECT_FALSE(configuration().sourceRect.has_value());
    EXPECT_EQ(configuration().width, 1600);
}

TEST_F(ScreenSourceTest, aWindowIsCapturedByItselfAtItsEvenSize) {
    machine.screenCapture->content.windows = {
        {.windowID = 40, .frame = {{0, 0}, {101, 77}}, .title = "Notes"}};
    recorder->selectedWindowID.set(40);
    recorder->screenCaptureMode.set(CaptureModeChoice::window);
    recordFor(0.5);
    const auto& filter =
        std::get<SCContentFilter::DesktopIndependentWindow>(machine.screenCapture->lastFilter->content);
    EXPECT_EQ(filter.window.windowID, 40u);
    EXPECT_EQ(configuration().width, 202);
    EXPECT_EQ(configuration().height, 154);
    machine.screens->list[0].backingScaleFactor = 1;
    machine.complete(recorder->startRecording(URL::fileURL(path("second_video.mov"))));
    stop();
    EXPECT_EQ(configuration().width, 100);
    EXPECT_EQ(configuration().height, 76);
}

TEST_F(ScreenSourceTest, aVeryLargeScreenIsCappedUnlessTheUserLiftsTheCap) {
    machine.screenCapture->content.displays = {{.displayID = 1, .width = 3840, .height = 2160}};
    recordFor(0.5);
    // sqrt(9437184 / (7680 × 4320)) = 8/15: 4096 × 2304.
    EXPECT_EQ(configuration().width, 4096);
    EXPECT_EQ(configuration().height, 2304);
    machine.userDefaults->values["screenCaptureNativeResolution"] = true;
    machine.complete(recorder->startRecording(URL::fileURL(path("second_video.mov"))));
    stop();
    EXPECT_EQ(configuration().width, 7680);
    EXPECT_EQ(configuration().height, 4320);
}

TEST_F(ScreenSourceTest, onlyCompleteFramesReachTheMovie) {
    std::vector<SimulatedFrame> frames;
    const auto add = [&frames](double seconds, std::optional<SCFrameStatus> status, bool attachments = true) {
        frames.push_back({.seconds = seconds, .status = status, .hasAttachments = attachments});
    };
    add(0, SCFrameStatus::complete);
    add(0.1, SCFrameStatus::idle);
    add(0.2, SCFrameStatus::blank);
    add(0.3, SCFrameStatus::suspended);
    add(0.4, SCFrameStatus::started);
    add(0.5, SCFrameStatus::stopped);
    add(0.6, std::nullopt);
    add(0.7, SCFrameStatus::complete, false);
    machine.screenCapture->script.frames = listedFrames(frames);
    recordFor(2);
    const auto samples = videoTrack()->accepted();
    ASSERT_FALSE(samples.empty());
    for (const auto& sample : samples)
        EXPECT_EQ(sample.imageBuffer(), samples.front().imageBuffer()) << "all copies of the first";
    EXPECT_EQ(*recorder->statusMessage, "Saved");
}

TEST_F(ScreenSourceTest, theLabelSaysWhatIsCaptured) {
    EXPECT_EQ(recorder->captureAreaLabel(), "2880×1800") << "of several displays the size alone";
    machine.screenCapture->content.displays.pop_back();
    machine.complete(recorder->refreshDisplays());
    EXPECT_EQ(recorder->captureAreaLabel(), "Built-in Display · 2880×1800");
    recorder->screenCaptureMode.set(CaptureModeChoice::region);
    EXPECT_EQ(recorder->captureAreaLabel(), "Built-in Display · 2880×1800") << "no region is chosen";
    recorder->captureRegion.set(CaptureRegion{.displayID = 1, .rect = {{0, 0}, {640, 360}}});
    EXPECT_EQ(recorder->captureAreaLabel(), "Area · 1280×720");
    recorder->aspectPreset.set(AspectPreset::square);
    // The region takes the shape over: 480 points are the side of a square of 640 × 360.
    EXPECT_EQ(recorder->captureAreaLabel(), "Area · 960×960 · 1:1");
    recorder->captureRegion.set(CaptureRegion{.displayID = 1, .rect = {{0, 0}, {640, 360}}});
    EXPECT_EQ(recorder->captureAreaLabel(), "Area · 720×720 · 1:1");
    recorder->screenCaptureMode.set(CaptureModeChoice::window);
    EXPECT_EQ(recorder->captureAreaLabel(), "Window · none chosen");
    recorder->selectedWindowID.set(3);
    EXPECT_EQ(recorder->captureAreaLabel(), "Window · ");
    recorder->selectedWindowTitle.set("Notes");
    EXPECT_EQ(recorder->captureAreaLabel(), "Window · Notes");
    recorder->screenCaptureMode.set(CaptureModeChoice::fullScreen);
    recorder->availableDisplays.set({});
    EXPECT_EQ(recorder->captureAreaLabel(), "No display");
}

} // namespace
} // namespace vintra
