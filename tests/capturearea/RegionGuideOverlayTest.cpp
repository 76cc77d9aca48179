#include "Vintra/capturearea/RegionGuideOverlay.h"

#include "Vintra/platform/simulated/SimulatedEventMonitors.h"
#include "Vintra/platform/simulated/SimulatedOwnWindows.h"
#include "tests/capturearea/OverlayShapes.h"

namespace vintra {
namespace {

const NSScreen kGuideScreen{7, "Side", {{1440, 100}, {1280, 720}}, 2};
constexpr CGRect kGuideBounds{{0, 0}, {1280, 720}};
constexpr NSColor kOpaqueWhite{1, 1, 1, 1};

/// A guide to a region on a screen at (1440, 100) of the desktop. Another program is the active one.
class RegionGuideOverlayTest : public ::testing::Test {
protected:
    RegionGuideOverlayTest() {
        overlay.onRegionChanged = [this](CGRect region) {
            changes.push_back(region);
            guide.region = region;
            overlay.update(kGuideScreen, guide);
        };
    }
    SimulatedOverlayWindow::State& window() { return windows.last(); }
    OverlayInput& user() { return *window().input; }
    void show() { overlay.update(kGuideScreen, guide); }
    /// Moves the pointer to a point of the overlay: whether clicks go through there.
    bool letsThrough(CGPoint at) {
        monitors.move({1440 + at.x, 100 + 720 - at.y});
        return window().ignoresMouseEvents;
    }
    void press(CGPoint at) {
        user().mouseDown(at);
        if (window().input) user().mouseUp();
    }
    void drag(CGPoint from, CGPoint to) {
        user().mouseDown(from);
        user().mouseDragged(to);
        user().mouseUp();
    }

