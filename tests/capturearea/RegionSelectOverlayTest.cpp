#include "Vintra/capturearea/RegionSelectOverlay.h"

#include "tests/capturearea/OverlayShapes.h"

#include <cmath>

namespace vintra {
namespace {

const NSScreen kSelectScreen{7, "Side", {{1440, 100}, {1280, 720}}, 2};
constexpr CGRect kSelectBounds{{0, 0}, {1280, 720}};
constexpr const char* kEmptyHint =
    "Drag to choose an area · adjust it any time before recording · Esc to cancel";
constexpr const char* kChosenHint =
    "Return to confirm · Esc to cancel · drag inside to move, corners to resize";

/// A selection on a screen of 1280 × 720 points, by a user at its pointer and keys.
class RegionSelectOverlayTest : public ::testing::Test {
protected:
    void begin(AspectPreset aspect = AspectPreset::freeform, std::optional<CGRect> initial = std::nullopt) {
        state.aspect = aspect;
        overlay.begin({kSelectScreen, 7, aspect, initial, state},
                      [this](std::optional<CaptureRegion> region) { ends.push_back(region); });
    }
    SimulatedOverlayWindow::State& window() { return windows.last(); }
    OverlayInput& user() { return *window().input; }
    void press(CGPoint at) {
        user().mouseDown(at);
        if (window().input) user().mouseUp();
    }
    void drag(CGPoint from, CGPoint to) {
        user().mouseDown(from);
        user().mouseDragged({(from.x + to.x) / 2, (from.y + to.y) / 2});
        user().mouseDragged(to);
        user().mouseUp();
    }
    /// What is left clear, in the overlay's coordinates.
    CGRect hole() { return std::get<DrawList::FilledSurround>(window().list.shapes.at(0)).hole; }
    void pressButton(const BarAction& action) { press(buttonCentre(kSelectBounds, state, action)); }

