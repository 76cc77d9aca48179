#include "Vintra/platform/linux/overlays/WaylandOverlayWindows.h"

#include "Vintra/platform/linux/overlays/LinuxOverlays.h"
#include "Vintra/platform/linux/runtime/LinuxEventLoop.h"
#include "Vintra/platform/linux/wayland/WaylandDesktop.h"
#include "Vintra/platform/linux/wayland/WaylandScreens.h"
#include "tests/platform/linux/overlays/OverlayInputLog.h"
#include "tests/platform/linux/overlays/SolidPainter.h"
#include "tests/platform/linux/wayland/WaylandHand.h"
#include "tests/platform/linux/wayland/WaylandSession.h"
#include "tests/support/TemporaryFolder.h"
#include "tools/painted-window/WaylandWindow.h"

#include <chrono>
#include <gtest/gtest.h>

namespace vintra {
namespace {

constexpr const char* kDisplayName = "HEADLESS-1";
constexpr uint32_t kDesktopGround = 0x204060; // as the session's desktop is coloured
constexpr NSColor kOverlayRed{1, 0, 0};

/// The overlays on the display of a sway without a screen, at which a user sits.
class WaylandOverlayWindowsTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (!WaylandSession::isThere())
            GTEST_SKIP() << "needs the session of tools/headless-session --wayland";
        ASSERT_TRUE(WaylandSession::resize(kDisplayName, 640, 480));
        ASSERT_NE(overlays.windows, nullptr);
        const auto screens = WaylandScreens().screens();
        ASSERT_EQ(screens.size(), 1u);
        screen = screens.front();
    }
    bool await(const std::function<bool()>& condition) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (!condition()) {
            if (std::chrono::steady_clock::now() > deadline) return false;
            loop.runUntil([] { return false; }, 5'000'000);
        }
        return true;
    }
    bool looks(int x, int y, uint32_t expected) {
        const uint32_t seen = WaylandSession::screenshot(kDisplayName).at(x, y);
        for (const int shift : {0, 8, 16}) {
            const int difference =
                static_cast<int>(seen >> shift & 0xff) - static_cast<int>(expected >> shift & 0xff);
            if (difference < -2 || difference > 2) return false;
        }
        return true;
    }
    /// A hole of 200 × 100 at (300, 200) from the top, and a red block at (20, 30).
    static DrawList holeAndBlock() {
        return {
            {DrawList::FilledSurround{{{300, 180}, {200, 100}}, {{0, 0}, {640, 480}}, NSColor::black(0.5)},
             DrawList::FilledRect{{{20, 410}, {40, 40}}, 0, kOverlayRed}}};
    }
    std::unique_ptr<OverlayWindow> open(OverlayRecipe recipe) {
        recipe.frame = screen.frame;
        auto window = overlays.windows->makeWindow(recipe, input);
        window->present(holeAndBlock());
        window->orderFront();
        return window;
    }
    bool isBlockShown() {
        return await([&] { return looks(40, 50, 0xff0000); });
    }
    /// Returns after a frame that began when all that the overlays asked for had long been sent.
    static void awaitCompositor() { WaylandSession::screenshot(kDisplayName); }
    void move(int x, int y) { hand.move(x, y, 640, 480); }
    void click(int x, int y) {
        move(x, y);
        hand.press();
        hand.release();
    }

    LinuxEventLoop loop;
    SolidPainter solid;
    OverlayInputLog input;
    LinuxOverlays overlays = LinuxOverlays::ofWayland(loop, solid, WaylandDesktop{});
    WaylandHand hand;
    NSScreen screen;
};

TEST_F(WaylandOverlayWindowsTest, whatIsDrawnLiesOverTheDisplayUntilItIsOrderedOut) {
    const auto window = open({});
    ASSERT_TRUE(isBlockShown());
    EXPECT_TRUE(looks(400, 250, kDesktopGround)) << "the hole";
    EXPECT_TRUE(looks(300, 200, kDesktopGround)) << "its first pixel";
    EXPECT_TRUE(looks(100, 400, 0x102030)) << "half of the ground's light";
    window->present({{DrawList::FilledRect{{{120, 410}, {40, 40}}, 0, kOverlayRed}}});
    EXPECT_TRUE(await([&] { return looks(140, 50, 0xff0000) && looks(40, 50, kDesktopGround); }));
    window->orderOut();
    EXPECT_TRUE(await([&] { return looks(140, 50, kDesktopGround); }));
    window->present(holeAndBlock());
    window->orderFront();
    EXPECT_TRUE(isBlockShown()) << "and again";
}

