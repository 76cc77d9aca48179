#include "tests/take/RecorderFixture.h"

#include <functional>
#include <utility>

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
    /// A window that can be captured and is chosen.
    void chooseWindow(CGSize size) {
        machine.screenCapture->content.windows = {
            {.windowID = 40, .frame = {{0, 0}, size}, .title = "Notes"}};
        machine.windowList->list = {{.number = 40,
                                     .bounds = CGRect{{0, 0}, size},
                                     .layer = 0,
                                     .ownerPID = 5,
                                     .ownerName = "Editor",
                                     .name = "Notes"}};
        recorder->selectedWindowID.set(40);
        recorder->screenCaptureMode.set(CaptureModeChoice::window);
    }
    /// The warnings of a take of a window that is 300 × 200 points at the start.
    std::string warningAfter(const std::function<void()>& change, const std::string& name) {
        chooseWindow({300, 200});
        machine.complete(recorder->startRecording(URL::fileURL(path(name + "_video.mov"))));
        machine.run(0.5);
        change();
        stop();
        return lastError();
    }
    void resizeWindow(CGSize size) { machine.windowList->list[0].bounds = CGRect{{0, 0}, size}; }
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

TEST_F(ScreenSourceTest, aWindowThatOnlyTheDesktopKnowsIsCapturedInItsPixels) {
    machine.windowQuestion->change(WindowQuestion::Offer::asked);
    recorder->screenCaptureMode.set(CaptureModeChoice::window);
    machine.windowQuestion->nextAnswer = {
        .window =
            SCWindow{.frame = {{0, 0}, {641, 480}}, .title = {}, .pixelWidth = 641, .pixelHeight = 480}};
    recordFor(0.5);
    EXPECT_EQ(machine.windowQuestion->wishes, std::vector{WindowQuestion::Wish::same})
        << "the one that is remembered";
    EXPECT_EQ(machine.screenCapture->streamsMade, 1);
    EXPECT_EQ(configuration().width, 640);
    EXPECT_EQ(configuration().height, 480);
    const auto& filter =
        std::get<SCContentFilter::DesktopIndependentWindow>(machine.screenCapture->lastFilter->content);
    EXPECT_EQ(filter.window.windowID, 0u);
}

TEST_F(ScreenSourceTest, aWindowThatTheDesktopDoesntGiveNeverBecomesItsDisplay) {
    recorder->screenCaptureMode.set(CaptureModeChoice::window);
    for (const auto offer : {WindowQuestion::Offer::asked, WindowQuestion::Offer::refused}) {
        machine.windowQuestion->change(offer);
        machine.windowQuestion->nextAnswer = {.window = {},
                                              .error = SystemError("portal", 6, "The user said no.")};
        machine.complete(recorder->startRecording(videoURL()));
        EXPECT_EQ(*recorder->lastError, "The user said no.");
        EXPECT_EQ(*recorder->statusMessage, "Failed to start");
    }
    EXPECT_EQ(machine.screenCapture->streamsMade, 0);
}

