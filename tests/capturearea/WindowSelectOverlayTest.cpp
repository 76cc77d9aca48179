#include "Vintra/capturearea/WindowSelectOverlay.h"

#include "Vintra/platform/simulated/SimulatedEventMonitors.h"
#include "Vintra/platform/simulated/SimulatedOwnWindows.h"
#include "Vintra/platform/simulated/SimulatedWindowList.h"
#include "tests/capturearea/OverlayShapes.h"

namespace vintra {
namespace {

const NSScreen kPickScreen{7, "Side", {{1440, 100}, {1280, 720}}, 2};
constexpr CGRect kPickBounds{{0, 0}, {1280, 720}};
constexpr int32_t kOwnProcess = 50;

CGWindowInfo otherWindow(uint32_t number, const CGRect& bounds, std::optional<std::string> name) {
    return {.number = number,
            .bounds = bounds,
            .layer = 0,
            .ownerPID = 9,
            .ownerName = "Editor",
            .name = std::move(name)};
}

/// A picker over a screen at (1440, 100) of the desktop, with two windows of another program, one upon the
/// other. The pointer moves in the desktop, and so over the overlay.
class WindowSelectOverlayTest : public ::testing::Test {
protected:
    WindowSelectOverlayTest() {
        windowList.list = {otherWindow(1, {{1640, 200}, {400, 300}}, "Notes"),
                           otherWindow(2, {{1740, 300}, {400, 300}}, std::nullopt)};
    }
    void begin() {
        overlay.begin(kPickScreen, state,
                      [this](std::optional<PickableWindow> picked) { ends.push_back(picked); });
    }
    SimulatedOverlayWindow::State& window() { return windows.last(); }
    OverlayInput& user() { return *window().input; }
    CGPoint inOverlay(CGPoint onDesktop) { return {onDesktop.x - 1440, 720 - (onDesktop.y - 100)}; }
    void point(CGPoint onDesktop) {
        monitors.move(onDesktop);
        if (!window().ignoresMouseEvents) user().mouseMoved(inOverlay(onDesktop));
    }
    void click(CGPoint onDesktop) {
        point(onDesktop);
        user().mouseDown(inOverlay(onDesktop));
    }
    std::optional<uint32_t> pickedAt(CGPoint onDesktop) {
        ends.clear();
        begin();
        click(onDesktop);
        const bool ended = !ends.empty();
        overlay.dismiss();
        if (!ended || !ends.front()) return std::nullopt;
        return ends.front()->id;
    }

