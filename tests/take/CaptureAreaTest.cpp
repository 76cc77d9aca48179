#include "tests/take/RecorderFixture.h"

#include <algorithm>
#include <utility>

namespace vintra {
namespace {

const std::vector<double> kStored{1, 10, 20, 300, 200.5};
const CaptureRegion kRegion{.displayID = 1, .rect = {{10, 20}, {300, 200.5}}};

class CaptureAreaTest : public RecorderFixture {
protected:
    static CGWindowInfo window(uint32_t number, CGRect bounds) {
        return {.number = number,
                .bounds = bounds,
                .layer = 0,
                .ownerPID = 5,
                .ownerName = "Editor",
                .name = "Notes"};
    }
    std::optional<DefaultsValue> stored(const std::string& key) const {
        return machine.userDefaults->value(key);
    }
};

TEST_F(CaptureAreaTest, theBarShowsTheRecordersState) {
    recorder->screenFrameRate.set(24);
    EXPECT_EQ(recorder->currentBarState(), (BarState{.mode = CaptureModeChoice::fullScreen,
                                                     .aspect = AspectPreset::freeform,
                                                     .frameRate = 24,
                                                     .frameRateOptions = {24, 30, 60},
                                                     .clicksOn = false,
                                                     .clicksAvailable = true,
                                                     .clickColour = {1, 0.8, 0, 1}, // ffcc00
                                                     .isRecording = false}));
    recorder->screenCaptureMode.set(CaptureModeChoice::window);
    recorder->aspectPreset.set(AspectPreset::square);
    recorder->showMouseClicks.set(true);
    recorder->clickRippleColor.set(0x003366);
    const BarState state = recorder->currentBarState();
    EXPECT_EQ(state.mode, CaptureModeChoice::window);
    EXPECT_EQ(state.aspect, AspectPreset::square);
    EXPECT_TRUE(state.clicksOn);
    EXPECT_FALSE(state.clicksAvailable);
    EXPECT_EQ(state.clickColour, (NSColor{0, 0.2, 0.4, 1}));
}

TEST_F(CaptureAreaTest, theBarKnowsOfATake) {
    start();
    EXPECT_TRUE(recorder->currentBarState().isRecording);
    stop();
    EXPECT_FALSE(recorder->currentBarState().isRecording);
}

TEST_F(CaptureAreaTest, choosingAModeKeepsItAndShowsTheGuide) {
    for (const auto mode : {CaptureModeChoice::window, CaptureModeChoice::fullScreen}) {
        recorder->regionGuideVisible.set(false);
        recorder->chooseCaptureMode(mode);
        EXPECT_EQ(*recorder->screenCaptureMode, mode);
        EXPECT_EQ(stored("screenCaptureMode"), DefaultsValue(rawValue(mode)));
        EXPECT_TRUE(*recorder->regionGuideVisible);
    }
}

TEST_F(CaptureAreaTest, aModeChosenAgainShowsTheGuideToo) {
    recorder->regionGuideVisible.set(false);
    recorder->chooseCaptureMode(CaptureModeChoice::fullScreen);
    EXPECT_TRUE(*recorder->regionGuideVisible);
}

TEST_F(CaptureAreaTest, theRegionModeShowsTheGuideOnlyIfThereIsARegionToGoBackTo) {
    recorder->regionGuideVisible.set(false);
    recorder->chooseCaptureMode(CaptureModeChoice::region);
    EXPECT_EQ(*recorder->screenCaptureMode, CaptureModeChoice::region);
    EXPECT_FALSE(*recorder->regionGuideVisible) << "a region is to be drawn first";

    recorder->chooseCaptureMode(CaptureModeChoice::fullScreen);
    recorder->captureRegion.set(kRegion);
    recorder->regionGuideVisible.set(false);
    recorder->chooseCaptureMode(CaptureModeChoice::region);
    EXPECT_TRUE(*recorder->regionGuideVisible);
    recorder->regionGuideVisible.set(false);
    recorder->chooseCaptureMode(CaptureModeChoice::region);
    EXPECT_FALSE(*recorder->regionGuideVisible) << "the mode chosen again draws a new one";
    EXPECT_EQ(**recorder->captureRegion, kRegion) << "and keeps the old one until then";
}

TEST_F(CaptureAreaTest, theEffectiveModeFallsBackToTheFullScreen) {
    using enum CaptureModeChoice;
    recorder->screenCaptureMode.set(window);
    EXPECT_EQ(recorder->effectiveCaptureMode(), fullScreen);
    recorder->selectedWindowID.set(4);
    EXPECT_EQ(recorder->effectiveCaptureMode(), window);
    recorder->screenCaptureMode.set(region);
    EXPECT_EQ(recorder->effectiveCaptureMode(), fullScreen);
    recorder->captureRegion.set(CaptureRegion{.displayID = 2, .rect = kRegion.rect});
    EXPECT_EQ(recorder->effectiveCaptureMode(), fullScreen) << "there is no display 2";
    recorder->captureRegion.set(kRegion);
    EXPECT_EQ(recorder->effectiveCaptureMode(), region);
    recorder->availableDisplays.set({});
    EXPECT_EQ(recorder->effectiveCaptureMode(), fullScreen);
    EXPECT_EQ(**recorder->captureRegion, kRegion) << "kept for when the display is back";
}

TEST_F(CaptureAreaTest, windowsOfOthersMayBePicked) {
    CGWindowInfo own = window(8, {{0, 0}, {500, 500}});
    own.ownerPID = machine.processInfo->processIdentifier();
    machine.windowList->list = {window(9, {{10, 20}, {300, 200}}), own, window(10, {{0, 0}, {40, 500}})};
    EXPECT_EQ(recorder->pickableWindows(),
              (std::vector<PickableWindow>{
                  {.id = 9, .appName = "Editor", .title = "Notes", .frame = {{10, 20}, {300, 200}}}}));
}

TEST_F(CaptureAreaTest, whereOnlyTheDesktopKnowsWindowsItAsksForOne) {
    machine.windowQuestion->change(WindowQuestion::Offer::asked);
    recorder->chooseCaptureMode(CaptureModeChoice::window);
    machine.run(0.1);
    EXPECT_EQ(machine.windowQuestion->wishes, std::vector{WindowQuestion::Wish::another});
    EXPECT_EQ(std::ranges::count(machine.captureOverlayWindows->calls, "window selection"), 0);
    EXPECT_TRUE(*recorder->isAskingForWindow);
    recorder->chooseCaptureMode(CaptureModeChoice::window);
    machine.run(0.1);
    EXPECT_EQ(machine.windowQuestion->wishes.size(), 1u) << "one question at a time";
    machine.windowQuestion->answer({.window = SCWindow{.pixelWidth = 640, .pixelHeight = 480}});
    machine.run(0.1);
    EXPECT_FALSE(*recorder->isAskingForWindow);
    EXPECT_EQ(recorder->captureAreaLabel(), "Window · chosen on the desktop");
    EXPECT_EQ(recorder->effectiveCaptureMode(), CaptureModeChoice::window);
    EXPECT_FALSE(recorder->selectedWindowRegion()) << "no program is told where it is";

    recorder->chooseCaptureMode(CaptureModeChoice::window);
    machine.windowQuestion->answer({});
    machine.run(0.1);
    EXPECT_EQ(*recorder->selectedWindowID, 0u) << "a user who wants none keeps the one before";
    EXPECT_EQ(*recorder->lastError, std::nullopt);
    recorder->chooseCaptureMode(CaptureModeChoice::window);
    machine.windowQuestion->answer({.error = SystemError("portal", 2, "There is no portal.")});
    machine.run(0.1);
    EXPECT_EQ(*recorder->lastError, "There is no portal.");
}

TEST_F(CaptureAreaTest, whereNoWindowCanBeCapturedTheModeIsntOffered) {
    EXPECT_EQ(recorder->captureLimits(), "");
    machine.windowQuestion->change(WindowQuestion::Offer::refused);
    EXPECT_EQ(recorder->offeredModes(),
              (std::vector{CaptureModeChoice::fullScreen, CaptureModeChoice::region}));
    EXPECT_FALSE(recorder->currentBarState().windowsAvailable);
    EXPECT_EQ(recorder->captureLimits(), "Not possible on this desktop: recording a single window.");
    recorder->chooseCaptureMode(CaptureModeChoice::window);
    machine.run(0.1);
    EXPECT_EQ(*recorder->screenCaptureMode, CaptureModeChoice::fullScreen);
    EXPECT_TRUE(machine.windowQuestion->wishes.empty());
}

TEST_F(CaptureAreaTest, theChosenWindowIsFollowedFromScreenToScreen) {
    machine.screens->list = {{1, "Left", {{0, 0}, {1440, 900}}, 2}, {5, "Right", {{1440, 0}, {800, 600}}, 1}};
    EXPECT_FALSE(recorder->selectedWindowRegion()) << "none is chosen";
    recorder->selectedWindowID.set(9);
    EXPECT_FALSE(recorder->selectedWindowRegion()) << "there is none";
    machine.windowList->list = {window(8, {{0, 0}, {50, 50}}), window(9, {{10, 20}, {300, 200}})};
    EXPECT_EQ(recorder->selectedWindowRegion(), (CaptureRegion{1, {{10, 20}, {300, 200}}}));
    machine.windowList->list[1].bounds = CGRect{{1500, 30}, {300, 250}};
    EXPECT_EQ(recorder->selectedWindowRegion(), (CaptureRegion{5, {{60, 30}, {300, 250}}}));
    machine.windowList->list[1].bounds = std::nullopt;
    EXPECT_FALSE(recorder->selectedWindowRegion());
    machine.windowList->list.pop_back();
    EXPECT_FALSE(recorder->selectedWindowRegion()) << "it has closed";
}

TEST_F(CaptureAreaTest, aRegionIsStoredAsFiveNumbersAndForgottenWhenThereIsNone) {
    recorder->captureRegion.set(kRegion);
    EXPECT_EQ(stored("captureRegion"), DefaultsValue(kStored));
    recorder->captureRegion.set(std::nullopt);
    EXPECT_FALSE(stored("captureRegion"));
}

TEST_F(CaptureAreaTest, aStoredRegionComesBackWhetherItsDisplayIsThereOrNot) {
    machine.userDefaults->values["captureRegion"] = kStored;
    makeRecorder();
    EXPECT_EQ(*recorder->captureRegion, kRegion);
    machine.userDefaults->values["captureRegion"] = std::vector<double>{4'294'967'295, -5, 0, 1, 1};
    makeRecorder();
    EXPECT_EQ(*recorder->captureRegion,
              (CaptureRegion{.displayID = 4'294'967'295, .rect = {{-5, 0}, {1, 1}}}));
    EXPECT_EQ(stored("captureRegion"), DefaultsValue(std::vector<double>{4'294'967'295, -5, 0, 1, 1}));
}

TEST_F(CaptureAreaTest, aStoredRegionOfAnyOtherKindIsNone) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const std::vector<DefaultsValue> malformed{std::vector<double>{},
                                               std::vector<double>{1, 10, 20, 300},
                                               std::vector<double>{1, 10, 20, 300, 200, 5},
                                               std::vector<double>{-1, 10, 20, 300, 200},
                                               std::vector<double>{4'294'967'296, 10, 20, 300, 200},
                                               std::vector<double>{nan, 10, 20, 300, 200},
                                               std::string("1 10 20 300 200"),
                                               1.0,
                                               int64_t{1},
                                               true};
    for (const DefaultsValue& value : malformed) {
        machine.userDefaults->values["captureRegion"] = value;
        makeRecorder();
        EXPECT_FALSE(recorder->captureRegion->has_value()) << "value " << &value - malformed.data();
    }
}

TEST_F(CaptureAreaTest, aRegionTakesTheAspectOver) {
    recorder->captureRegion.set(CaptureRegion{.displayID = 1, .rect = {{200, 200}, {640, 360}}});
    recorder->aspectPreset.set(AspectPreset::square);
    EXPECT_EQ(**recorder->captureRegion, (CaptureRegion{1, {{280, 140}, {480, 480}}}));
    EXPECT_EQ(stored("captureRegion"), DefaultsValue(std::vector<double>{1, 280, 140, 480, 480}));
    recorder->aspectPreset.set(AspectPreset::freeform);
    EXPECT_EQ(**recorder->captureRegion, (CaptureRegion{1, {{280, 140}, {480, 480}}}));
}

TEST_F(CaptureAreaTest, aRegionWithoutAScreenKeepsItsShape) {
    recorder->aspectPreset.set(AspectPreset::vertical);
    recorder->reshapeRegionToAspect();
    EXPECT_FALSE(recorder->captureRegion->has_value());
    const CaptureRegion elsewhere{.displayID = 9, .rect = {{200, 200}, {640, 360}}};
    recorder->captureRegion.set(elsewhere);
    recorder->reshapeRegionToAspect();
    EXPECT_EQ(**recorder->captureRegion, elsewhere);
}

TEST_F(CaptureAreaTest, theGuideComesUpByItselfOnceARun) {
    EXPECT_TRUE(*recorder->regionGuideVisible) << "the displays have been listed";
    recorder->regionGuideVisible.set(false);
    machine.complete(recorder->refreshDisplays());
    EXPECT_FALSE(*recorder->regionGuideVisible);
}

TEST_F(CaptureAreaTest, theGuideWaitsForADisplay) {
    const auto displays = std::exchange(machine.screenCapture->content.displays, {});
    makeRecorder();
    EXPECT_FALSE(*recorder->regionGuideVisible);
    machine.screenCapture->content.displays = displays;
    machine.complete(recorder->refreshDisplays());
    EXPECT_TRUE(*recorder->regionGuideVisible);
}

TEST_F(CaptureAreaTest, theGuideDoesNotComeUpForATakeOrWithoutTheScreen) {
    recorder = ScreenRecorderManager::make(machine.platform());
    recorder->screenEnabled.set(false);
    machine.run(0.5);
    EXPECT_FALSE(*recorder->regionGuideVisible);
    recorder->screenEnabled.set(true);
    machine.complete(recorder->refreshDisplays());
    EXPECT_FALSE(*recorder->regionGuideVisible) << "its one time has gone by";
}

} // namespace
} // namespace vintra
