// Whole takes with the overlays on the screen, by a user's pointer and keys, and what the movies show then.

#include "Vintra/capturearea/ControlBar.h"
#include "Vintra/capturearea/ScreenOverlays.h"
#include "Vintra/platform/linux/LinuxPlatform.h"
#include "Vintra/platform/linux/x11/X11ScreenCapture.h"
#include "Vintra/platform/linux/x11/X11Screens.h"
#include "Vintra/platform/linux/x11/X11WindowList.h"
#include "Vintra/take/ScreenRecorderManager.h"
#include "tests/platform/linux/overlays/X11OverlayFixture.h"
#include "tests/platform/linux/x11/X11TestWindow.h"
#include "tests/support/MediaProbe.h"
#include "tests/support/TemporaryFolder.h"

#include <cmath>
#include <optional>
#include <unistd.h>

namespace vintra {
namespace {

constexpr uint32_t kGroundGrey = 0x808080;
constexpr double kGroundLuma = 16 + 219.0 * 0x80 / 0xff;
/// In luma, of 219 steps: how far the codec may take an even picture from the screen. The faintest part of an overlay is
/// dozens of steps away.
constexpr double kEvenTolerance = 4;

/// A recorder on an X desktop of 800 × 600 in one grey, at which a user sits. Nothing else is recorded.
class OverlayTakeTest : public X11OverlayFixture, public ::testing::WithParamInterface<bool> {
protected:
    OverlayTakeTest()
        : X11OverlayFixture(GetParam(), kGroundGrey) {}
    void SetUp() override {
        X11OverlayFixture::SetUp();
        if (HasFatalFailure()) return;
        hand.move(kWidth - 1, kHeight - 1); // where nothing of it is in a picture but a pixel
        machine.emplace(LinuxPlatform::make(std::shared_ptr<EventLoop>(std::shared_ptr<void>(), &loop),
                                            {.keepsSettingsInMemory = true}));
        Platform& services = machine->services;
        services.screenCapture = std::make_shared<X11ScreenCapture>(server.displayName());
        services.screens = std::make_shared<X11Screens>(services.mainThread, server.displayName());
        services.windowList = std::make_shared<X11WindowList>(server.displayName());
        overlays = std::make_shared<ScreenOverlays>(
            ScreenOverlays::Services{.windows = *windows,
                                     .monitors = *monitors,
                                     .ownWindows = *ownWindows,
                                     .windowList = *services.windowList,
                                     .screens = *services.screens,
                                     .dispatchQueues = *services.dispatchQueues,
                                     .mainThread = *services.mainThread,
                                     .hostClock = *services.hostClock,
                                     .ownProcess = ::getpid(),
                                     .words = services.words,
                                     .showColorPanel = {}});
        services.captureOverlayWindows = overlays;
        recorder = ScreenRecorderManager::make(services);
        recorder->screenFrameRate.set(30);
        overlays->attach(
            {.selection = *recorder,
             .isRecording = recorder->isRecording,
             .currentBarState = [this] { return recorder->currentBarState(); },
             .selectedWindowRegion = [this] { return recorder->selectedWindowRegion(); },
             .chooseCaptureMode = [this](CaptureModeChoice mode) { recorder->chooseCaptureMode(mode); },
             .onError = [this](const std::string& text) { errors.push_back(text); }});
        ASSERT_TRUE(await([&] { return *recorder->regionGuideVisible; })) << "the guide comes up by itself";
        ASSERT_TRUE(awaitBar());
    }
    void TearDown() override {
        if (overlays) overlays->detach();
        recorder.reset();
        scope.cancelAll();
        overlays.reset();
        machine.reset();
    }