    RegionGuideOverlay::Guide guide{.region = CGRect{{404, 120}, {640, 360}}, // (404, 240) from below
                                    .label = "1280 × 720  ·  16:9",
                                    .recording = false,
                                    .composing = true,
                                    .editable = true,
                                    .ratio = std::nullopt,
                                    .state = {.mode = CaptureModeChoice::region,
                                              .aspect = AspectPreset::freeform,
                                              .frameRate = 60,
                                              .frameRateOptions = {24, 30, 60},
                                              .clicksOn = true,
                                              .clicksAvailable = true,
                                              .clickColour = {1, 0.8, 0},
                                              .isRecording = false}};
    SimulatedOverlayWindows windows;
    SimulatedEventMonitors monitors;
    SimulatedOwnWindows ownWindows;
    RegionGuideOverlay overlay{
        {.windows = windows, .monitors = monitors, .ownWindows = ownWindows, .computer = "computer"}};
    std::vector<CGRect> changes;
};

TEST_F(RegionGuideOverlayTest, itLiesOverTheScreenAndLetsClicksThroughAtFirst) {
    show();
    EXPECT_EQ(window().frame, kGuideScreen.frame);
    EXPECT_TRUE(window().isOnScreen);
    EXPECT_TRUE(window().ignoresMouseEvents);
    EXPECT_FALSE(window().recipe.takesKeyboard);
    EXPECT_EQ(window().recipe.level, 3);
    EXPECT_EQ(monitors.moveObservers(), 1u);
    overlay.hide();
    EXPECT_FALSE(window().isOnScreen);
    EXPECT_EQ(monitors.moveObservers(), 0u);
    EXPECT_FALSE(overlay.isShown());
}

TEST_F(RegionGuideOverlayTest, whileComposingTheSurroundIsDimmedAndAHintIsShown) {
    show();
    std::vector<DrawList::Shape> expected;
    const CGRect hole{{404, 240}, {640, 360}};
    expected.emplace_back(DrawList::FilledSurround{hole, kGuideBounds, {0, 0, 0, 0.55}});
    expected.emplace_back(DrawList::StrokedRect{{{403.5, 239.5}, {641, 361}}, 1, kOpaqueWhite});
    for (const CGPoint corner : {CGPoint{399, 235}, {1039, 235}, {399, 595}, {1039, 595}})
        expected.emplace_back(DrawList::FilledRect{{corner, {10, 10}}, 0, kOpaqueWhite});
    // 19 characters: 95 wide, 14 around; 8 above the hole.
    expected.emplace_back(DrawList::FilledRect{{{669.5, 608}, {109, 17}}, 5, {0, 0, 0, 0.8}});
    expected.emplace_back(
        DrawList::Text{guide.label, {676.5, 611.5}, {12, NSFontWeight::medium, {}, true}, kOpaqueWhite});
    for (const auto& shape : barShapes(kGuideBounds, guide.state))
        expected.push_back(shape);
    // 24 and 43 characters: 120 and 215 wide, each 10 high; 40 and 24 around them; 94 above the edge.
    expected.emplace_back(DrawList::FilledRect{{{512.5, 94}, {255, 44}}, 10, {0, 0, 0, 0.8}});
    expected.emplace_back(DrawList::Text{"Capture options are open",
                                         {580, 116},
                                         {14, NSFontWeight::bold, "HelveticaNeue-Bold"},
                                         kOpaqueWhite});
    expected.emplace_back(DrawList::Text{"Click Done to use the rest of your computer",
                                         {532.5, 106},
                                         {12, NSFontWeight::medium, "HelveticaNeue-Medium"},
                                         {1, 1, 1, 0.85}});
    EXPECT_EQ(window().list.shapes, expected);
}

TEST_F(RegionGuideOverlayTest, theWindowKnowsTheInteractivePartsAsTheyAre) {
    const CGRect bar =
        ControlBar::containerRect(kGuideBounds, guide.state, kOverlayMeasure).insetBy(-26, -26);
    show();
    EXPECT_EQ(window().interactiveParts, (std::vector<CGRect>{bar, {{378, 214}, {692, 412}}}));
    guide.editable = false;
    show();
    EXPECT_EQ(window().interactiveParts, std::vector<CGRect>{bar});
    guide.recording = guide.state.isRecording = true;
    show();
    EXPECT_EQ(window().interactiveParts, std::vector<CGRect>());
}

TEST_F(RegionGuideOverlayTest, inATakeThereIsALineAroundTheFrameAndNoDimming) {
    guide.recording = guide.state.isRecording = true;
    guide.composing = false;
    show();
    std::vector<DrawList::Shape> expected;
    expected.emplace_back(DrawList::StrokedRect{{{402.5, 238.5}, {643, 363}}, 1, {0, 0, 0, 0.45}});
    expected.emplace_back(DrawList::StrokedRect{{{403.5, 239.5}, {641, 361}}, 1, kOpaqueWhite});
    expected.emplace_back(DrawList::FilledRect{{{669.5, 608}, {109, 17}}, 5, {0, 0, 0, 0.8}});
    expected.emplace_back(
        DrawList::Text{guide.label, {676.5, 611.5}, {12, NSFontWeight::medium, {}, true}, kOpaqueWhite});
    for (const auto& shape : barShapes(kGuideBounds, guide.state))
        expected.push_back(shape);
    EXPECT_EQ(window().list.shapes, expected);
}

TEST_F(RegionGuideOverlayTest, whereItWouldBeInThePictureNothingIsDrawnOnIt) {
    windows.inPicture = true;
    guide.recording = guide.state.isRecording = true;
    guide.composing = false;
    guide.region = CGRect{{0, 0}, {1280, 720}};
    show();
    EXPECT_EQ(textsOf(window().list), std::vector<std::string>{}) << "neither the label nor the bar";
    EXPECT_EQ(window().list.shapes.size(), 2u) << "the lines are around it";
    guide.region = CGRect{{404, 120}, {640, 360}};
    show();
    EXPECT_TRUE(showsText(window().list, guide.label));
    EXPECT_TRUE(showsText(window().list, "Done"));
}

TEST_F(RegionGuideOverlayTest, theBarAloneDimsNothing) {
    overlay.showBarOnly(kGuideScreen, guide.state);
    std::vector<DrawList::Shape> expected = barShapes(kGuideBounds, guide.state);
    EXPECT_EQ(window().list.shapes.size(), expected.size() + 3) << "the card with its two texts";
    expected.insert(expected.end(), window().list.shapes.end() - 3, window().list.shapes.end());
    EXPECT_EQ(window().list.shapes, expected);
    EXPECT_TRUE(showsText(window().list, "Capture options are open"));
    EXPECT_TRUE(letsThrough({5, 5}));
    guide.state.isRecording = true;
    overlay.showBarOnly(kGuideScreen, guide.state);
    EXPECT_EQ(window().list.shapes, barShapes(kGuideBounds, guide.state));
}

TEST_F(RegionGuideOverlayTest, clicksArriveWithin26PointsOfTheHole) {
    show();
    EXPECT_FALSE(letsThrough({700, 400})) << "inside";
    EXPECT_FALSE(letsThrough({404 - 26, 400}));
    EXPECT_TRUE(letsThrough({404 - 26.5, 400}));
    EXPECT_FALSE(letsThrough({1044 + 25.5, 400}));
    EXPECT_TRUE(letsThrough({1044 + 26.5, 400}));
    EXPECT_FALSE(letsThrough({700, 600 + 25.5}));
    EXPECT_TRUE(letsThrough({700, 600 + 26.5}));
}

TEST_F(RegionGuideOverlayTest, clicksArriveWithin26PointsOfTheBarAndOfItsOpenMenu) {
    guide.region = CGRect{{0, 0}, {100, 100}};
    show();
    const CGRect bar = ControlBar::containerRect(kGuideBounds, guide.state, kOverlayMeasure);
    EXPECT_FALSE(letsThrough({bar.midX(), bar.midY()}));
    EXPECT_FALSE(letsThrough({bar.minX() - 26, bar.midY()}));
    EXPECT_TRUE(letsThrough({bar.minX() - 26.5, bar.midY()}));
    EXPECT_FALSE(letsThrough({bar.midX(), bar.maxY() + 25.5}));
    EXPECT_TRUE(letsThrough({bar.midX(), bar.maxY() + 26.5}));
    const auto menu =
        ControlBar::menuContainer(kGuideBounds, guide.state, BarMenuKind::aspect, kOverlayMeasure);
    const CGPoint aboveMenu{menu->midX(), menu->maxY() + 20};
    EXPECT_TRUE(letsThrough(aboveMenu));
    press(buttonCentre(kGuideBounds, guide.state, {BarAction::AspectMenu{}}));
    EXPECT_FALSE(letsThrough(aboveMenu));
}

TEST_F(RegionGuideOverlayTest, aHoleThatCannotBeEditedLetsClicksThrough) {
    guide.editable = false;
    show();
    EXPECT_TRUE(letsThrough({700, 400}));
    drag({700, 400}, {720, 400});
    EXPECT_TRUE(changes.empty());
}

TEST_F(RegionGuideOverlayTest, inFrontItTakesEveryClickOutsideTheProgramsWindows) {
    ownWindows.active = true;
    show();
    // The main window is at (40, 60) of the overlay's left and top; what lies over everything isn't in the way.
    ownWindows.list = {
        {.number = 1, .frame = {{1480, 160}, {200, 300}}, .isVisible = true},
        {.number = 2, .frame = {{1740, 160}, {200, 300}}, .isVisible = false},
        {.number = window().number, .frame = kGuideScreen.frame, .isVisible = true, .isPanel = true},
        {.number = 4,
         .frame = kGuideScreen.frame,
         .isVisible = true,
         .isPanel = true,
         .isSelectionPanel = true},
        {.number = 5, .frame = kGuideScreen.frame, .isVisible = true, .letsClicksThrough = true}};
    EXPECT_FALSE(letsThrough({5, 5}));
    EXPECT_FALSE(letsThrough({320, 600})) << "a hidden window is none";
    EXPECT_TRUE(letsThrough({140, 600})) << "over the main window";
    ownWindows.active = false;
    EXPECT_TRUE(letsThrough({5, 5}));
}

TEST_F(RegionGuideOverlayTest, whileItIsLockedThePointerChangesNothing) {
    ownWindows.active = true;
    show();
    EXPECT_FALSE(letsThrough({5, 5}));
    guide.recording = guide.state.isRecording = true;
    show();
    EXPECT_TRUE(window().ignoresMouseEvents) << "a take doesn't keep the user from other programs";
    EXPECT_TRUE(letsThrough({700, 400}));
    const CGRect bar = ControlBar::containerRect(kGuideBounds, guide.state, kOverlayMeasure);
    EXPECT_TRUE(letsThrough({bar.midX(), bar.midY()}));
    drag({700, 400}, {720, 400});
    EXPECT_TRUE(changes.empty());
    int done = 0;
    overlay.onBar.onDone = [&] { ++done; };
    show();
    press(buttonCentre(kGuideBounds, guide.state, {BarAction::Done{}}));
    EXPECT_EQ(done, 1) << "what it still shows works";
    guide.recording = guide.state.isRecording = false;
    show();
    EXPECT_FALSE(letsThrough({5, 5})) << "free again";
}

TEST_F(RegionGuideOverlayTest, thePointerChangesNothingDuringADrag) {
    show();
    EXPECT_FALSE(letsThrough({700, 400}));
    user().mouseDown({700, 400});
    EXPECT_FALSE(letsThrough({5, 5}));
    user().mouseUp();
    EXPECT_TRUE(letsThrough({5, 5}));
}

TEST_F(RegionGuideOverlayTest, aPressWithin20PointsOfACornerResizes) {
    show();
    drag({404 - 12, 240 - 16}, {384, 220}); // exactly 20 away
    EXPECT_EQ(changes, (std::vector<CGRect>{{{384, 120}, {660, 380}}}));
    changes.clear();
    drag({1044 + 10, 600 + 10},
         {1000, 500}); // by the upper right one: the lower left one stays at (384, 220)
    EXPECT_EQ(changes, (std::vector<CGRect>{{{384, 220}, {616, 280}}}));
}

TEST_F(RegionGuideOverlayTest, aPressInsideOrWithin18PointsMovesIt) {
    show();
    drag({700, 400}, {730, 390});
    EXPECT_EQ(changes.back(), (CGRect{{434, 130}, {640, 360}}));
    drag({434 - 18, 410}, {416 - 1000, 410});
    EXPECT_EQ(changes.back(), (CGRect{{0, 130}, {640, 360}})) << "held in the screen";
}

TEST_F(RegionGuideOverlayTest, aPressElsewhereDrawsANewArea) {
    guide.ratio = 1;
    show();
    drag({404 - 19, 400}, {285, 380});
    // 100 to the left, so 100 down: from (285, 300) to (385, 400), its top 320 below the screen's.
    EXPECT_EQ(changes, (std::vector<CGRect>{{{285, 320}, {100, 100}}}));
}

TEST_F(RegionGuideOverlayTest, aPressThatDrawsNothingLeavesTheAreaAlone) {
    show();
    const DrawList before = window().list;
    press({100, 100});
    EXPECT_EQ(window().list, before);
    EXPECT_EQ(guide.region, (CGRect{{404, 120}, {640, 360}}));
    drag({100, 100}, {300, 107});
    EXPECT_EQ(guide.region, (CGRect{{404, 120}, {640, 360}})) << "too thin to be meant";
}

TEST_F(RegionGuideOverlayTest, theBarTellsWhatIsPressed) {
    std::vector<std::string> told;
    overlay.onBar = {.onModeChange = [&](CaptureModeChoice mode) { told.push_back(rawValue(mode)); },
                     .onAspectPicked = [&](AspectPreset aspect) { told.push_back(rawValue(aspect)); },
                     .onFrameRatePicked = [&](int rate) { told.push_back(std::to_string(rate)); },
                     .onClicksToggled = [&] { told.emplace_back("clicks"); },
                     .onClickColourRequested = [&] { told.emplace_back("colour"); },
                     .onDone = [&] { overlay.hide(); }};
    show();
    const auto pressButton = [&](const BarAction& action) {
        press(buttonCentre(kGuideBounds, guide.state, action));
    };
    pressButton({BarAction::Mode{CaptureModeChoice::window}});
    pressButton({BarAction::AspectMenu{}});
    press(menuItemCentre(kGuideBounds, guide.state, BarMenuKind::aspect, 2));
    pressButton({BarAction::FrameRateMenu{}});
    press(menuItemCentre(kGuideBounds, guide.state, BarMenuKind::frameRate, 1));
    pressButton({BarAction::FrameRateMenu{}});
    pressButton({BarAction::Done{}}); // only closes the menu
    pressButton({BarAction::Clicks{}});
    pressButton({BarAction::ClickColour{}});
    EXPECT_EQ(told, (std::vector<std::string>{"window", "vertical", "30", "clicks", "colour"}));
    EXPECT_TRUE(overlay.isShown());
    pressButton({BarAction::Done{}});
    EXPECT_FALSE(overlay.isShown());
    EXPECT_TRUE(changes.empty());
}

TEST_F(RegionGuideOverlayTest, whatIsTheSameIsNotDrawnAgain) {
    show();
    const int before = window().presentations;
    show();
    monitors.move({1500, 300});
    EXPECT_EQ(window().presentations, before);
    guide.state.frameRate = 24;
    show();
    EXPECT_EQ(window().presentations, before + 1);
}

TEST_F(RegionGuideOverlayTest, onAnotherScreenItIsMadeAnew) {
    show();
    const NSScreen other{8, "Other", {{0, 0}, {800, 600}}, 1};
    overlay.update(other, guide);
    EXPECT_EQ(windows.made.size(), 2u);
    EXPECT_FALSE(windows.made[0]->isOnScreen);
    EXPECT_EQ(window().frame, other.frame);
    NSScreen moved = other;
    moved.frame.origin = {100, 0};
    overlay.update(moved, guide);
    EXPECT_EQ(windows.made.size(), 2u);
    EXPECT_EQ(window().frame, moved.frame);
    EXPECT_EQ(monitors.moveObservers(), 1u);
}

TEST_F(RegionGuideOverlayTest, withoutAWindowNothingIsShown) {
    windows.makesNone = true;
    show();
    overlay.updateInteractivity();
    overlay.hide();
    EXPECT_FALSE(overlay.isShown());
}

} // namespace
} // namespace vintra