TEST_F(ScreenSourceTest, aStartThatWaitsForTheDesktopsQuestionCanBeEnded) {
    machine.windowQuestion->change(WindowQuestion::Offer::asked);
    recorder->screenCaptureMode.set(CaptureModeChoice::window);
    TaskScope scope;
    scope.start(recorder->startRecording(videoURL()));
    machine.run(1);
    ASSERT_TRUE(machine.windowQuestion->isOpen());
    EXPECT_TRUE(*recorder->isBusy);
    recorder->cancelStart();
    machine.run(1);
    EXPECT_FALSE(*recorder->isBusy);
    EXPECT_EQ(*recorder->statusMessage, "Failed to start");
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
    chooseWindow({101, 77});
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

TEST_F(ScreenSourceTest, ofAFractionOfAPixelNothingIsLeft) {
    machine.screens->list[0].backingScaleFactor = 1.5;
    chooseWindow({101, 0.5});
    recordFor(0.5);
    EXPECT_EQ(configuration().width, 150) << "of 151.5";
    EXPECT_EQ(configuration().height, 2) << "the least";
}

TEST_F(ScreenSourceTest, aDisplayOfOddSizeIsCapturedAtTheEvenSizeBelow) {
    machine.screenCapture->content.displays = {{.displayID = 5, .width = 683, .height = 385}};
    machine.screens->list = {{5, "Odd", {{0, 0}, {683, 385}}, 1}};
    recordFor(0.5);
    EXPECT_EQ(configuration().width, 682);
    EXPECT_EQ(configuration().height, 384);
    EXPECT_FALSE(configuration().sourceRect.has_value());
}

TEST_F(ScreenSourceTest, aDisplayWithoutAScreenIsCapturedAtTwoPixelsAPoint) {
    recorder->selectedDisplayID.set(5);
    recorder->captureRegion.set(CaptureRegion{.displayID = 5, .rect = {{0, 0}, {101, 77}}});
    recorder->screenCaptureMode.set(CaptureModeChoice::region);
    recordFor(0.5);
    EXPECT_EQ(configuration().width, 202);
    EXPECT_EQ(configuration().height, 154);
}

TEST_F(ScreenSourceTest, aShapedRegionIsReadFromWhatItsPictureCovers) {
    recorder->aspectPreset.set(AspectPreset::widescreen);
    recorder->captureRegion.set(CaptureRegion{.displayID = 1, .rect = {{10, 20}, {100.4, 50.9}}});
    recorder->screenCaptureMode.set(CaptureModeChoice::region);
    recordFor(0.5);
    EXPECT_EQ(configuration().width, 160); // 5 of min(200 / 32, 101 / 18)
    EXPECT_EQ(configuration().height, 90);
    EXPECT_EQ(configuration().sourceRect, (CGRect{{10, 20}, {80, 45}}));
}

TEST_F(ScreenSourceTest, aWindowThatClosesBetweenPickAndStartIsNotReplacedByTheDisplay) {
    chooseWindow({300, 200});
    machine.screenCapture->content.windows.clear();
    machine.windowList->list.clear();
    start();
    expectUndone(
        "The window you chose isn't available any more — it may have been closed. Pick another window, "
        "or switch to Full screen.");
    EXPECT_EQ(machine.screenCapture->streamsMade, 0);
    EXPECT_TRUE(machine.assetWriters->writers.empty());
    EXPECT_TRUE(files().empty());
}

TEST_F(ScreenSourceTest, windowsAreReadOnlyWhereOneIsRecorded) {
    recordFor(0.5);
    EXPECT_EQ(machine.screenCapture->windowQueries, 0);
    chooseWindow({300, 200});
    machine.complete(recorder->startRecording(URL::fileURL(path("second_video.mov"))));
    stop();
    EXPECT_EQ(machine.screenCapture->windowQueries, 1);
}

TEST_F(ScreenSourceTest, clicksAreNotShownInAWindowsMovie) {
    recorder->showMouseClicks.set(true);
    chooseWindow({300, 200});
    const int64_t queries = machine.screenCapture->contentQueries;
    recordFor(0.5);
    EXPECT_EQ(machine.screenCapture->contentQueries, queries + 1) << "no overlay to look for";
    EXPECT_TRUE(std::holds_alternative<SCContentFilter::DesktopIndependentWindow>(
        machine.screenCapture->lastFilter->content));
}

TEST_F(ScreenSourceTest, aWindowThatChangedItsSizeIsToldOfFromMoreThanFourPointsOn) {
    EXPECT_EQ(warningAfter([this] { resizeWindow({304, 204}); }, "four"), "");
    EXPECT_EQ(
        warningAfter(
            [this] {
                resizeWindow({300, 204.5});
            },
            "taller"),
        "The window changed size during recording (300×200 → 300×204). The video keeps the dimensions it "
        "started with, so the picture was scaled to fit.");
    EXPECT_EQ(
        warningAfter(
            [this] {
                resizeWindow({295.5, 200});
            },
            "narrower"),
        "The window changed size during recording (300×200 → 295×200). The video keeps the dimensions it "
        "started with, so the picture was scaled to fit.");
}

TEST_F(ScreenSourceTest, ofAWindowThatClosedNoSizeIsTold) {
    EXPECT_EQ(warningAfter(
                  [this] {
                      resizeWindow({900, 900});
                      machine.windowList->list.clear();
                  },
                  "closed"),
              "");
}

TEST_F(ScreenSourceTest, theNoteIsOfTheTakeAndNotOfTheModeAtItsEnd) {
    chooseWindow({300, 200});
    recorder->screenCaptureMode.set(CaptureModeChoice::fullScreen);
    start();
    machine.run(0.5);
    recorder->screenCaptureMode.set(CaptureModeChoice::window);
    resizeWindow({900, 900});
    stop();
    EXPECT_EQ(lastError(), "") << "the display was recorded";
    const auto leaveWindowMode = [this] {
        recorder->screenCaptureMode.set(CaptureModeChoice::fullScreen);
        resizeWindow({900, 900});
    };
    EXPECT_TRUE(
        warningAfter(leaveWindowMode, "other").starts_with("The window changed size during recording"));
}

TEST_F(ScreenSourceTest, changedScreensAreListedAgain) {
    machine.screenCapture->content.displays = {{.displayID = 8, .width = 1000, .height = 500}};
    machine.screens->list = {{8, "Projector", {{0, 0}, {1000, 500}}, 1}};
    machine.screens->notify();
    ASSERT_TRUE(machine.runMainUntil([&] { return recorder->availableDisplays->size() == 1; }, 5));
    EXPECT_EQ(recorder->availableDisplays->front(),
              (CaptureDisplay{.id = 8, .name = "Projector", .width = 1000, .height = 500}));
}

TEST_F(ScreenSourceTest, screensThatChangeAfterTheRecorderHasGoneConcernNoOne) {
    const int64_t queries = machine.screenCapture->contentQueries;
    machine.screens->notify();
    recorder.reset();
    machine.screens->notify();
    machine.run(1);
    EXPECT_EQ(machine.screenCapture->contentQueries, queries);
}

TEST_F(ScreenSourceTest, anUnpluggedDisplayEndsItsTakeWithWhatWasCaptured) {
    recorder->selectedDisplayID.set(5);
    start();
    ASSERT_TRUE(*recorder->isRecording);
    machine.run(2);
    machine.screenCapture->content.displays.pop_back();
    machine.screens->notify();
    machine.screenCapture->stream()->die(SystemError("test", 5, "the display was unplugged"));
    ASSERT_TRUE(machine.runMainUntil([&] { return *recorder->statusMessage == "Stopped unexpectedly"; }, 30));
    EXPECT_EQ(lastError(),
              "Screen capture stopped unexpectedly (the display was unplugged). Saving what was captured…");
    EXPECT_FALSE(*recorder->isRecording);
    EXPECT_FALSE(*recorder->isBusy);
    EXPECT_EQ(writer("take_video.mov")->status(), AVAssetWriterStatus::completed);
    EXPECT_GE(videoTrack()->accepted().size(), 55u);
    EXPECT_TRUE(machine.runMainUntil([&] { return !recorder->selectedDisplayID->has_value(); }, 5))
        << "the refresh doesn't find it";
    recorder->lastError.set(std::nullopt);
    machine.complete(recorder->startRecording(URL::fileURL(path("next_video.mov"))));
    EXPECT_TRUE(*recorder->isRecording) << "of the display that is left";
    stop();
}

TEST_F(ScreenSourceTest, ofManyLostFramesAllAreCountedAndTheFirst512Listed) {
    // The writer takes the first frame and nothing from 0.5 s on. Slots are 1/60 s, frames 1/50 s apart.
    recorder->screenFrameRate.set(60);
    std::vector<SimulatedFrame> frames{{.seconds = 0}};
    for (int n = 0; n < 600; ++n)
        frames.push_back({.seconds = 1 + n / 50.0});
    machine.screenCapture->script.frames = listedFrames(frames);
    machine.assetWriters->script = [](const URL&, AVFileType) {
        return SimulatedWriterScript{.isStalled = [](double seconds) { return seconds >= 0.5; }};
    };
    recordFor(14);
    EXPECT_TRUE(lastError().starts_with("600 screen frames were dropped")) << lastError();
    EXPECT_TRUE(
        recorder->lastScreenDropSummary->starts_with("last take dropped 512 screen frames · first at 1."))
        << *recorder->lastScreenDropSummary;
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

TEST_F(ScreenSourceTest, whatIsNoValidSampleOfTheScreenIsIgnored) {
    recorder->screenFrameRate.set(60); // nothing is filled in
    machine.screenCapture->script.frames = listedFrames({{.seconds = 0}});
    start();
    machine.run(0.5);
    const auto stream = machine.screenCapture->stream();
    ASSERT_EQ(videoTrack()->accepted().size(), 1u);
    const auto sampleWithStatus = [&](CMAttachmentValue status) {
        return CMSampleBuffer::makeVideo(videoTrack()->accepted().front().imageBuffer(),
                                         {.duration = CMTimeMake(1, 60),
                                          .presentationTimeStamp = machine.now(),
                                          .decodeTimeStamp = kCMTimeInvalid},
                                         {{{SCStreamFrameInfoStatus, std::move(status)}}});
    };
    stream->sampleOutput()->stream(*stream, sampleWithStatus(int64_t{0}), SCStreamOutputType::audio);
    stream->sampleOutput()->stream(*stream, CMSampleBuffer(), SCStreamOutputType::screen);
    stream->sampleOutput()->stream(*stream, sampleWithStatus(std::string("complete")),
                                   SCStreamOutputType::screen);
    stream->sampleOutput()->stream(*stream, sampleWithStatus(0.0), SCStreamOutputType::screen);
    machine.run(0.5);
    EXPECT_EQ(videoTrack()->accepted().size(), 1u);
    stream->sampleOutput()->stream(*stream, sampleWithStatus(int64_t{0}), SCStreamOutputType::screen);
    EXPECT_EQ(videoTrack()->accepted().size(), 2u) << "this one is";
    stop();
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
