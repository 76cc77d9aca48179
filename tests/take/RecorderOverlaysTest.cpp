#include "Vintra/capturearea/ScreenOverlays.h"

#include "Vintra/platform/simulated/SimulatedEventMonitors.h"
#include "Vintra/platform/simulated/SimulatedOwnWindows.h"
#include "tests/capturearea/OverlayShapes.h"
#include "tests/take/RecorderFixture.h"

namespace vintra {
namespace {

constexpr CGRect kDesktop{{0, 0}, {1440, 900}};

/// A recorder whose overlays are on a screen of 1440 × 900 points at two pixels a point. The guide has come up
/// with the first list of displays.
class RecorderOverlaysTest : public RecorderFixture {
protected:
    void SetUp() override {
        RecorderFixture::SetUp();
        Platform platform = machine.platform();
        platform.captureOverlayWindows = overlays;
        recorder = ScreenRecorderManager::make(platform);
        overlays->attach(
            {.selection = *recorder,
             .isRecording = recorder->isRecording,
             .currentBarState = [this] { return recorder->currentBarState(); },
             .selectedWindowRegion = [this] { return recorder->selectedWindowRegion(); },
             .chooseCaptureMode = [this](CaptureModeChoice mode) { recorder->chooseCaptureMode(mode); },
             .onError = [this](const std::string& text) { errors.push_back(text); }});
        machine.run(0.5);
    }
    void TearDown() override {
        overlays->detach();
        for (const auto& each : windows.made)
            EXPECT_FALSE(each->isOnScreen);
        RecorderFixture::TearDown();
    }
    SimulatedOverlayWindow::State& window() { return windows.last(); }
    void press(CGPoint at) {
        auto& pressed = window();
        pressed.input->mouseDown(at);
        if (pressed.input) pressed.input->mouseUp();
    }
    void pressButton(const BarAction& action) {
        press(buttonCentre(kDesktop, recorder->currentBarState(), action));
    }
    void drag(CGPoint from, CGPoint to) {
        window().input->mouseDown(from);
        window().input->mouseDragged(to);
        window().input->mouseUp();
    }
    size_t onScreen() const {
        size_t count = 0;
        for (const auto& each : windows.made)
            count += each->isOnScreen;
        return count;
    }
    void openWindow(const CGRect& bounds) {
        machine.windowList->list = {{.number = 40,
                                     .bounds = bounds,
                                     .layer = 0,
                                     .ownerPID = 9,
                                     .ownerName = "Editor",
                                     .name = "Notes"}};
    }
    /// What is left clear, in the overlay's coordinates.
    CGRect hole() { return std::get<DrawList::FilledSurround>(window().list.shapes.at(0)).hole; }

