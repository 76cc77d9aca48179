#include "tests/platform/linux/overlays/X11OverlayFixture.h"
#include "tests/platform/linux/x11/X11TestWindow.h"

namespace vintra {
namespace {

constexpr NSColor kRed{1, 0, 0};
constexpr uint32_t kDimmedWhite = 0x737373; // 0.45 of 255 is 114.75

/// A hole of 200 × 100 at (300, 200) from the top, and a red block at (20, 30).
DrawList holeAndBlock() {
    return {{DrawList::FilledSurround{{{300, 300}, {200, 100}}, {{0, 0}, {800, 600}}, NSColor::black(0.55)},
             DrawList::FilledRect{{{20, 530}, {40, 40}}, 0, kRed}}};
}

class X11OverlayWindowsTest : public X11OverlayFixture, public ::testing::WithParamInterface<bool> {
protected:
    X11OverlayWindowsTest()
        : X11OverlayFixture(GetParam()) {}
    bool isBlockShown(int x = 40, int y = 50) {
        return await([&] { return looks(x, y, 0xff0000); });
    }
};

INSTANTIATE_TEST_SUITE_P(, X11OverlayWindowsTest, ::testing::Values(false, true), [](const auto& instance) {
    return instance.param ? "withACompositor" : "withoutACompositor";
});

TEST_P(X11OverlayWindowsTest, whatIsDrawnIsSeenTheRestOfTheScreenTooAndNothingGoesBlack) {
    const auto window = open({.frame = kScreen});
    window->present(holeAndBlock());
    EXPECT_EQ(at(40, 50), 0xffffffu) << "not on the screen yet";
    window->orderFront();
    ASSERT_TRUE(isBlockShown());
    EXPECT_TRUE(await([&] { return looks(400, 250, 0xffffff); })) << "the hole";
    EXPECT_TRUE(await([&] { return looks(100, 400, GetParam() ? kDimmedWhite : 0xffffff); }));
    EXPECT_TRUE(await([&] { return looks(298, 250, GetParam() ? kDimmedWhite : 0x000000); }))
        << "beside the hole there is a dark border at least";
    EXPECT_TRUE(looks(300, 200, 0xffffff)) << "the hole's first pixel";
    EXPECT_TRUE(looks(499, 299, 0xffffff)) << "the hole's last pixel";

    window->present({{DrawList::FilledRect{{{120, 530}, {40, 40}}, 0, kRed}}});
    ASSERT_TRUE(isBlockShown(140));
    EXPECT_TRUE(await([&] { return looks(40, 50, 0xffffff) && looks(298, 250, 0xffffff); }));
    window->orderOut();
    EXPECT_TRUE(await([&] { return looks(140, 50, 0xffffff); }));
}

TEST_P(X11OverlayWindowsTest, clicksGoThroughToTheProgramBelowOrAreTakenAsTheWindowIsTold) {
    const auto window = open({.frame = kScreen});
    window->present(holeAndBlock());
    window->orderFront();
    ASSERT_TRUE(isBlockShown());
    hand.click(40, 50);
    hand.click(400, 250);
    EXPECT_EQ(ground.clicks(), (std::vector<X11ClickedWindow::Click>{{40, 50, 1}, {400, 250, 1}}));
    EXPECT_TRUE(input.calls.empty());

    window->setIgnoresMouseEvents(false);
    hand.click(40, 50);
    hand.click(700, 500);
    ASSERT_TRUE(await([&] { return std::ranges::count(input.calls, "up") == 2; }));
    EXPECT_TRUE(input.has("down 40 550"));
    EXPECT_TRUE(input.has("down 700 100"));
    EXPECT_EQ(ground.clicks().size(), 2u);

    window->setIgnoresMouseEvents(true);
    hand.click(40, 50);
    EXPECT_EQ(ground.clicks().size(), 3u);
}

TEST_P(X11OverlayWindowsTest, aDragIsToldInPointsToTheScreensEdges) {
    painter.setResources("Xft.dpi:\t192\n");
    connect(); // to a desktop of two pixels a point
    const auto window = open({.frame = {{0, 0}, {400, 300}}, .ignoresMouseEvents = false});
    window->present({});
    window->orderFront();
    catchUp();
    hand.drag(100, 100, 799, 599);
    ASSERT_TRUE(await([&] { return input.has("up"); }));
    EXPECT_TRUE(input.has("down 50 250"));
    EXPECT_TRUE(input.has("drag 400 0")) << "the line beyond the last pixel is meant";
    input.calls.clear();
    hand.press(3);
    hand.release(3);
    hand.move(301, 200);
    ASSERT_TRUE(await([&] { return input.has("move 150.5 200"); }));
    EXPECT_FALSE(input.has("up"));
}

TEST_P(X11OverlayWindowsTest, theSelectionAloneTakesTheKeyboardAndGivesItBack) {
    hand.setFocus(ground.id());
    const auto guide = open({.frame = kScreen, .ignoresMouseEvents = false});
    guide->present(holeAndBlock());
    guide->orderFront();
    ASSERT_TRUE(isBlockShown());
    EXPECT_EQ(hand.focus(), ground.id());

    auto selection = open(
        {.frame = kScreen, .takesKeyboard = true, .ignoresMouseEvents = false, .isSelectionPanel = true});
    selection->present({});
    selection->orderFront();
    EXPECT_NE(hand.focus(), ground.id());
    for (const char* const key : {"1", "2", "3", "4", "5", "Return", "KP_Enter", "Escape", "x"})
        hand.type(key);
    ASSERT_TRUE(await([&] { return input.has("key 53"); }));
    const std::vector<std::string> expected{"key 18", "key 19", "key 20", "key 21",
                                            "key 23", "key 36", "key 76", "key 53"};
    std::erase_if(input.calls, [](const std::string& call) { return !call.starts_with("key"); });
    EXPECT_EQ(input.calls, expected);
    selection.reset();
    EXPECT_EQ(hand.focus(), ground.id());
    hand.type("1");
    EXPECT_EQ(ground.keys(), 1);
}

TEST_P(X11OverlayWindowsTest, aWindowMayGoWithinACallToItsInput) {
    auto selection = open({.frame = kScreen, .takesKeyboard = true, .ignoresMouseEvents = false});
    selection->present(holeAndBlock());
    selection->orderFront();
    input.onKey = [&] { selection.reset(); };
    hand.type("Return");
    EXPECT_TRUE(await([&] { return selection == nullptr; }));
    EXPECT_TRUE(await([&] { return looks(40, 50, 0xffffff); }));
}

TEST_P(X11OverlayWindowsTest, itStaysAboveWindowsThatAreRaisedAndBelowHigherOverlays) {
    const auto higher = open({.frame = kScreen, .level = 25});
    higher->present({{DrawList::FilledRect{{{30, 540}, {10, 10}}, 0, {0, 0, 1}}}});
    higher->orderFront();
    const auto window = open({.frame = kScreen});
    window->present(holeAndBlock());
    window->orderFront();
    ASSERT_TRUE(isBlockShown());
    EXPECT_TRUE(await([&] { return looks(35, 55, 0x0000ff); }));

    const X11TestWindow late(server.displayName(),
                             {.x = 10, .y = 10, .width = 200, .height = 200, .ground = 0x00ff00});
    EXPECT_TRUE(isBlockShown()) << "above a window that opens";
    EXPECT_TRUE(await([&] { return looks(35, 55, 0x0000ff); }));
    ground.raise();
    EXPECT_TRUE(isBlockShown()) << "above a window that is raised";
}

TEST_P(X11OverlayWindowsTest, itMovesToAnotherMonitorWithItsSize) {
    ASSERT_TRUE(server.xrandr({"--setmonitor", "left", "400/100x600/150+0+0", "screen"}));
    ASSERT_TRUE(server.xrandr({"--setmonitor", "right", "400/100x600/150+400+0", "none"}));
    const auto window = open({.frame = {{0, 0}, {400, 600}}});
    const DrawList all{{DrawList::FilledRect{{{0, 0}, {800, 600}}, 0, kRed}}};
    window->present(all);
    window->orderFront();
    ASSERT_TRUE(isBlockShown());
    EXPECT_TRUE(looks(399, 599, 0xff0000));
    EXPECT_TRUE(looks(400, 300, 0xffffff));
    window->setFrame({{400, 0}, {300, 600}});
    EXPECT_TRUE(isBlockShown(699, 300));
    EXPECT_TRUE(await([&] { return looks(399, 300, 0xffffff) && looks(700, 300, 0xffffff); }));
}

TEST_P(X11OverlayWindowsTest, aServerThatGoesTakesTheOverlaysAlongAndNothingElse) {
    const auto window = open({.frame = kScreen, .takesKeyboard = true, .ignoresMouseEvents = false});
    window->present(holeAndBlock());
    window->orderFront();
    ASSERT_TRUE(isBlockShown());
    compositor.reset();
    server.kill();
    EXPECT_TRUE(await([&] { return connection->isDead(); }));
    window->present({});
    window->setIgnoresMouseEvents(true);
    window->orderFront();
    window->orderOut();
    EXPECT_EQ(open({.frame = kScreen}), nullptr);
    EXPECT_FALSE(ownWindows->isActive());
    EXPECT_TRUE(ownWindows->windows().empty());
    EXPECT_EQ(X11OverlayConnection::open(loop, server.displayName()), nullptr);
}

class X11CompositorChangeTest : public X11OverlayFixture {};

TEST_F(X11CompositorChangeTest, anOverlayStaysWhenACompositorComesAndGoes) {
    const auto window = open({.frame = kScreen});
    window->present(holeAndBlock());
    window->orderFront();
    ASSERT_TRUE(await([&] { return looks(40, 50, 0xff0000) && looks(100, 400, 0xffffff); }));
    EXPECT_EQ(windows->nanosecondsUntilShown(), 0);
    startCompositor();
    EXPECT_TRUE(await([&] { return looks(40, 50, 0xff0000) && looks(100, 400, kDimmedWhite); }));
    EXPECT_GT(windows->nanosecondsUntilShown(), 0);
    stopCompositor();
    EXPECT_TRUE(await([&] { return looks(40, 50, 0xff0000) && looks(100, 400, 0xffffff); }));
    EXPECT_TRUE(looks(298, 250, 0x000000));
}

TEST_F(X11CompositorChangeTest, aSmallChangePaintsLittle) {
    const auto window = open({.frame = kScreen});
    window->present(holeAndBlock());
    window->orderFront();
    ASSERT_TRUE(await([&] { return looks(40, 50, 0xff0000); }));
    solid.paintedPixels = 0;
    window->present(holeAndBlock());
    DrawList moved = holeAndBlock();
    std::get<DrawList::FilledRect>(moved.shapes[1]).rect.origin.x += 4;
    window->present(moved);
    EXPECT_TRUE(await([&] { return looks(63, 50, 0xff0000); }));
    EXPECT_LT(solid.paintedPixels, 60 * 60) << "of 480,000";
}

TEST_P(X11OverlayWindowsTest, theProgramsOwnWindowsAreAboveTheOverlays) {
    painter.openWindow(500, 50, 100, 100, "below", ::getpid());
    const auto own = painter.openWindow(50, 50, 200, 100, "main window", ::getpid());
    X11TestWindow other(server.displayName(), {.x = 500, .y = 60, .width = 100, .height = 20});
    const auto window = open({.frame = kScreen, .ignoresMouseEvents = false});
    const DrawList redEverywhere{{DrawList::FilledRect{kScreen, 0, kRed}}};
    window->present(redEverywhere);
    window->orderFront();
    ASSERT_TRUE(isBlockShown(10, 10));
    const auto isOwn = [this](int x, int y) { return looks(x, y, 0x336699); };
    EXPECT_TRUE(await([&] { return isOwn(50, 50) && isOwn(249, 149); }));
    EXPECT_TRUE(looks(49, 50, 0xff0000));
    EXPECT_TRUE(looks(250, 149, 0xff0000));
    EXPECT_TRUE(looks(550, 120, 0xff0000)) << "it lies below a window of another program";
    hand.move(100, 100);
    EXPECT_TRUE(await([&] { return connection->pointer().child == own; })) << "and can be used";
    hand.move(300, 300);
    EXPECT_TRUE(await([&] { return connection->pointer().child != own; }));

    painter.moveWindow(own, 90, 50);
    EXPECT_TRUE(await([&] { return looks(60, 60, 0xff0000) && isOwn(280, 60); })) << "it was moved";
    window->present({{DrawList::FilledRect{{{0, 0}, {800, 599}}, 0, kRed}}});
    EXPECT_TRUE(await([&] { return looks(60, 0, 0xffffff); }));
    EXPECT_TRUE(isOwn(280, 60)) << "drawn anew";
    painter.closeWindow(own);
    EXPECT_TRUE(await([&] { return looks(200, 100, 0xff0000); }));
}

} // namespace
} // namespace vintra