TEST_F(WaylandOverlayWindowsTest, aSelectionHasThePointerAndTheKeyboard) {
    ASSERT_TRUE(hand.isThere());
    auto window = open({.takesKeyboard = true, .ignoresMouseEvents = false});
    ASSERT_TRUE(isBlockShown());
    move(100, 100);
    hand.press();
    move(200, 150);
    hand.release();
    move(210, 160);
    ASSERT_TRUE(await([&] { return input.has("move 210 320"); }));
    EXPECT_TRUE(input.has("down 100 380"));
    EXPECT_TRUE(input.has("drag 200 330"));
    EXPECT_TRUE(input.has("up"));
    EXPECT_EQ(overlays.monitors->mouseLocation(), (CGPoint{210, 160}));
    for (const uint32_t key : {2u, 3u, 4u, 5u, 6u, 28u, 96u, 30u, 1u})
        hand.type(key);
    ASSERT_TRUE(await([&] { return input.has("key 53"); }));
    std::erase_if(input.calls, [](const std::string& call) { return !call.starts_with("key"); });
    EXPECT_EQ(input.calls, (std::vector<std::string>{"key 18", "key 19", "key 20", "key 21", "key 23",
                                                     "key 36", "key 76", "key 53"}));
    input.onKey = [&] { window.reset(); };
    hand.type(28);
    EXPECT_TRUE(await([&] { return window == nullptr && looks(40, 50, kDesktopGround); }));
}

TEST_F(WaylandOverlayWindowsTest, clicksGoThroughButInItsInteractiveParts) {
    ASSERT_TRUE(hand.isThere());
    const auto guide = open({});
    ASSERT_TRUE(isBlockShown());
    // Those that the overlay took, up to the last one, which it has to take.
    const auto taken = [&](const std::vector<std::pair<int, int>>& through, std::pair<int, int> last) {
        input.calls.clear();
        for (const auto& [x, y] : through)
            click(x, y);
        click(last.first, last.second);
        const std::string end =
            "down " + std::to_string(last.first) + " " + std::to_string(480 - last.second);
        EXPECT_TRUE(await([&] { return input.has(end); }));
        std::erase_if(input.calls, [](const std::string& call) { return !call.starts_with("down"); });
        return input.calls;
    };
    using Calls = std::vector<std::string>;
    guide->setInteractiveParts({{{100, 80}, {50, 40}}}); // 360 to 400 from the top
    awaitCompositor();
    EXPECT_EQ(taken({{90, 380}, {160, 380}, {120, 350}, {120, 410}, {500, 100}}, {120, 380}),
              Calls{"down 120 100"});
    guide->setInteractiveParts({{{300, 80}, {50, 40}}});
    awaitCompositor();
    EXPECT_EQ(taken({{120, 380}}, {320, 380}), Calls{"down 320 100"}) << "the part before is none any longer";
    guide->setIgnoresMouseEvents(false);
    awaitCompositor();
    EXPECT_EQ(taken({{120, 380}}, {500, 100}), (Calls{"down 120 100", "down 500 380"}));
}

TEST_F(WaylandOverlayWindowsTest, aDenseDisplayIsPaintedInItsOwnPixels) {
    ASSERT_TRUE(WaylandSession::sway({"output", kDisplayName, "scale", "2"}));
    ASSERT_TRUE(await([&] { return WaylandScreens().screens().front().backingScaleFactor == 2; }));
    screen = WaylandScreens().screens().front();
    auto window = overlays.windows->makeWindow({.frame = screen.frame}, input);
    // One point wide, from 10 to 11 points: two pixels.
    window->present({{DrawList::FilledRect{{{10, 0}, {1, 240}}, 0, kOverlayRed}}});
    window->orderFront();
    EXPECT_TRUE(await([&] { return looks(20, 100, 0xff0000) && looks(21, 100, 0xff0000); }));
    EXPECT_TRUE(looks(19, 100, kDesktopGround));
    EXPECT_TRUE(looks(22, 100, kDesktopGround));
    window.reset();
    EXPECT_TRUE(WaylandSession::sway({"output", kDisplayName, "scale", "1"}));
    EXPECT_TRUE(await([&] { return WaylandScreens().screens().front().backingScaleFactor == 1; }));
}