    const MachineWords words{.computer = "computer"};
    SimulatedOverlayWindows windows;
    SimulatedEventMonitors monitors;
    SimulatedOwnWindows ownWindows;
    std::function<void(NSColor)> colorPanel;
    std::vector<std::string> errors;
    std::shared_ptr<ScreenOverlays> overlays = std::make_shared<ScreenOverlays>(
        ScreenOverlays::Services{.windows = windows,
                                 .monitors = monitors,
                                 .ownWindows = ownWindows,
                                 .windowList = *machine.windowList,
                                 .screens = *machine.screens,
                                 .dispatchQueues = *machine.dispatchQueues,
                                 .mainThread = *machine.mainThread,
                                 .hostClock = *machine.hostClock,
                                 .ownProcess = 50,
                                 .words = words,
                                 .showColorPanel = [this](NSColor, std::function<void(NSColor)> told) {
                                     colorPanel = std::move(told);
                                 }});
};

TEST_F(RecorderOverlaysTest, theBarComesUpAndGoesWithDone) {
    EXPECT_EQ(onScreen(), 1u);
    EXPECT_TRUE(showsText(window().list, "Full screen"));
    pressButton({BarAction::Done{}});
    EXPECT_EQ(onScreen(), 0u);
    EXPECT_FALSE(*recorder->regionGuideVisible);
}

TEST_F(RecorderOverlaysTest, aRegionIsDrawnKeptAndGuidedTo) {
    pressButton({BarAction::Mode{CaptureModeChoice::region}});
    EXPECT_EQ(onScreen(), 1u) << "the guide has made room";
    EXPECT_TRUE(window().recipe.isSelectionPanel);
    drag({200, 300}, {840, 660});
    window().input->keyDown(kKeyReturn);
    EXPECT_EQ(**recorder->captureRegion, (CaptureRegion{1, {{200, 240}, {640, 360}}}));
    EXPECT_EQ(onScreen(), 1u);
    EXPECT_FALSE(window().recipe.isSelectionPanel);
    EXPECT_EQ(hole(), (CGRect{{200, 300}, {640, 360}}));
    EXPECT_TRUE(showsText(window().list, "1280 × 720  ·  Freeform"));

    drag({400, 400}, {410, 400});
    EXPECT_EQ(recorder->captureRegion->value().rect, (CGRect{{210, 240}, {640, 360}}));
    press(buttonCentre(kDesktop, recorder->currentBarState(), {BarAction::AspectMenu{}}));
    press(menuItemCentre(kDesktop, recorder->currentBarState(), BarMenuKind::aspect, 3));
    EXPECT_EQ(*recorder->aspectPreset, AspectPreset::square);
    expectSameRect(hole(), {{290, 240}, {480, 480}});
    EXPECT_TRUE(showsText(window().list, "960 × 960  ·  1:1"));
}

TEST_F(RecorderOverlaysTest, aCancelledSelectionKeepsTheOldRegion) {
    const CaptureRegion region{1, {{10, 20}, {300, 200}}};
    recorder->captureRegion.set(region);
    recorder->chooseCaptureMode(CaptureModeChoice::region);
    recorder->chooseCaptureMode(CaptureModeChoice::region);
    ASSERT_TRUE(window().recipe.isSelectionPanel);
    EXPECT_EQ(hole(), (CGRect{{10, 680}, {300, 200}}));
    drag({500, 300}, {600, 400});
    window().input->keyDown(kKeyEscape);
    EXPECT_EQ(**recorder->captureRegion, region);
    EXPECT_EQ(hole(), (CGRect{{10, 680}, {300, 200}})) << "the guide is back";
}

TEST_F(RecorderOverlaysTest, anotherModeEndsASelection) {
    recorder->chooseCaptureMode(CaptureModeChoice::region);
    ASSERT_TRUE(window().recipe.isSelectionPanel);
    pressButton({BarAction::Mode{CaptureModeChoice::fullScreen}});
    EXPECT_EQ(onScreen(), 1u);
    EXPECT_FALSE(window().recipe.isSelectionPanel);
    EXPECT_EQ(*recorder->screenCaptureMode, CaptureModeChoice::fullScreen);
}

TEST_F(RecorderOverlaysTest, aWindowIsPickedAndFollowedWithinHalfASecond) {
    openWindow({{100, 50}, {400, 300}});
    pressButton({BarAction::Mode{CaptureModeChoice::window}});
    ASSERT_TRUE(window().recipe.isSelectionPanel);
    window().input->mouseMoved({150, 800});
    window().input->mouseDown({150, 800});
    EXPECT_EQ(*recorder->selectedWindowID, 40u);
    EXPECT_EQ(*recorder->selectedWindowTitle, "Editor — Notes");
    EXPECT_EQ(onScreen(), 1u);
    EXPECT_EQ(hole(), (CGRect{{100, 550}, {400, 300}}));
    EXPECT_TRUE(showsText(window().list, "800 × 600  ·  Editor — Notes"));

    openWindow({{130, 60}, {420, 300}});
    machine.run(0.5);
    EXPECT_EQ(hole(), (CGRect{{130, 540}, {420, 300}}));
    const int before = window().presentations;
    machine.run(5);
    EXPECT_EQ(window().presentations, before) << "a window at rest isn't drawn again";
    drag({200, 600}, {300, 600});
    EXPECT_EQ(hole(), (CGRect{{130, 540}, {420, 300}})) << "a window isn't moved by its frame";
    machine.windowList->list.clear();
    machine.run(0.5);
    EXPECT_FALSE(showsText(window().list, "840 × 600  ·  Editor — Notes"));
}

TEST_F(RecorderOverlaysTest, theGuideMakesRoomForTheDesktopsQuestion) {
    machine.windowQuestion->change(WindowQuestion::Offer::asked);
    pressButton({BarAction::Mode{CaptureModeChoice::window}});
    machine.run(0.1);
    ASSERT_TRUE(machine.windowQuestion->isOpen());
    EXPECT_EQ(onScreen(), 0u) << "it would lie over the question";
    machine.windowQuestion->answer({.window = SCWindow{.pixelWidth = 640, .pixelHeight = 480}});
    machine.run(0.1);
    EXPECT_EQ(onScreen(), 1u);
    EXPECT_FALSE(std::holds_alternative<DrawList::FilledSurround>(window().list.shapes.at(0)))
        << "a window that has no place has no frame";
    const int before = window().presentations;
    machine.run(5);
    EXPECT_EQ(window().presentations, before);
    machine.windowQuestion->change(WindowQuestion::Offer::refused);
    EXPECT_FALSE(showsText(window().list, "Window"));
}

TEST_F(RecorderOverlaysTest, withoutWindowsThatLetClicksThroughThereIsASelectionAndNoGuide) {
    recorder->regionGuideVisible.set(false);
    overlays->syncRegionGuide();
    windows.letsClicksThrough = false;
    EXPECT_EQ(recorder->captureLimits(), "Not possible on this desktop: a frame around the area.");
    recorder->chooseCaptureMode(CaptureModeChoice::region);
    ASSERT_EQ(onScreen(), 1u);
    drag({200, 300}, {840, 660});
    window().input->keyDown(kKeyReturn);
    EXPECT_EQ(**recorder->captureRegion, (CaptureRegion{1, {{200, 240}, {640, 360}}}));
    EXPECT_EQ(onScreen(), 0u);
}

TEST_F(RecorderOverlaysTest, theGuideIsLockedDuringATake) {
    recorder->captureRegion.set(CaptureRegion{1, {{200, 240}, {640, 360}}});
    recorder->chooseCaptureMode(CaptureModeChoice::region);
    start();
    EXPECT_EQ(onScreen(), 1u);
    EXPECT_FALSE(showsText(window().list, "Full screen"));
    EXPECT_TRUE(showsText(window().list, "Done"));
    drag({400, 400}, {500, 400});
    EXPECT_EQ(recorder->captureRegion->value().rect, (CGRect{{200, 240}, {640, 360}}));
    stop();
    EXPECT_TRUE(showsText(window().list, "Full screen"));
}

TEST_F(RecorderOverlaysTest, whileAWholeDisplayIsRecordedTheBarStaysWhereItIsNotInThePicture) {
    start();
    ASSERT_TRUE(*recorder->isRecording);
    EXPECT_EQ(onScreen(), 1u);
    stop();
}

TEST_F(RecorderOverlaysTest, whileAWholeDisplayIsRecordedTheBarIsGoneWhereItWouldBeInThePicture) {
    windows.inPicture = true;
    start();
    ASSERT_TRUE(*recorder->isRecording);
    EXPECT_EQ(onScreen(), 0u);
    stop();
    EXPECT_EQ(onScreen(), 1u);
}

TEST_F(RecorderOverlaysTest, clicksAreShownUnlessAWindowIsRecorded) {
    pressButton({BarAction::Clicks{}});
    EXPECT_TRUE(*recorder->showMouseClicks);
    EXPECT_EQ(monitors.clickObservers(), 1u);
    EXPECT_EQ(window().recipe.level, 25);
    recorder->selectedWindowID.set(40);
    recorder->screenCaptureMode.set(CaptureModeChoice::window);
    EXPECT_EQ(monitors.clickObservers(), 0u);
    recorder->screenCaptureMode.set(CaptureModeChoice::fullScreen);
    EXPECT_EQ(monitors.clickObservers(), 1u);
    recorder->showMouseClicks.set(false);
    EXPECT_EQ(monitors.clickObservers(), 0u);
}

TEST_F(RecorderOverlaysTest, theColourPanelChangesTheSwatchAndTheNextRipple) {
    pressButton({BarAction::ClickColour{}});
    ASSERT_TRUE(colorPanel);
    colorPanel({0, 0.2, 0.4, 1});
    EXPECT_EQ(*recorder->clickRippleColor, 0x003366u);
    const auto bar = barShapes(kDesktop, recorder->currentBarState());
    for (const auto& shape : bar)
        EXPECT_TRUE(hasShape(window().list, shape));
    recorder->showMouseClicks.set(true);
    monitors.click({100, 100});
    EXPECT_EQ(std::get<DrawList::StrokedEllipse>(window().list.shapes.at(0)).color,
              (NSColor{0, 0.2, 0.4, 1}));
}

TEST_F(RecorderOverlaysTest, withoutPermissionForClicksItSaysSoAgainWhenSwitchedOnAgain) {
    monitors.trusted = false;
    recorder->showMouseClicks.set(true);
    recorder->screenFrameRate.set(24);
    EXPECT_EQ(
        errors,
        (std::vector<std::string>{
            "Show mouse clicks needs Accessibility permission to detect clicks — grant it in System "
            "Settings > Privacy & Security > Accessibility, then switch Show clicks off and on again."}));
    EXPECT_TRUE(*recorder->showMouseClicks);
    recorder->showMouseClicks.set(false);
    recorder->showMouseClicks.set(true);
    EXPECT_EQ(errors.size(), 2u);
}

TEST_F(RecorderOverlaysTest, whereNoClicksAreToldTheBarDoesntOfferThemAndOneSentenceSaysSo) {
    monitors.tellsClicks = false;
    EXPECT_FALSE(recorder->currentBarState().clicksAvailable);
    recorder->showMouseClicks.set(true);
    recorder->showMouseClicks.set(false);
    recorder->showMouseClicks.set(true);
    recorder->screenFrameRate.set(24);
    EXPECT_EQ(errors, (std::vector<std::string>{words.clicksNotTold}));
    EXPECT_EQ(onScreen(), 1u) << "no window for ripples that never come";
    EXPECT_FALSE(showsText(window().list, "Show clicks"));
    start();
    EXPECT_TRUE(*recorder->isRecording);
    EXPECT_EQ(onScreen(), 1u);
    stop();
}

TEST_F(RecorderOverlaysTest, aPickerIsGoneBeforeTheFirstPictureOfATake) {
    recorder->captureRegion.set(CaptureRegion{1, {{200, 240}, {640, 360}}});
    recorder->chooseCaptureMode(CaptureModeChoice::region);
    recorder->chooseCaptureMode(CaptureModeChoice::region);
    ASSERT_TRUE(window().recipe.isSelectionPanel);
    windows.inPicture = true;
    windows.untilShown = 300'000'000;
    overlays->takeWillStart([] {});
    EXPECT_FALSE(window().recipe.isSelectionPanel);
    EXPECT_TRUE(std::holds_alternative<DrawList::StrokedRect>(window().list.shapes.at(0)))
        << "the guide no longer dims anything";
    EXPECT_FALSE(*recorder->isRecording);
}

TEST_F(RecorderOverlaysTest, aTakeWaitsUntilTheScreenShowsThatTheOverlaysHaveGone) {
    windows.inPicture = true;
    windows.untilShown = 300'000'000;
    bool isShown = false;
    overlays->takeWillStart([&] { isShown = true; });
    EXPECT_EQ(onScreen(), 0u) << "the bar would be in the picture of the display";
    machine.run(0.29);
    EXPECT_FALSE(isShown);
    machine.run(0.02);
    EXPECT_TRUE(isShown);
    recorder->screenFrameRate.set(24);
    EXPECT_EQ(onScreen(), 0u) << "whatever changes meanwhile";

    overlays->takeDidNotStart();
    EXPECT_EQ(onScreen(), 1u);
    EXPECT_TRUE(showsText(window().list, "Full screen"));
}

TEST_F(RecorderOverlaysTest, withoutAnythingOnTheScreenATakeDoesntWait) {
    pressButton({BarAction::Done{}});
    windows.untilShown = 300'000'000;
    bool isShown = false;
    overlays->takeWillStart([&] { isShown = true; });
    EXPECT_TRUE(isShown);
    overlays->takeDidNotStart();
}

TEST_F(RecorderOverlaysTest, aScreenThatGoesTakesItsOverlaysAlong) {
    recorder->chooseCaptureMode(CaptureModeChoice::region);
    ASSERT_TRUE(window().recipe.isSelectionPanel);
    machine.screens->list.clear();
    machine.screens->notify();
    machine.run(0.3);
    EXPECT_EQ(onScreen(), 0u);
    recorder->chooseCaptureMode(CaptureModeChoice::window);
    EXPECT_EQ(onScreen(), 0u) << "there is no screen to pick on";
}

TEST_F(RecorderOverlaysTest, anOwnWindowOnWhatIsRecordedWouldBeInThePicture) {
    windows.inPicture = true;
    ownWindows.list = {{.number = 8, .frame = {{100, 100}, {744, 692}}, .isVisible = true}};
    ownWindows.notify();
    EXPECT_FALSE(*recorder->isOwnWindowInPicture) << "it may still be moving";
    machine.run(0.3);
    EXPECT_TRUE(*recorder->isOwnWindowInPicture);
    recorder->captureRegion.set(CaptureRegion{1, {{844, 0}, {300, 300}}});
    recorder->chooseCaptureMode(CaptureModeChoice::region);
    EXPECT_FALSE(*recorder->isOwnWindowInPicture) << "it ends where the region begins";
    recorder->captureRegion.set(CaptureRegion{1, {{843, 0}, {300, 300}}});
    EXPECT_TRUE(*recorder->isOwnWindowInPicture);
    recorder->screenEnabled.set(false);
    EXPECT_FALSE(*recorder->isOwnWindowInPicture);
    recorder->screenEnabled.set(true);
    EXPECT_TRUE(*recorder->isOwnWindowInPicture);
    start();
    EXPECT_FALSE(*recorder->isOwnWindowInPicture) << "it is said before a take";
    stop();
    EXPECT_TRUE(*recorder->isOwnWindowInPicture);
    ownWindows.list[0].isVisible = false;
    ownWindows.notify();
    machine.run(0.3);
    EXPECT_FALSE(*recorder->isOwnWindowInPicture);
    ownWindows.list[0] = {.number = 8, .frame = {{850, 100}, {240, 135}}, .isVisible = true, .isPanel = true};
    ownWindows.notify();
    machine.run(0.3);
    EXPECT_FALSE(*recorder->isOwnWindowInPicture) << "a camera's window is where the user wants it";
}

TEST_F(RecorderOverlaysTest, whereNoOwnWindowIsCapturedNoneIsInThePicture) {
    ownWindows.list = {{.number = 8, .frame = {{100, 100}, {744, 692}}, .isVisible = true}};
    ownWindows.notify();
    machine.run(0.3);
    EXPECT_FALSE(*recorder->isOwnWindowInPicture);
}

} // namespace
} // namespace vintra