    /// In pixels from the top, where the bar has that button now.
    std::pair<int, int> placeOf(const BarAction& action) {
        for (const auto& item : ControlBar::layout(kScreen, recorder->currentBarState(), solid)) {
            if (item.action == action)
                return {static_cast<int>(item.rect.midX()), kHeight - static_cast<int>(item.rect.midY())};
        }
        ADD_FAILURE() << "no such button";
        return {0, 0};
    }
    void pressButton(const BarAction& action) {
        const auto [x, y] = placeOf(action);
        hand.move(x, y);
        // Over the bar the guide takes clicks, as soon as it has seen the pointer there.
        ASSERT_TRUE(await([&] { return isOverOverlay(); }));
        hand.press();
        hand.release();
    }
    bool isOverOverlay() {
        const auto under = connection->pointer().child;
        return std::ranges::any_of(connection->parts(), [&](const auto* part) { return part->owns(under); });
    }
    bool awaitBar() {
        const auto [x, y] = placeOf({BarAction::Done{}});
        return await([&, left = x - 20, top = y] { return at(left, top) != kGroundGrey; });
    }
    void drawRegion(int fromX, int fromY, int toX, int toY) {
        pressButton({BarAction::Mode{CaptureModeChoice::region}});
        ASSERT_TRUE(await([&] { return hand.focus() != 1 && ownWindows->isActive(); }));
        hand.drag(fromX, fromY, toX, toY);
        hand.type("Return");
        ASSERT_TRUE(await([&] { return recorder->captureRegion->has_value(); }));
    }
    /// On the guide, which takes a press once it has seen the pointer where it means something.
    void dragGuide(int fromX, int fromY, int toX, int toY) {
        hand.move(fromX, fromY);
        ASSERT_TRUE(await([this] { return isOverOverlay(); }));
        hand.drag(fromX, fromY, toX, toY);
    }
    void startTake() {
        const auto start = [](ScreenRecorderManager& manager, URL to) -> Task<> {
            co_await manager.startRecording(to);
        };
        scope.start(start(*recorder, movie()));
        ASSERT_TRUE(await([&] { return *recorder->isRecording || recorder->lastError->has_value(); }));
        ASSERT_TRUE(*recorder->isRecording) << recorder->lastError->value_or("");
    }
    void run(double seconds) {
        loop.runUntil([] { return false; }, static_cast<int64_t>(seconds * 1e9));
    }
    void stopTake() {
        const auto stop = [](ScreenRecorderManager& manager) -> Task<> { co_await manager.stopRecording(); };
        scope.start(stop(*recorder));
        ASSERT_TRUE(await([&] { return !*recorder->isRecording && !*recorder->isBusy; }));
    }
    URL movie() const { return folder.file("take_video.mov"); }

    /// The pictures of the movie, of that size. The last pixels of the pointer at the screen's end are left out.
    std::vector<std::vector<uint8_t>> pictures(int width, int height) {
        const MediaProbe probe(movie());
        EXPECT_EQ(probe.track(0).width, width);
        EXPECT_EQ(probe.track(0).height, height);
        return MediaProbe::luma(movie());
    }
    static bool isEven(uint8_t luma) { return std::abs(luma - kGroundLuma) <= kEvenTolerance; }
    /// Nothing but the ground in any picture, but for a corner of so many pixels.
    void expectNothingButGround(int width, int height, int corner = 0) {
        const auto all = pictures(width, height);
        EXPECT_GT(all.size(), 10u);
        for (size_t n = 0; n < all.size(); ++n) {
            for (int y = 0; y < height; ++y) {
                for (int x = 0; x < width; ++x) {
                    if (x >= width - corner && y >= height - corner) continue;
                    const uint8_t luma = all[n][static_cast<size_t>(y * width + x)];
                    ASSERT_TRUE(isEven(luma)) << "picture " << n << " at " << x << ", " << y << " has luma "
                                              << static_cast<int>(luma);
                }
            }
        }
    }