    BarState state{.mode = CaptureModeChoice::region,
                   .aspect = AspectPreset::freeform,
                   .frameRate = 60,
                   .frameRateOptions = {24, 30, 60},
                   .clicksOn = false,
                   .clicksAvailable = true,
                   .clickColour = {1, 0.8, 0},
                   .isRecording = false};
    SimulatedOverlayWindows windows;
    RegionSelectOverlay overlay{windows};
    std::vector<std::optional<CaptureRegion>> ends;
};

TEST_F(RegionSelectOverlayTest, itLiesOverTheScreenAndTakesEveryEvent) {
    begin();
    EXPECT_EQ(window().frame, kSelectScreen.frame);
    EXPECT_TRUE(window().isOnScreen);
    EXPECT_TRUE(window().recipe.takesKeyboard);
    EXPECT_TRUE(window().recipe.isSelectionPanel);
    EXPECT_FALSE(window().ignoresMouseEvents);
    EXPECT_GT(window().recipe.level, 0);
    EXPECT_EQ(window().recipe.cursor, OverlayCursor::crosshair);
}

TEST_F(RegionSelectOverlayTest, withoutASelectionEverythingIsDimmed) {
    begin();
    std::vector<DrawList::Shape> expected;
    expected.emplace_back(DrawList::FilledSurround{{}, kSelectBounds, {0, 0, 0, 0.55}});
    // 76 characters: 380 wide, 28 around them; 10 high, 16 around.
    expected.emplace_back(DrawList::FilledRect{{{436, 347}, {408, 26}}, 8, {0, 0, 0, 0.8}});
    expected.emplace_back(
        DrawList::Text{kEmptyHint, {450, 355}, {13, NSFontWeight::medium, {}}, {1, 1, 1, 1}});
    for (const auto& shape : barShapes(kSelectBounds, state))
        expected.push_back(shape);
    EXPECT_EQ(window().list.shapes, expected);
}

TEST_F(RegionSelectOverlayTest, aSelectionIsClearFramedAndMeasured) {
    begin();
    drag({300, 200}, {620, 380});
    std::vector<DrawList::Shape> expected;
    const NSColor white{1, 1, 1, 1};
    expected.emplace_back(DrawList::FilledSurround{{{300, 200}, {320, 180}}, kSelectBounds, {0, 0, 0, 0.55}});
    expected.emplace_back(DrawList::StrokedRect{{{299.5, 199.5}, {321, 181}}, 1, white});
    for (const CGPoint corner : {CGPoint{295, 195}, {615, 195}, {295, 375}, {615, 375}})
        expected.emplace_back(DrawList::FilledRect{{corner, {10, 10}}, 0, white});
    // "640 × 360" at two pixels a point: 45 wide and 10 high, 14 and 7 around it, 8 above the selection.
    expected.emplace_back(DrawList::FilledRect{{{430.5, 388}, {59, 17}}, 5, {0, 0, 0, 0.8}});
    expected.emplace_back(
        DrawList::Text{"640 × 360", {437.5, 391.5}, {12, NSFontWeight::medium, {}, true}, white});
    // 74 characters: 370 wide.
    expected.emplace_back(DrawList::FilledRect{{{441, 347}, {398, 26}}, 8, {0, 0, 0, 0.8}});
    expected.emplace_back(DrawList::Text{kChosenHint, {455, 355}, {13, NSFontWeight::medium, {}}, white});
    for (const auto& shape : barShapes(kSelectBounds, state))
        expected.push_back(shape);
    EXPECT_EQ(window().list.shapes, expected);
}

TEST_F(RegionSelectOverlayTest, theReadoutGoesInsideWhereThereIsNoRoomAbove) {
    begin();
    drag({300, 500}, {620, 695}); // 8 and 17 and 695 are 720
    EXPECT_TRUE(hasShape(window().list, DrawList::FilledRect{{{430.5, 703}, {59, 17}}, 5, {0, 0, 0, 0.8}}));
    drag({300, 300}, {620, 696});
    // 320 × 396 from its top edge at 696 down: 8 and 17.
    EXPECT_TRUE(hasShape(window().list, DrawList::FilledRect{{{430.5, 671}, {59, 17}}, 5, {0, 0, 0, 0.8}}));
}

TEST_F(RegionSelectOverlayTest, returnEndsItWithTheRegionFromTheTopLeft) {
    begin();
    drag({300, 200}, {620, 380});
    EXPECT_TRUE(user().keyDown(kKeyReturn));
    ASSERT_EQ(ends.size(), 1u);
    EXPECT_EQ(ends[0], (CaptureRegion{7, {{300, 340}, {320, 180}}}));
    EXPECT_FALSE(window().isOnScreen);
    EXPECT_FALSE(overlay.isOpen());
    overlay.finish(std::nullopt);
    EXPECT_EQ(ends.size(), 1u) << "once";
}

TEST_F(RegionSelectOverlayTest, enterAndDoneEndItToo) {
    begin(AspectPreset::freeform, CGRect{{100, 50}, {200, 150}});
    EXPECT_EQ(hole(), (CGRect{{100, 520}, {200, 150}}));
    EXPECT_TRUE(user().keyDown(kKeyEnter));
    begin(AspectPreset::freeform, CGRect{{100, 50}, {200, 150}});
    pressButton({BarAction::Done{}});
    const CaptureRegion expected{7, {{100, 50}, {200, 150}}};
    EXPECT_EQ(ends, (std::vector<std::optional<CaptureRegion>>{expected, expected}));
}

TEST_F(RegionSelectOverlayTest, escapeEndsItWithNothing) {
    begin(AspectPreset::freeform, CGRect{{100, 50}, {200, 150}});
    EXPECT_TRUE(user().keyDown(kKeyEscape));
    begin();
    user().cancelOperation();
    EXPECT_EQ(ends, (std::vector<std::optional<CaptureRegion>>{std::nullopt, std::nullopt}));
    EXPECT_FALSE(window().isOnScreen);
}

TEST_F(RegionSelectOverlayTest, aSelectionUnderEightPointsIsNotTaken) {
    begin();
    pressButton({BarAction::Done{}});
    EXPECT_TRUE(user().keyDown(kKeyReturn));
    drag({300, 200}, {307.9, 300});
    pressButton({BarAction::Done{}});
    drag({800, 200}, {900, 207.9});
    user().keyDown(kKeyReturn);
    EXPECT_TRUE(ends.empty());
    EXPECT_TRUE(window().isOnScreen);
    drag({300, 500}, {308, 508});
    user().keyDown(kKeyReturn);
    EXPECT_EQ(ends.size(), 1u);
}

TEST_F(RegionSelectOverlayTest, aDragInsideMovesItWithinTheScreen) {
    begin();
    drag({300, 200}, {620, 380});
    drag({350, 250}, {400, 240});
    EXPECT_EQ(hole(), (CGRect{{350, 190}, {320, 180}}));
    drag({400, 240}, {-500, 3000});
    EXPECT_EQ(hole(), (CGRect{{0, 540}, {320, 180}}));
}

TEST_F(RegionSelectOverlayTest, eachCornerResizesAboutTheOneOpposite) {
    const CGPoint corners[] = {{300, 200}, {620, 200}, {300, 380}, {620, 380}};
    const CGRect results[] = {{{310, 205}, {310, 175}},
                              {{300, 205}, {330, 175}},
                              {{310, 200}, {310, 185}},
                              {{300, 200}, {330, 185}}};
    for (size_t n = 0; n < 4; ++n) {
        begin();
        drag({300, 200}, {620, 380});
        // Taken 10 points away from the corner, which comes to where the pointer is.
        drag({corners[n].x + 8, corners[n].y + 6}, {corners[n].x + 10, corners[n].y + 5});
        expectSameRect(hole(), results[n]);
        overlay.finish(std::nullopt);
    }
}

TEST_F(RegionSelectOverlayTest, fartherThanTenPointsFromACornerItIsMovedOrBegunAnew) {
    begin();
    drag({300, 200}, {620, 380});
    drag({608, 373}, {618, 383}); // 12 and 7 inside: 13.9 away
    EXPECT_EQ(hole(), (CGRect{{310, 210}, {320, 180}}));
    drag({642, 390}, {700, 450}); // 12 outside
    EXPECT_EQ(hole(), (CGRect{{642, 390}, {58, 60}}));
}

TEST_F(RegionSelectOverlayTest, anAspectHoldsEachDrag) {
    begin(AspectPreset::widescreen);
    drag({300, 400}, {620, 300});
    EXPECT_EQ(hole(), (CGRect{{300, 220}, {320, 180}}));
    // By the lower left corner, 640 wide from the upper right one at (620, 400): 360 high.
    drag({300, 220}, {-20, 300});
    expectSameRect(hole(), {{0, 400 - 348.75}, {620, 348.75}}); // stopped at the left edge
}

TEST_F(RegionSelectOverlayTest, theKeysOneToFourReshapeItAndTellTheAspect) {
    std::vector<AspectPreset> told;
    overlay.onAspectChange = [&](AspectPreset aspect) { told.push_back(aspect); };
    begin();
    drag({300, 200}, {620, 380}); // 57,600 around (460, 290)
    EXPECT_TRUE(user().keyDown(kKey4));
    expectSameRect(hole(), {{340, 170}, {240, 240}});
    EXPECT_TRUE(user().keyDown(kKey2));
    expectSameRect(hole(), {{300, 200}, {320, 180}});
    EXPECT_TRUE(user().keyDown(kKey3));
    expectSameRect(hole(), {{370, 130}, {180, 320}});
    EXPECT_TRUE(user().keyDown(kKey5)) << "without an action";
    EXPECT_TRUE(user().keyDown(kKey1));
    expectSameRect(hole(), {{370, 130}, {180, 320}});
    EXPECT_FALSE(user().keyDown(0)) << "goes to the ordinary handling";
    using enum AspectPreset;
    EXPECT_EQ(told, (std::vector<AspectPreset>{square, widescreen, vertical, freeform}));
}

TEST_F(RegionSelectOverlayTest, theMenusOpenApplyAndClose) {
    std::vector<int> rates;
    overlay.onBar.onFrameRatePicked = [&](int rate) { rates.push_back(rate); };
    begin();
    drag({300, 200}, {620, 380});
    pressButton({BarAction::AspectMenu{}});
    for (const auto& shape : barShapes(kSelectBounds, state, BarMenuKind::aspect))
        EXPECT_TRUE(hasShape(window().list, shape));
    press(menuItemCentre(kSelectBounds, state, BarMenuKind::aspect, 3));
    expectSameRect(hole(), {{340, 170}, {240, 240}});
    state.aspect = AspectPreset::square;
    EXPECT_FALSE(showsText(window().list, "9:16")) << "the menu has closed";

    pressButton({BarAction::FrameRateMenu{}});
    press(menuItemCentre(kSelectBounds, state, BarMenuKind::frameRate, 0));
    EXPECT_EQ(rates, (std::vector<int>{24}));

    pressButton({BarAction::FrameRateMenu{}});
    EXPECT_TRUE(showsText(window().list, "24 fps"));
    press({400, 250});
    EXPECT_FALSE(showsText(window().list, "24 fps")) << "a press elsewhere closes it";
    drag({340 + 120, 170 + 120}, {340 + 121, 170 + 120});
    expectSameRect(hole(), {{341, 170}, {240, 240}});
}

TEST_F(RegionSelectOverlayTest, theBarsButtonsTellWhatTheyAreFor) {
    std::vector<std::string> told;
    overlay.onBar = {.onModeChange = [&](CaptureModeChoice mode) { told.push_back(rawValue(mode)); },
                     .onAspectPicked = {},
                     .onFrameRatePicked = {},
                     .onClicksToggled = [&] { told.emplace_back("clicks"); },
                     .onClickColourRequested = [&] { told.emplace_back("colour"); },
                     .onDone = {}};
    begin();
    pressButton({BarAction::Mode{CaptureModeChoice::fullScreen}});
    pressButton({BarAction::Mode{CaptureModeChoice::window}});
    pressButton({BarAction::Clicks{}});
    pressButton({BarAction::ClickColour{}});
    EXPECT_EQ(told, (std::vector<std::string>{"fullScreen", "window", "clicks", "colour"}));
    EXPECT_EQ(hole(), CGRect{}) << "a press on the bar begins no selection";
}

TEST_F(RegionSelectOverlayTest, aButtonMayEndOrReplaceTheSelection) {
    overlay.onBar.onModeChange = [&](CaptureModeChoice) { overlay.finish(std::nullopt); };
    begin();
    pressButton({BarAction::Mode{CaptureModeChoice::fullScreen}});
    EXPECT_FALSE(overlay.isOpen());
    overlay.onBar.onModeChange = [&](CaptureModeChoice) { begin(); };
    begin();
    pressButton({BarAction::Mode{CaptureModeChoice::region}});
    EXPECT_TRUE(overlay.isOpen());
    EXPECT_EQ(ends.size(), 2u) << "the selection before has been cancelled";
}

TEST_F(RegionSelectOverlayTest, whatIsTheSameIsNotDrawnAgain) {
    begin();
    const int before = window().presentations;
    overlay.refresh(state);
    user().mouseMoved({30, 40});
    user().mouseDragged({30, 40});
    EXPECT_EQ(window().presentations, before);
    state.clicksOn = true;
    overlay.refresh(state);
    EXPECT_EQ(window().presentations, before + 1);
}

TEST_F(RegionSelectOverlayTest, anAspectFromOutsideReshapesTheSelection) {
    begin();
    drag({300, 200}, {620, 380});
    state.aspect = AspectPreset::square;
    overlay.refresh(state);
    expectSameRect(hole(), {{340, 170}, {240, 240}});
}

TEST_F(RegionSelectOverlayTest, withoutAWindowItEndsWithNothing) {
    windows.makesNone = true;
    begin();
    EXPECT_EQ(ends, (std::vector<std::optional<CaptureRegion>>{std::nullopt}));
    EXPECT_FALSE(overlay.isOpen());
}

TEST_F(RegionSelectOverlayTest, theMenuItemUnderThePointerIsShownUnlessItIsOn) {
    begin();
    pressButton({BarAction::AspectMenu{}});
    const auto fill = [&](size_t index, double alpha) {
        const auto items = ControlBar::menuItems(kSelectBounds, state, BarMenuKind::aspect, kOverlayMeasure);
        return hasShape(window().list, DrawList::FilledRect{items.at(index).rect, 5, NSColor::white(alpha)});
    };
    const auto pointAt = [&](size_t index) {
        user().mouseMoved(menuItemCentre(kSelectBounds, state, BarMenuKind::aspect, index));
    };
    EXPECT_TRUE(fill(0, 0.16));
    pointAt(2);
    EXPECT_TRUE(fill(2, 0.08));
    pointAt(3);
    EXPECT_FALSE(fill(2, 0.08));
    EXPECT_TRUE(fill(3, 0.08));
    pointAt(0);
    EXPECT_TRUE(fill(0, 0.16));
    EXPECT_FALSE(fill(0, 0.08));
    user().mouseMoved({5, 5});
    EXPECT_FALSE(fill(3, 0.08));
    pointAt(1);
    press({5, 5});
    pressButton({BarAction::AspectMenu{}});
    EXPECT_FALSE(fill(1, 0.08)) << "a menu that opens anew has forgotten where the pointer was";
}

} // namespace
} // namespace vintra