    BarState state{.mode = CaptureModeChoice::window,
                   .aspect = AspectPreset::freeform,
                   .frameRate = 60,
                   .frameRateOptions = {24, 30, 60},
                   .clicksOn = false,
                   .clicksAvailable = false,
                   .clickColour = {1, 0.8, 0},
                   .isRecording = false};
    SimulatedOverlayWindows windows;
    SimulatedEventMonitors monitors;
    SimulatedOwnWindows ownWindows;
    SimulatedWindowList windowList;
    WindowSelectOverlay overlay{{.windows = windows,
                                 .monitors = monitors,
                                 .ownWindows = ownWindows,
                                 .windowList = windowList,
                                 .ownProcess = kOwnProcess}};
    std::vector<std::optional<PickableWindow>> ends;
};

TEST_F(WindowSelectOverlayTest, itLiesOverTheScreenWithAHint) {
    begin();
    EXPECT_EQ(window().frame, kPickScreen.frame);
    EXPECT_TRUE(window().isOnScreen);
    EXPECT_TRUE(window().recipe.takesKeyboard);
    EXPECT_TRUE(window().recipe.isSelectionPanel);
    EXPECT_EQ(window().recipe.cursor, OverlayCursor::pointingHand);
    std::vector<DrawList::Shape> expected;
    expected.emplace_back(DrawList::FilledSurround{{}, kPickBounds, {0, 0, 0, 0.55}});
    // 46 characters: 230 wide, 28 around them; 10 high, 16 around; 94 above the edge.
    expected.emplace_back(DrawList::FilledRect{{{511, 94}, {258, 26}}, 8, {0, 0, 0, 0.8}});
    expected.emplace_back(DrawList::Text{"Point at a window to record it · Esc to cancel",
                                         {525, 102},
                                         {13, NSFontWeight::medium, {}},
                                         {1, 1, 1, 1}});
    for (const auto& shape : barShapes(kPickBounds, state))
        expected.push_back(shape);
    EXPECT_EQ(window().list.shapes, expected);
}

TEST_F(WindowSelectOverlayTest, theWindowUnderThePointerIsClearFramedAndNamed) {
    begin();
    point({1700, 250});
    const CGRect hole{{200, 320}, {400, 300}};
    EXPECT_TRUE(hasShape(window().list, DrawList::FilledSurround{hole, kPickBounds, {0, 0, 0, 0.55}}));
    const NSColor accent{127 / 255.0, 213 / 255.0, 1, 1};
    EXPECT_TRUE(hasShape(window().list, DrawList::StrokedRect{{{199, 319}, {402, 302}}, 2, accent}));
    // "Editor — Notes" has 14 characters: 70 wide.
    EXPECT_TRUE(hasShape(window().list, DrawList::FilledRect{{{358, 628}, {84, 17}}, 5, {0, 0, 0, 0.8}}));
    EXPECT_TRUE(showsText(window().list, "Editor — Notes"));
    const int before = window().presentations;
    point({1701, 250});
    EXPECT_EQ(window().presentations, before) << "still the same window";
    point({1500, 700});
    EXPECT_FALSE(showsText(window().list, "Editor — Notes"));
    EXPECT_TRUE(hasShape(window().list, DrawList::FilledSurround{{}, kPickBounds, {0, 0, 0, 0.55}}));
}

TEST_F(WindowSelectOverlayTest, aClickTakesTheFrontmostWindowThere) {
    EXPECT_EQ(pickedAt({1800, 400}), 1u);
    EXPECT_EQ(pickedAt({2100, 400}), 2u);
    EXPECT_EQ(pickedAt({1640, 200}), 1u) << "its first pixel";
    EXPECT_EQ(pickedAt({1800, 550}), 2u);
    EXPECT_EQ(pickedAt({1500, 700}), std::nullopt);
    EXPECT_TRUE(ends.size() == 1 && !ends[0]) << "no window was there, so only the dismissal ended it";
}

TEST_F(WindowSelectOverlayTest, aPickEndsItOnceWithTheWindow) {
    begin();
    click({1700, 250});
    ASSERT_EQ(ends.size(), 1u);
    EXPECT_EQ(ends[0], (PickableWindow{1, "Editor", "Notes", {{1640, 200}, {400, 300}}}));
    EXPECT_FALSE(window().isOnScreen);
    EXPECT_FALSE(overlay.isOpen());
    EXPECT_EQ(monitors.moveObservers(), 0u);
    overlay.dismiss();
    EXPECT_EQ(ends.size(), 1u);
}

TEST_F(WindowSelectOverlayTest, smallWindowsAndOwnOnesAreNotOffered) {
    CGWindowInfo own = otherWindow(3, {{1640, 200}, {400, 300}}, "Own");
    own.ownerPID = kOwnProcess;
    CGWindowInfo panel = otherWindow(4, {{1640, 200}, {400, 300}}, "Panel");
    panel.layer = 3;
    windowList.list = {own, panel, otherWindow(5, {{1640, 200}, {40, 500}}, ""),
                       otherWindow(6, {{1640, 200}, {500, 40}}, ""),
                       otherWindow(7, {{1640, 200}, {41, 41}}, "")};
    EXPECT_EQ(pickedAt({1650, 210}), 7u);
}

TEST_F(WindowSelectOverlayTest, aWindowThatClosesBeforeTheClickIsStillPicked) {
    begin();
    point({1700, 250});
    windowList.list.clear();
    user().mouseDown(inOverlay({1700, 250}));
    ASSERT_EQ(ends.size(), 1u);
    EXPECT_EQ(ends[0]->id, 1u);
}

TEST_F(WindowSelectOverlayTest, escapeAndDoneEndItWithNothing) {
    begin();
    EXPECT_FALSE(user().keyDown(kKeyReturn));
    EXPECT_TRUE(user().keyDown(kKeyEscape));
    begin();
    user().cancelOperation();
    begin();
    user().mouseDown(buttonCentre(kPickBounds, state, {BarAction::Done{}}));
    EXPECT_EQ(ends, (std::vector<std::optional<PickableWindow>>(3, std::nullopt)));
    EXPECT_FALSE(overlay.isOpen());
}

TEST_F(WindowSelectOverlayTest, theBarComesBeforeTheWindowBelow) {
    std::vector<std::string> told;
    overlay.onBar.onModeChange = [&](CaptureModeChoice mode) { told.push_back(rawValue(mode)); };
    overlay.onBar.onFrameRatePicked = [&](int rate) { told.push_back(std::to_string(rate)); };
    windowList.list = {otherWindow(1, kPickScreen.frame, "Whole")};
    begin();
    point({1500, 300});
    user().mouseDown(buttonCentre(kPickBounds, state, {BarAction::FrameRateMenu{}}));
    EXPECT_TRUE(showsText(window().list, "24 fps"));
    user().mouseDown(menuItemCentre(kPickBounds, state, BarMenuKind::frameRate, 0));
    user().mouseDown(buttonCentre(kPickBounds, state, {BarAction::Mode{CaptureModeChoice::fullScreen}}));
    EXPECT_EQ(told, (std::vector<std::string>{"24", "fullScreen"}));
    user().mouseDown(buttonCentre(kPickBounds, state, {BarAction::FrameRateMenu{}}));
    user().mouseDown({640, 600}); // closes the menu, and picks nothing
    EXPECT_TRUE(ends.empty());
    user().mouseDown({640, 600});
    EXPECT_EQ(ends.size(), 1u);
}

TEST_F(WindowSelectOverlayTest, theMainWindowStaysUsable) {
    ownWindows.list = {
        {.number = 1, .frame = {{1480, 120}, {100, 650}}, .isVisible = true},
        {.number = 2, .frame = {{1600, 120}, {50, 50}}, .isVisible = false},
        {.number = 3, .frame = {{1660, 120}, {50, 50}}, .isVisible = true, .isPanel = true},
        {.number = 4, .frame = kPickScreen.frame, .isVisible = true, .letsClicksThrough = true}};
    begin();
    const auto letsThrough = [this](CGPoint onDesktop) {
        monitors.move(onDesktop);
        return window().ignoresMouseEvents;
    };
    EXPECT_TRUE(letsThrough({1500, 300}));
    EXPECT_FALSE(letsThrough({1610, 130})) << "hidden";
    EXPECT_FALSE(letsThrough({1670, 130})) << "a panel";
    EXPECT_FALSE(letsThrough({2000, 500}));
}

TEST_F(WindowSelectOverlayTest, theBarIsPressedEvenOverTheMainWindow) {
    ownWindows.list = {{.number = 1, .frame = kPickScreen.frame, .isVisible = true}};
    begin();
    const CGRect bar = ControlBar::containerRect(kPickBounds, state, kOverlayMeasure);
    monitors.move({1440 + bar.midX(), 100 + 720 - bar.midY()});
    EXPECT_FALSE(window().ignoresMouseEvents);
    monitors.move({1440 + bar.midX(), 100 + 720 - bar.maxY() - 1});
    EXPECT_TRUE(window().ignoresMouseEvents);
}

TEST_F(WindowSelectOverlayTest, aNewPickingCancelsTheOneBefore) {
    begin();
    begin();
    EXPECT_EQ(ends, (std::vector<std::optional<PickableWindow>>{std::nullopt}));
    EXPECT_TRUE(overlay.isOpen());
    EXPECT_EQ(monitors.moveObservers(), 1u);
}

TEST_F(WindowSelectOverlayTest, withoutAnOverlayItEndsWithNothing) {
    windows.makesNone = true;
    begin();
    EXPECT_EQ(ends, (std::vector<std::optional<PickableWindow>>{std::nullopt}));
}

} // namespace
} // namespace vintra