TEST_F(WaylandOverlayWindowsTest, noClicksOfOthersAreToldAndTheProgramIsNeverInFront) {
    EXPECT_FALSE(overlays.monitors->canObserveClicks());
    EXPECT_FALSE(overlays.ownWindows->isActive());
    EXPECT_TRUE(overlays.windows->areCaptured());
    EXPECT_EQ(overlays.windows->makeWindow({.frame = {{5000, 0}, {10, 10}}}, input)->windowNumber(), 1u)
        << "made, though there is no display to show it on";
}

/// The same desktop as one whose compositor has no layers for programs.
class WaylandFullScreenTest : public WaylandOverlayWindowsTest {
protected:
    void SetUp() override {
        WaylandOverlayWindowsTest::SetUp();
        if (IsSkipped() || HasFatalFailure()) return;
        WaylandSession::choose(kDisplayName);
        overlays = LinuxOverlays::ofWayland(
            loop, solid,
            {.displayName = {}, .busAddress = {}, .restoreTokensFile = folder.file("tokens").path()}, false);
        below = std::make_unique<WaylandWindow>(kDisplayName);
        ASSERT_TRUE(below->isOpen());
        below->fill({0, 0, 640, 480}, kBelow);
        below->showAndAwaitFrame();
    }
    void TearDown() override {
        below.reset();
        WaylandOverlayWindowsTest::TearDown();
    }
    /// This portal gives a picture when the screen changes.
    bool awaitSelection() {
        int shade = 0;
        return await([&] {
            if (looks(40, 50, 0xff0000)) return true;
            below->fill({600, 440, 40, 40}, static_cast<uint32_t>(++shade % 200));
            below->show();
            return false;
        });
    }

    static constexpr uint32_t kBelow = 0x60c0a0;
    TemporaryFolder folder;
    std::unique_ptr<WaylandWindow> below;
};

TEST_F(WaylandFullScreenTest, aSelectionIsAFullScreenWindowOverThePictureOfTheDisplay) {
    ASSERT_TRUE(hand.isThere());
    EXPECT_FALSE(overlays.windows->canLetClicksThrough());
    EXPECT_EQ(overlays.windows->makeWindow({.frame = screen.frame}, input), nullptr) << "there is no guide";
    auto selection = open({.takesKeyboard = true, .ignoresMouseEvents = false});
    ASSERT_TRUE(awaitSelection());
    EXPECT_TRUE(looks(400, 250, kBelow)) << "the hole";
    EXPECT_TRUE(looks(100, 400, 0x306050)) << "half of its light";
    move(100, 100);
    hand.press();
    move(200, 150);
    hand.release();
    ASSERT_TRUE(await([&] { return input.has("up"); }));
    EXPECT_TRUE(input.has("down 100 380"));
    EXPECT_TRUE(input.has("drag 200 330"));
    selection->present(
        {{DrawList::FilledSurround{{{300, 80}, {200, 100}}, {{0, 0}, {640, 480}}, NSColor::black(0.5)}}});
    EXPECT_TRUE(await([&] { return looks(400, 350, kBelow) && looks(400, 250, 0x306050); }))
        << "it was moved";
    EXPECT_TRUE(looks(40, 50, 0x306050)) << "the block has gone";
    hand.type(28);
    ASSERT_TRUE(await([&] { return input.has("key 36"); }));
    selection.reset();
    EXPECT_TRUE(await([&] { return looks(40, 50, kBelow); }));
}

TEST_F(WaylandFullScreenTest, aUserWhoDoesntShareTheDisplayHasCancelledTheSelection) {
    WaylandSession::choose("");
    const auto selection = open({.takesKeyboard = true, .ignoresMouseEvents = false});
    EXPECT_TRUE(await([&] { return input.has("cancel"); }));
    WaylandSession::choose(kDisplayName);
}

} // namespace
} // namespace vintra
