// Whole takes with the overlays on a Wayland desktop, by a user's pointer and keys, and what the movies show then.

#include "Vintra/capturearea/ControlBar.h"
#include "Vintra/capturearea/ScreenOverlays.h"
#include "Vintra/platform/linux/LinuxPlatform.h"
#include "Vintra/platform/linux/runtime/LinuxEventLoop.h"
#include "Vintra/platform/linux/wayland/WaylandScreens.h"
#include "Vintra/platform/linux/wayland/WaylandWindowQuestion.h"
#include "Vintra/take/ScreenRecorderManager.h"
#include "tests/platform/linux/overlays/SolidPainter.h"
#include "tests/platform/linux/wayland/WaylandHand.h"
#include "tests/platform/linux/wayland/WaylandScreenFixture.h"
#include "tests/platform/linux/wayland/WindowSharingPortal.h"
#include "tests/support/MediaProbe.h"

#include <cmath>
#include <unistd.h>

namespace vintra {
namespace {

constexpr uint32_t kGround = 0x808080;
constexpr double kGroundInLuma = 16 + 219.0 * 0x80 / 0xff;
/// In luma, of 219 steps: how far the codec may take an even picture from the screen. The faintest part of an overlay is
/// dozens of steps away.
constexpr double kCodecTolerance = 5;

/// A recorder on sway's display of 640 × 480 in one grey, at which a user sits. Nothing else is recorded.
class OverlayTakeOnWaylandTest : public WaylandScreenFixture {
protected:
    static constexpr CGRect kDisplayFrame{{0, 0}, {640, 480}};

    void SetUp() override {
        WaylandScreenFixture::SetUp();
        if (IsSkipped() || HasFatalFailure()) return;
        ASSERT_TRUE(hand.isThere());
        showGround();
        moveAway();
    }
    void begin(bool usesLayers = true) {
        const std::shared_ptr<EventLoop> mainThread(std::shared_ptr<void>(), &loop);
        machine.emplace(LinuxPlatform::make(mainThread, {.keepsSettingsInMemory = true}));
        Platform& services = machine->services;
        const auto question = std::make_shared<WaylandWindowQuestion>(desktop, mainThread);
        services.windowQuestion = question;
        services.screenCapture = std::make_shared<WaylandScreenCapture>(desktop, question);
        made = LinuxOverlays::ofWayland(loop, solid, desktop, usesLayers);
        ASSERT_NE(made.windows, nullptr);
        overlays = std::make_shared<ScreenOverlays>(
            ScreenOverlays::Services{.windows = *made.windows,
                                     .monitors = *made.monitors,
                                     .ownWindows = *made.ownWindows,
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
             .onError = [](const std::string&) {}});
        ASSERT_TRUE(await([&] { return *recorder->regionGuideVisible; }));
    }
    void TearDown() override {
        if (overlays) overlays->detach();
        recorder.reset();
        scope.cancelAll();
        overlays.reset();
        made = {};
        machine.reset();
        WaylandScreenFixture::TearDown();
    }

    /// The ground in one of two greys next to each other: this portal sends nothing of a screen that stays the same.
    void showGround() {
        window->fill({0, 0, 640, 480}, kGround + (++timesShown % 2 == 0 ? 0 : 0x010101));
        window->show();
    }
    void moveAway() { hand.move(639, 479, 640, 480); }
    bool await(const std::function<bool()>& condition) {
        for (int tries = 0; tries < 800; ++tries) {
            if (condition()) return true;
            showGround();
            loop.runUntil([] { return false; }, 25'000'000);
        }
        return false;
    }
    void run(double seconds) {
        for (double passed = 0; passed < seconds; passed += 0.05) {
            showGround();
            loop.runUntil([] { return false; }, 50'000'000);
        }
    }
    bool isBarShown() {
        const CGRect strip = ControlBar::containerRect(kDisplayFrame, recorder->currentBarState(), solid);
        return at(static_cast<int>(strip.minX()) + 5, 480 - static_cast<int>(strip.midY())) < 0x404040;
    }
    uint32_t at(int x, int y) { return WaylandSession::screenshot(kDisplay).at(x, y); }
    void press(const BarAction& action) {
        for (const auto& item : ControlBar::layout(kDisplayFrame, recorder->currentBarState(), solid)) {
            if (item.action != action) continue;
            hand.move(static_cast<int>(item.rect.midX()), 480 - static_cast<int>(item.rect.midY()), 640, 480);
            hand.press();
            hand.release();
            return;
        }
        ADD_FAILURE() << "no such button";
    }
    /// 200 × 160 points from (120, 60) on, confirmed by Return.
    void drawRegion() {
        hand.move(120, 60, 640, 480);
        hand.press();
        hand.move(320, 220, 640, 480);
        hand.release();
        hand.type(28);
        ASSERT_TRUE(await([&] { return recorder->captureRegion->has_value(); }));
        EXPECT_EQ(recorder->captureRegion->value().rect, (CGRect{{120, 60}, {200, 160}}));
        moveAway();
    }
    void take(double seconds) {
        const auto start = [](ScreenRecorderManager& manager, URL to) -> Task<> {
            co_await manager.startRecording(to);
        };
        scope.start(start(*recorder, movie()));
        ASSERT_TRUE(await([&] { return *recorder->isRecording || recorder->lastError->has_value(); }));
        ASSERT_TRUE(*recorder->isRecording) << recorder->lastError->value_or("");
        run(seconds);
        const auto stop = [](ScreenRecorderManager& manager) -> Task<> { co_await manager.stopRecording(); };
        scope.start(stop(*recorder));
        ASSERT_TRUE(await([&] { return !*recorder->isRecording && !*recorder->isBusy; }));
    }
    URL movie() const { return folder.file("take_video.mov"); }
    /// In every picture, but for the pointer's corner.
    void expectNothingButGround(int width, int height, int corner = 0) {
        const MediaProbe probe(movie());
        ASSERT_EQ(probe.track(0).width, width);
        ASSERT_EQ(probe.track(0).height, height);
        const auto all = MediaProbe::luma(movie());
        EXPECT_GT(all.size(), 5u);
        for (size_t n = 0; n < all.size(); ++n) {
            for (int y = 0; y < height; ++y) {
                for (int x = 0; x < width; ++x) {
                    if (x >= width - corner && y >= height - corner) continue;
                    const uint8_t luma = all[n][static_cast<size_t>(y * width + x)];
                    ASSERT_NEAR(luma, kGroundInLuma, kCodecTolerance)
                        << "picture " << n << " at " << x << ", " << y;
                }
            }
        }
    }

