#include "tests/platform/linux/overlays/X11OverlayFixture.h"

#include <unistd.h>

namespace vintra {
namespace {

class X11EventMonitorsTest : public X11OverlayFixture {};

TEST_F(X11EventMonitorsTest, clicksInAnotherProgramAreToldWithTheirPlaceAndOnlyLeftAndRight) {
    std::vector<CGPoint> clicks;
    Observation observation = monitors->observeClicks([&](CGPoint at) { clicks.push_back(at); });
    EXPECT_TRUE(monitors->canObserveClicks());
    EXPECT_TRUE(monitors->isTrusted());
    hand.click(120, 80);
    ASSERT_TRUE(await([&] { return clicks.size() == 1; }));
    hand.click(130, 90, 2);
    hand.click(140, 90, 4); // the wheel
    hand.click(150, 95, 3);
    ASSERT_TRUE(await([&] { return clicks.size() == 2; }));
    EXPECT_EQ(clicks, (std::vector<CGPoint>{{120, 80}, {150, 95}}));
    EXPECT_EQ(ground.clicks().size(), 4u) << "the program gets its clicks all the same";

    observation.reset();
    hand.click(200, 200);
    bool moved = false;
    const Observation moves = monitors->observeMouseMoves([&] { moved = true; });
    hand.move(201, 200);
    ASSERT_TRUE(await([&] { return moved; }));
    EXPECT_EQ(clicks.size(), 2u);
}

TEST_F(X11EventMonitorsTest, clicksInAnOverlayThatTakesThemAreItsOwn) {
    std::vector<CGPoint> clicks;
    const Observation observation = monitors->observeClicks([&](CGPoint at) { clicks.push_back(at); });
    const auto window = open({.frame = {{0, 0}, {100, 100}}, .ignoresMouseEvents = false});
    window->present({});
    window->orderFront();
    catchUp();
    hand.click(50, 50);
    ASSERT_TRUE(await([&] { return input.has("up"); }));
    loop.runUntil([] { return false; }, 100'000'000); // the press comes on another connection than its end
    hand.click(150, 50);
    ASSERT_TRUE(await([&] { return !clicks.empty(); }));
    EXPECT_EQ(clicks, (std::vector<CGPoint>{{150, 50}}));
    window->setIgnoresMouseEvents(true);
    catchUp();
    hand.click(50, 50);
    ASSERT_TRUE(await([&] { return clicks.size() == 2; }));
    EXPECT_EQ(clicks.back(), (CGPoint{50, 50}));
}

TEST_F(X11EventMonitorsTest, aMoveIsToldInPointsOverOwnWindowsAndOthers) {
    painter.setResources("Xft.dpi:\t144\n");
    connect();
    int moves = 0;
    Observation observation = monitors->observeMouseMoves([&] { ++moves; });
    hand.move(300, 150);
    ASSERT_TRUE(await([&] { return moves > 0; }));
    EXPECT_EQ(monitors->mouseLocation(), (CGPoint{200, 100}));
    const auto window = open({.frame = kScreen, .ignoresMouseEvents = false});
    window->present({});
    window->orderFront();
    moves = 0;
    hand.move(30, 15);
    ASSERT_TRUE(await([&] { return moves > 0; }));
    EXPECT_EQ(monitors->mouseLocation(), (CGPoint{20, 10}));
}

TEST_F(X11EventMonitorsTest, aThousandMovesAreFewCallsAndTheLastPlaceIsSeen) {
    int moves = 0;
    CGPoint last;
    const Observation observation = monitors->observeMouseMoves([&] {
        ++moves;
        last = monitors->mouseLocation();
    });
    const auto begin = std::chrono::steady_clock::now();
    for (int n = 0; n < 1000; ++n) {
        hand.move(100 + n % 500, 100);
        if (n % 10 == 0) loop.runUntil([] { return false; }, 0);
    }
    hand.move(700, 500);
    ASSERT_TRUE(await([&] { return last == CGPoint{700, 500}; }));
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begin;
    EXPECT_LE(moves, took.count() / 0.016 + 2);
}

TEST_F(X11EventMonitorsTest, anObserverMayLetGoOfItself) {
    Observation first;
    int calls = 0;
    first = monitors->observeMouseMoves([&] {
        ++calls;
        first.reset();
    });
    int others = 0;
    const Observation second = monitors->observeMouseMoves([&] { ++others; });
    hand.move(10, 10);
    ASSERT_TRUE(await([&] { return others == 1; }));
    hand.move(20, 20);
    ASSERT_TRUE(await([&] { return others == 2; }));
    EXPECT_EQ(calls, 1);
}

class X11OwnWindowsTest : public X11OverlayFixture {
protected:
    const OwnWindows::Window* find(uint32_t number) {
        list = ownWindows->windows();
        const auto found = std::ranges::find(list, number, &OwnWindows::Window::number);
        return found == list.end() ? nullptr : &*found;
    }
    std::vector<OwnWindows::Window> list;
};

TEST_F(X11OwnWindowsTest, overlaysAndWindowsOfThisProcessAreListedOthersNot) {
    const auto overlay = open({.frame = kScreen, .isSelectionPanel = true});
    const auto own = static_cast<uint32_t>(painter.openWindow(50, 60, 200, 100, "main", ::getpid()));
    const auto others = static_cast<uint32_t>(painter.openWindow(300, 60, 200, 100, "other", ::getpid() + 1));
    ASSERT_TRUE(await([&] { return find(own) != nullptr; }));
    EXPECT_EQ(*find(own),
              (OwnWindows::Window{.number = own, .frame = {{50, 60}, {200, 100}}, .isVisible = true}));
    EXPECT_EQ(find(others), nullptr);
    EXPECT_EQ(*find(overlay->windowNumber()), (OwnWindows::Window{.number = overlay->windowNumber(),
                                                                  .frame = kScreen,
                                                                  .isVisible = false,
                                                                  .isPanel = true,
                                                                  .isSelectionPanel = true,
                                                                  .letsClicksThrough = true}));
    overlay->orderFront();
    EXPECT_TRUE(find(overlay->windowNumber())->isVisible);
    EXPECT_EQ(list.size(), 2u);
}

TEST_F(X11OwnWindowsTest, theProgramIsActiveWhileOneOfItsWindowsHasTheKeyboard) {
    hand.setFocus(ground.id());
    EXPECT_FALSE(ownWindows->isActive());
    const auto own = painter.openWindow(50, 60, 200, 100, "main", ::getpid());
    hand.setFocus(own);
    EXPECT_TRUE(ownWindows->isActive());
    hand.setFocus(ground.id());
    EXPECT_FALSE(ownWindows->isActive());
    const auto selection = open({.frame = kScreen, .takesKeyboard = true, .ignoresMouseEvents = false});
    selection->orderFront();
    EXPECT_TRUE(ownWindows->isActive());
}

} // namespace
} // namespace vintra