    TemporaryFolder folder;
    std::optional<LinuxPlatform> machine;
    std::shared_ptr<ScreenOverlays> overlays;
    std::shared_ptr<ScreenRecorderManager> recorder;
    TaskScope scope;
    std::vector<std::string> errors;
};

INSTANTIATE_TEST_SUITE_P(, OverlayTakeTest, ::testing::Values(false, true), [](const auto& instance) {
    return instance.param ? "withACompositor" : "withoutACompositor";
});

TEST_P(OverlayTakeTest, aTakeOfARegionShowsExactlyWhatWasFramedAndNothingOfTheGuide) {
    drawRegion(200, 100, 600, 400);
    EXPECT_EQ(recorder->captureRegion->value().rect, (CGRect{{200, 100}, {400, 300}}));
    hand.move(kWidth - 1, kHeight - 1);
    const auto isFramed = [&] { return at(199, 200) == 0xffffff && at(600, 200) == 0xffffff; };
    EXPECT_TRUE(await(isFramed)) << "a white line is beside the region";
    startTake();
    run(0.7);
    EXPECT_TRUE(isFramed()) << "in a take as well";
    stopTake();
    expectNothingButGround(400, 300);
}

TEST_P(OverlayTakeTest, aTakeThatBeginsWhileARegionIsChosenShowsNothingOfThePicker) {
    recorder->captureRegion.set(CaptureRegion{recorder->effectiveDisplay()->id, {{100, 50}, {600, 500}}});
    pressButton({BarAction::Mode{CaptureModeChoice::region}});
    ASSERT_TRUE(await([&] { return *recorder->screenCaptureMode == CaptureModeChoice::region; }));
    pressButton({BarAction::Mode{CaptureModeChoice::region}});
    ASSERT_TRUE(await([&] { return ownWindows->isActive(); }));
    hand.move(kWidth - 1, kHeight - 1);
    startTake();
    run(0.5);
    EXPECT_FALSE(ownWindows->isActive());
    stopTake();
    expectNothingButGround(600, 500);
}

TEST_P(OverlayTakeTest, aTakeOfTheDisplayShowsNoBarAndTheClicksAtTheirPlaceInTheirColour) {
    recorder->showMouseClicks.set(true);
    recorder->clickRippleColor.set(0xffcc00);
    startTake();
    run(0.5);
    hand.click(300, 200);
    run(0.1); // a hand stays for a moment where it has clicked
    hand.move(kWidth - 1, kHeight - 1);
    run(1.1);
    EXPECT_EQ(ground.clicks(), (std::vector<X11ClickedWindow::Click>{{300, 200, 1}}))
        << "the program below gets the click";
    stopTake();

    const auto all = pictures(kWidth, kHeight);
    std::vector<int> rings;
    int widest = 0;
    double yellowest = 0; // by how much blue is less than red and green
    for (size_t n = 0; n < all.size(); ++n) {
        int left = kWidth, right = 0, top = kHeight, bottom = 0, count = 0;
        for (int y = 0; y < kHeight; ++y) {
            for (int x = 0; x < kWidth; ++x) {
                const bool isOfPointer =
                    (x >= 780 && y >= 580) || (x >= 290 && y >= 195 && x < 325 && y < 230);
                if (isOfPointer || isEven(all[n][static_cast<size_t>(y * kWidth + x)])) continue;
                left = std::min(left, x);
                right = std::max(right, x);
                top = std::min(top, y);
                bottom = std::max(bottom, y);
                ++count;
            }
        }
        if (count == 0) continue;
        // 23 points of radius, half again as large at the end, with half of a line of 4.5.
        EXPECT_GE(left, 300 - 38) << n;
        EXPECT_LE(right, 300 + 38) << n;
        EXPECT_GE(top, 200 - 38) << n;
        EXPECT_LE(bottom, 200 + 38) << n;
        if (bottom - top > 20 && right - left > 20) {
            EXPECT_NEAR((left + right) / 2.0, 300, 3) << n;
            EXPECT_NEAR((top + bottom) / 2.0, 200, 3) << n;
            rings.push_back(static_cast<int>(n));
            widest = std::max(widest, right - left);
            const auto colour = MediaProbe::meanColour(movie(), static_cast<int>(n), {298, top, 4, 2});
            yellowest = std::max(yellowest, std::min(colour[0], colour[1]) - colour[2]);
        }
    }
    // 0.45 s at 30 a second are 13 pictures; the last ones are too faint, and a busy machine leaves some out.
    EXPECT_GE(rings.size(), 2u);
    EXPECT_LE(rings.size(), 15u);
    EXPECT_GT(widest, 30);
    EXPECT_GT(yellowest, 10);
    if (rings.empty()) return;
    EXPECT_LE(rings.back() - rings.front(), 14) << "it is gone after 0.45 s";
}

TEST_P(OverlayTakeTest, aWindowIsPickedAmongOverlappingOnesAndTheGuideFollowsIt) {
    const X11TestWindow small(server.displayName(), {.x = 30, .y = 30, .width = 40, .height = 200});
    const X11TestWindow leastOffered(server.displayName(), {.x = 700, .y = 30, .width = 41, .height = 41});
    X11TestWindow lower(server.displayName(),
                        {.x = 100, .y = 100, .width = 300, .height = 200, .ground = 0x202020});
    X11TestWindow upper(server.displayName(),
                        {.x = 250, .y = 150, .width = 300, .height = 200, .ground = kGroundGrey});
    EXPECT_EQ(recorder->pickableWindows().size(), 4u) << "the ground too, but not the one of 40 points";
    pressButton({BarAction::Mode{CaptureModeChoice::window}});
    ASSERT_TRUE(await([&] { return ownWindows->isActive(); }));
    hand.move(300, 200);
    hand.move(301, 201);
    const auto isPickedFramed = [&] { return looks(249, 250, 0x7fd5ff); };
    EXPECT_TRUE(await(isPickedFramed)) << "the frontmost under the pointer is framed";
    hand.press();
    hand.release();
    ASSERT_TRUE(await([&] { return recorder->selectedWindowID->has_value(); }));
    EXPECT_EQ(**recorder->selectedWindowID, upper.id());
    hand.move(kWidth - 1, kHeight - 1);
    EXPECT_TRUE(await([&] { return at(249, 250) == 0xffffff && at(550, 250) == 0xffffff; }));
    upper.move(200, 200);
    EXPECT_TRUE(await([&] { return at(199, 300) == 0xffffff && at(500, 300) == 0xffffff; }))
        << "the guide follows the window";
    startTake();
    run(0.6);
    stopTake();
    expectNothingButGround(300, 200);
}

TEST_P(OverlayTakeTest, theRegionIsMovedAndResizedWithTheBarsMenusOnTheGuide) {
    drawRegion(200, 100, 520, 280);
    dragGuide(300, 150, 340, 180);
    ASSERT_TRUE(await([&] { return recorder->captureRegion->value().rect.origin.x == 240; }));
    EXPECT_EQ(recorder->captureRegion->value().rect, (CGRect{{240, 130}, {320, 180}}));
    pressButton({BarAction::AspectMenu{}});
    const auto items =
        ControlBar::menuItems(kScreen, recorder->currentBarState(), BarMenuKind::aspect, solid);
    const CGRect square = items.at(3).rect;
    const int itemX = static_cast<int>(square.midX());
    const int itemY = kHeight - static_cast<int>(square.midY());
    ASSERT_TRUE(await([&] { return at(itemX + 30, itemY) == 0x000000; })) << "the menu is open";
    hand.click(itemX, itemY);
    ASSERT_TRUE(await([&] { return *recorder->aspectPreset == AspectPreset::square; }));
    const CGRect reshaped = recorder->captureRegion->value().rect; // 240 × 240 around (400, 220)
    EXPECT_NEAR(reshaped.minX(), 280, 0.01);
    EXPECT_NEAR(reshaped.minY(), 100, 0.01);
    EXPECT_NEAR(reshaped.size.width, 240, 0.01);
    // Each corner by 40 points, the side that changes more leads; then it is as before.
    const int corners[4][4] = {
        {280, 100, 240, 90}, {520, 340, 560, 350}, {520, 100, 560, 90}, {280, 340, 240, 350}};
    for (const auto& [x, y, toX, toY] : corners) {
        recorder->captureRegion.set(
            CaptureRegion{recorder->effectiveDisplay()->id, {{280, 100}, {240, 240}}});
        dragGuide(x, y, toX, toY);
        ASSERT_TRUE(await([&] { return recorder->captureRegion->value().rect.size.width != 240; }));
        EXPECT_TRUE(await([&] {
            return recorder->captureRegion->value().rect.size == CGSize{280, 280};
        })) << "corner at "
            << x << ", " << y;
    }
    hand.type("Escape");
    pressButton({BarAction::Done{}});
    ASSERT_TRUE(await([&] { return !*recorder->regionGuideVisible; }));
    EXPECT_TRUE(recorder->captureRegion->has_value()) << "the selection stays";
    hand.click(400, 200);
    EXPECT_EQ(ground.clicks().back(), (X11ClickedWindow::Click{400, 200, 1}));
}

TEST_P(OverlayTakeTest, everyCornerResizesInEveryShape) {
    struct Shape {
        AspectPreset aspect;
        double ratio; ///< width by height; 0 for any
        CGSize size;
    };
    recorder->captureRegion.set(CaptureRegion{recorder->effectiveDisplay()->id, {{300, 200}, {240, 180}}});
    pressButton({BarAction::Mode{CaptureModeChoice::region}});
    ASSERT_TRUE(await([&] { return *recorder->screenCaptureMode == CaptureModeChoice::region; }));
    for (const Shape& shape :
         {Shape{AspectPreset::freeform, 0, {240, 180}},
          Shape{AspectPreset::widescreen, 32.0 / 18, {320, 180}},
          Shape{AspectPreset::vertical, 18.0 / 32, {180, 320}}, Shape{AspectPreset::square, 1, {240, 240}}}) {
        recorder->aspectPreset.set(shape.aspect);
        for (const auto& [right, down] :
             {std::pair(0, 0), std::pair(1, 0), std::pair(0, 1), std::pair(1, 1)}) {
            SCOPED_TRACE(barLabel(shape.aspect) + " " + std::to_string(right) + std::to_string(down));
            const CGRect before{{400 - shape.size.width / 2, 290 - shape.size.height / 2}, shape.size};
            recorder->captureRegion.set(CaptureRegion{recorder->effectiveDisplay()->id, before});
            const CGPoint corner{right ? before.maxX() : before.minX(), down ? before.maxY() : before.minY()};
            const CGPoint fixed{right ? before.minX() : before.maxX(), down ? before.minY() : before.maxY()};
            const CGPoint to{corner.x + (right ? 37 : -37), corner.y + (down ? 11 : -11)};
            double width = std::abs(to.x - fixed.x);
            double height = std::abs(to.y - fixed.y);
            if (shape.ratio > 0) {
                width = std::max(width, height * shape.ratio); // the side that reaches further leads
                height = width / shape.ratio;
            }
            const CGRect expected{{right ? fixed.x : fixed.x - width, down ? fixed.y : fixed.y - height},
                                  {width, height}};
            dragGuide(static_cast<int>(corner.x), static_cast<int>(corner.y), static_cast<int>(to.x),
                      static_cast<int>(to.y));
            EXPECT_TRUE(await([&] {
                const CGRect& now = recorder->captureRegion->value().rect;
                return std::abs(now.minX() - expected.minX()) < 0.01 &&
                       std::abs(now.minY() - expected.minY()) < 0.01 &&
                       std::abs(now.size.width - expected.size.width) < 0.01 &&
                       std::abs(now.size.height - expected.size.height) < 0.01;
            })) << "it is "
                << recorder->captureRegion->value().rect.minX() << ", "
                << recorder->captureRegion->value().rect.minY() << ", "
                << recorder->captureRegion->value().rect.size.width << " × "
                << recorder->captureRegion->value().rect.size.height;
        }
    }
    pressButton({BarAction::FrameRateMenu{}});
    const auto rates =
        ControlBar::menuItems(kScreen, recorder->currentBarState(), BarMenuKind::frameRate, solid);
    const CGRect slowest = rates.at(0).rect;
    const int itemX = static_cast<int>(slowest.midX());
    const int itemY = kHeight - static_cast<int>(slowest.midY());
    ASSERT_TRUE(await([&] { return at(itemX + 30, itemY) == 0x000000; })) << "the menu is open";
    hand.click(itemX, itemY);
    EXPECT_TRUE(await([&] { return *recorder->screenFrameRate == 24; }));
}

TEST_P(OverlayTakeTest, besideTheRegionClicksReachTheProgramBelow) {
    drawRegion(300, 200, 500, 400);
    hand.setFocus(ground.id());
    hand.move(100, 100);
    ASSERT_TRUE(await([&] { return !isOverOverlay(); }));
    const auto before = ground.clicks().size();
    hand.click(100, 100);
    EXPECT_EQ(ground.clicks().size(), before + 1);
    hand.move(290, 300); // within 26 points of the region
    EXPECT_TRUE(await([&] { return isOverOverlay(); }));
    hand.move(100, 101);
    EXPECT_TRUE(await([&] { return !isOverOverlay(); }));
}

TEST_P(OverlayTakeTest, keysChooseTheAspectAndEscapeKeepsTheOldRegion) {
    drawRegion(300, 200, 460, 290);
    const CGRect before = recorder->captureRegion->value().rect;
    pressButton({BarAction::Mode{CaptureModeChoice::region}});
    ASSERT_TRUE(await([&] { return ownWindows->isActive(); }));
    hand.type("4");
    ASSERT_TRUE(await([&] { return *recorder->aspectPreset == AspectPreset::square; }));
    hand.type("3");
    ASSERT_TRUE(await([&] { return *recorder->aspectPreset == AspectPreset::vertical; }));
    hand.type("5");
    hand.type("2");
    ASSERT_TRUE(await([&] { return *recorder->aspectPreset == AspectPreset::widescreen; }));
    hand.type("1");
    ASSERT_TRUE(await([&] { return *recorder->aspectPreset == AspectPreset::freeform; }));
    hand.drag(600, 100, 700, 150);
    hand.type("Escape");
    ASSERT_TRUE(await([&] { return !ownWindows->isActive(); }));
    EXPECT_NEAR(recorder->captureRegion->value().rect.midX(), before.midX(), 1);
    EXPECT_NEAR(recorder->captureRegion->value().rect.midY(), before.midY(), 1);
}

TEST_P(OverlayTakeTest, aMonitorThatGoesWhileAnOverlayIsOnItTakesThatAlong) {
    ASSERT_TRUE(server.xrandr({"--setmonitor", "LEFT", "400/400x600/600+0+0", "screen"}));
    ASSERT_TRUE(server.xrandr({"--setmonitor", "RIGHT", "400/400x600/600+400+0", "none"}));
    ASSERT_TRUE(await([&] { return recorder->availableDisplays->size() == 2; }));
    const auto right = std::ranges::find(*recorder->availableDisplays, "RIGHT", &CaptureDisplay::name);
    ASSERT_NE(right, recorder->availableDisplays->end());
    const CaptureRegion region{right->id, {{100, 100}, {200, 200}}};
    recorder->selectedDisplayID.set(right->id);
    recorder->captureRegion.set(region);
    recorder->chooseCaptureMode(CaptureModeChoice::region);
    EXPECT_TRUE(await([&] { return at(499, 200) == 0xffffff; })) << "the guide";
    recorder->chooseCaptureMode(CaptureModeChoice::region);
    ASSERT_TRUE(await([&] { return ownWindows->isActive() && at(499, 200) == 0xffffff; })) << "the selection";

    ASSERT_TRUE(server.xrandr({"--delmonitor", "RIGHT"}));
    ASSERT_TRUE(await([&] { return recorder->availableDisplays->size() == 1; }));
    EXPECT_TRUE(await([&] { return at(499, 200) == kGroundGrey && at(450, 50) == kGroundGrey; }));
    EXPECT_FALSE(ownWindows->isActive());
    EXPECT_EQ(**recorder->captureRegion, region) << "kept for when the monitor is back";
    EXPECT_EQ(recorder->effectiveCaptureMode(), CaptureModeChoice::fullScreen);

    recorder->chooseCaptureMode(CaptureModeChoice::region);
    ASSERT_TRUE(await([&] { return ownWindows->isActive(); }));
    hand.drag(50, 50, 250, 250);
    hand.type("Return");
    ASSERT_TRUE(await([&] { return (*recorder->captureRegion)->displayID != region.displayID; }));
    EXPECT_EQ((*recorder->captureRegion)->rect, (CGRect{{50, 50}, {200, 200}}));
    EXPECT_TRUE(await([&] { return at(49, 100) == 0xffffff; })) << "the guide, on the monitor that is left";
}

} // namespace
} // namespace vintra