    LinuxEventLoop loop;
    SolidPainter solid;
    WaylandHand hand;
    std::optional<LinuxPlatform> machine;
    LinuxOverlays made;
    std::shared_ptr<ScreenOverlays> overlays;
    std::shared_ptr<ScreenRecorderManager> recorder;
    TaskScope scope;
    int timesShown = 0;
};

TEST_F(OverlayTakeOnWaylandTest, aTakeOfADrawnRegionShowsExactlyWhatWasFramedAndNothingOfTheGuide) {
    begin();
    ASSERT_TRUE(await([&] { return isBarShown(); }));
    press({BarAction::Mode{CaptureModeChoice::region}});
    ASSERT_TRUE(await([&] { return *recorder->screenCaptureMode == CaptureModeChoice::region; }));
    ASSERT_TRUE(await([&] { return at(10, 10) < 0x606060; })) << "the selection dims the display";
    drawRegion();
    EXPECT_TRUE(await([&] { return at(119, 100) == 0xffffff && at(320, 100) == 0xffffff; })) << "the guide";
    take(1);
    expectNothingButGround(200, 160);
}

TEST_F(OverlayTakeOnWaylandTest, aTakeOfTheDisplayShowsNoBar) {
    begin();
    ASSERT_TRUE(await([&] { return isBarShown(); }));
    take(1);
    expectNothingButGround(640, 480, 40);
}

TEST_F(OverlayTakeOnWaylandTest, aTakeOfAWindowThatTheUserChoseShowsNothingOfTheBar) {
    const WindowSharingPortal portal({.restoreToken = "again"});
    desktop.busAddress = portal.busAddress();
    begin();
    ASSERT_TRUE(await([&] { return isBarShown(); }));
    press({BarAction::Mode{CaptureModeChoice::window}});
    ASSERT_TRUE(await([&] { return recorder->selectedWindowID->has_value(); }));
    EXPECT_EQ(recorder->captureAreaLabel(), "Window · chosen on the desktop");
    ASSERT_TRUE(await([&] { return isBarShown(); })) << "it was gone while the desktop asked";
    press({BarAction::Done{}}); // for what is shared here isn't a window but the display
    ASSERT_TRUE(await([&] { return !*recorder->regionGuideVisible; }));
    moveAway();
    take(1);
    expectNothingButGround(640, 480, 40);
    EXPECT_EQ(std::get<std::string>(portal.calls().options("SelectSources")["restore_token"]), "again");
}

TEST_F(OverlayTakeOnWaylandTest, whatThisDesktopDoesntAllowIsSaidAndNotOffered) {
    begin();
    ASSERT_TRUE(await([&] { return *recorder->windowOffer == WindowQuestion::Offer::refused; }))
        << "this portal shares displays alone";
    EXPECT_EQ(recorder->captureLimits(),
              "Not possible on this desktop: recording a single window and showing clicks.");
    EXPECT_FALSE(recorder->currentBarState().windowsAvailable);
    EXPECT_FALSE(recorder->currentBarState().clicksAvailable);
}

TEST_F(OverlayTakeOnWaylandTest, theOverlaysFollowADisplayThatChangesItsSize) {
    begin();
    ASSERT_TRUE(await([&] { return isBarShown(); }));
    ASSERT_TRUE(WaylandSession::resize(kDisplay, 800, 600));
    const auto isBarOnLargeDisplay = [&] {
        const CGRect strip =
            ControlBar::containerRect({{0, 0}, {800, 600}}, recorder->currentBarState(), solid);
        return at(static_cast<int>(strip.minX()) + 5, 600 - static_cast<int>(strip.midY())) < 0x404040;
    };
    EXPECT_TRUE(
        await([&] { return recorder->availableDisplays->at(0).width == 800 && isBarOnLargeDisplay(); }));
    ASSERT_TRUE(WaylandSession::resize(kDisplay, 640, 480));
    EXPECT_TRUE(await([&] { return isBarShown() && recorder->availableDisplays->at(0).width == 640; }));
}

TEST_F(OverlayTakeOnWaylandTest, withoutLayersARegionIsDrawnOnAPictureOfTheDisplay) {
    begin(false);
    EXPECT_NE(recorder->captureLimits().find("a frame around the area"), std::string::npos);
    recorder->chooseCaptureMode(CaptureModeChoice::region);
    ASSERT_TRUE(await([&] { return at(10, 10) < 0x606060; })) << "the selection dims the display's picture";
    drawRegion();
    take(1);
    expectNothingButGround(200, 160);
}

} // namespace
} // namespace vintra
