#include "Vintra/take/RecorderSettings.h"

#include "Vintra/platform/simulated/SimulatedMachine.h"

#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace vintra {
namespace {

class RecorderSettingsTest : public ::testing::Test {
protected:
    void launch() {
        settings = std::make_unique<RecorderSettings>(machine.userDefaults, audio, cameras, screen);
    }

    SimulatedMachine machine;
    std::map<std::string, DefaultsValue>& stored = machine.userDefaults->values;
    AudioSelection audio{LevelsModel::make(*machine.hostClock, *machine.mainThread)};
    CameraSelection cameras;
    ScreenSelection screen;
    std::unique_ptr<RecorderSettings> settings;
};

TEST_F(RecorderSettingsTest, withoutASettingTheInitialValuesStayAndNothingIsStored) {
    launch();
    settings->restoreScreen();
    EXPECT_FALSE(*audio.lowLatencyMonitoring);
    EXPECT_EQ(*audio.micGainDB, 0);
    EXPECT_EQ(*audio.systemAudioMonitorUID, std::nullopt);
    EXPECT_EQ(*screen.screenFrameRate, 60);
    EXPECT_EQ(*screen.screenCaptureMode, CaptureModeChoice::fullScreen);
    EXPECT_EQ(*screen.captureRegion, std::nullopt);
    EXPECT_TRUE(stored.empty());
}

TEST_F(RecorderSettingsTest, eachKeyRestoresItsProperty) {
    stored = {{"lowLatencyMonitoring", true},
              {"micGainDB", 3.5},
              {"dawGainDB", -2.25},
              {"systemAudioMonitorUID", std::string("speakers")},
              {"screenFrameRate", int64_t{24}},
              {"clickRippleColorHex", std::string("ff8000")},
              {"selectedDisplayID", int64_t{4'294'967'295}},
              {"selectedWindowID", int64_t{0}},
              {"screenCaptureMode", std::string("region")},
              {"captureAspectPreset", std::string("vertical")},
              {"captureRegion", std::vector<double>{7, 1.5, 2, 30, 40}}};
    const auto before = stored;
    launch();
    EXPECT_TRUE(*audio.lowLatencyMonitoring);
    EXPECT_EQ(*audio.micGainDB, 3.5);
    EXPECT_EQ(*audio.dawGainDB, -2.25);
    EXPECT_EQ(*audio.systemAudioMonitorUID, "speakers");
    EXPECT_EQ(*screen.screenFrameRate, 24);
    EXPECT_EQ(*screen.selectedDisplayID, std::nullopt) << "the screen waits for its change handling";
    settings->restoreScreen();
    EXPECT_EQ(*screen.clickRippleColor, 0xff8000u);
    EXPECT_EQ(*screen.selectedDisplayID, 4'294'967'295u);
    EXPECT_EQ(*screen.selectedWindowID, 0u);
    EXPECT_EQ(*screen.screenCaptureMode, CaptureModeChoice::region);
    EXPECT_EQ(*screen.aspectPreset, AspectPreset::vertical);
    EXPECT_EQ(*screen.captureRegion, (CaptureRegion{7, {{1.5, 2}, {30, 40}}}));
    EXPECT_EQ(stored, before);
}

TEST_F(RecorderSettingsTest, aValueOfTheWrongTypeOrOutOfRangeIsIgnored) {
    stored = {{"lowLatencyMonitoring", std::string("yes")},
              {"micGainDB", std::string("loud")},
              {"systemAudioMonitorUID", int64_t{5}},
              {"screenFrameRate", int64_t{25}},
              {"clickRippleColorHex", std::string("ff80zz")},
              {"selectedDisplayID", int64_t{4'294'967'296}},
              {"selectedWindowID", int64_t{-1}},
              {"screenCaptureMode", std::string("everything")},
              {"captureAspectPreset", int64_t{1}},
              {"captureRegion", std::vector<double>{7, 1, 2, 30}}};
    const auto before = stored;
    launch();
    settings->restoreScreen();
    EXPECT_FALSE(*audio.lowLatencyMonitoring);
    EXPECT_EQ(*audio.micGainDB, 0);
    EXPECT_EQ(*audio.systemAudioMonitorUID, std::nullopt);
    EXPECT_EQ(*screen.screenFrameRate, 60);
    EXPECT_EQ(*screen.clickRippleColor, 0xffcc00u);
    EXPECT_EQ(*screen.selectedDisplayID, std::nullopt);
    EXPECT_EQ(*screen.selectedWindowID, std::nullopt);
    EXPECT_EQ(*screen.screenCaptureMode, CaptureModeChoice::fullScreen);
    EXPECT_EQ(*screen.aspectPreset, AspectPreset::freeform);
    EXPECT_EQ(*screen.captureRegion, std::nullopt);
    EXPECT_EQ(stored, before) << "what is stored stays until the property changes";
}

TEST_F(RecorderSettingsTest, everyChangeIsKeptUnderItsKey) {
    launch();
    audio.lowLatencyMonitoring.set(true);
    audio.micGainDB.set(1);
    audio.dawGainDB.set(2);
    audio.systemAudioMonitorUID.set("speakers");
    screen.screenFrameRate.set(30);
    screen.clickRippleColor.set(0x00a0ff);
    screen.selectedDisplayID.set(7);
    screen.selectedWindowID.set(8);
    screen.screenCaptureMode.set(CaptureModeChoice::window);
    screen.aspectPreset.set(AspectPreset::widescreen);
    screen.captureRegion.set(CaptureRegion{7, {{1, 2}, {3, 4}}});
    const std::map<std::string, DefaultsValue> expected{
        {"lowLatencyMonitoring", true},
        {"micGainDB", 1.0},
        {"dawGainDB", 2.0},
        {"systemAudioMonitorUID", std::string("speakers")},
        {"screenFrameRate", int64_t{30}},
        {"clickRippleColorHex", std::string("00a0ff")},
        {"selectedDisplayID", int64_t{7}},
        {"selectedWindowID", int64_t{8}},
        {"screenCaptureMode", std::string("window")},
        {"captureAspectPreset", std::string("widescreen")},
        {"captureRegion", std::vector<double>{7, 1, 2, 3, 4}}};
    EXPECT_EQ(stored, expected);
}

TEST_F(RecorderSettingsTest, whatIsNoLongerChosenLosesItsKey) {
    stored = {{"systemAudioMonitorUID", std::string("speakers")},
              {"selectedDisplayID", int64_t{7}},
              {"captureRegion", std::vector<double>{7, 1, 2, 3, 4}}};
    launch();
    settings->restoreScreen();
    audio.systemAudioMonitorUID.set(std::nullopt);
    screen.selectedDisplayID.set(std::nullopt);
    screen.captureRegion.set(std::nullopt);
    EXPECT_TRUE(stored.empty());
}

TEST_F(RecorderSettingsTest, aRateThatSeveralCamerasReplacedComesBack) {
    stored = {{"screenFrameRate", int64_t{30}}, {"screenFrameRateBeforeMultiCamera", int64_t{24}}};
    launch();
    EXPECT_EQ(*screen.screenFrameRate, 24);
    EXPECT_EQ(stored, (std::map<std::string, DefaultsValue>{{"screenFrameRate", int64_t{24}}}));
}

TEST_F(RecorderSettingsTest, aReplacedRateThatIsNoneIsLeftAlone) {
    stored = {{"screenFrameRate", int64_t{30}}, {"screenFrameRateBeforeMultiCamera", int64_t{25}}};
    launch();
    EXPECT_EQ(*screen.screenFrameRate, 30);
    EXPECT_EQ(stored.size(), 2u);
}

TEST_F(RecorderSettingsTest, aChangeIsKeptBeforeAnyoneElseHandlesIt) {
    launch();
    std::optional<int64_t> seen;
    screen.screenFrameRate.onChange(
        [&](int) { seen = integerForKey(*machine.userDefaults, "screenFrameRate"); });
    screen.screenFrameRate.set(24);
    EXPECT_EQ(seen, 24);
}

TEST_F(RecorderSettingsTest, whatIsKeptOfTheCamerasIsRestored) {
    stored = {{"webcamPreviewSize", std::string("large")},
              {"cameraResolutions",
               std::map<std::string, std::string>{{"a", "1080p"}, {"b", "4K"}, {"c", "8K"}, {"d", "1080p"}}}};
    const auto before = stored;
    launch();
    EXPECT_EQ(*cameras.webcamPreviewSize, WebcamPreviewSize::large);
    EXPECT_EQ(cameras.cameraResolutions->size(), 2u) << "only what is limited";
    EXPECT_EQ(cameras.cameraResolutions->at("a"), CameraResolution::hd);
    EXPECT_EQ(cameras.cameraResolutions->at("d"), CameraResolution::hd);
    EXPECT_EQ(stored, before);
}

TEST_F(RecorderSettingsTest, whatTheUserSetsOfTheCamerasIsKept) {
    launch();
    cameras.webcamPreviewSize.set(WebcamPreviewSize::medium);
    cameras.cameraResolutions.set({{"a", CameraResolution::hd}});
    EXPECT_EQ(stored.at("webcamPreviewSize"), DefaultsValue(std::string("medium")));
    EXPECT_EQ(stored.at("cameraResolutions"),
              DefaultsValue(std::map<std::string, std::string>{{"a", "1080p"}}));
    cameras.selectedCameraDeviceID.set("a");
    EXPECT_EQ(stored.size(), 2u) << "a run begins with no camera armed";
}

TEST_F(RecorderSettingsTest, cameraSettingsOfNoUseAreIgnored) {
    for (const DefaultsValue& useless : {DefaultsValue(std::string("huge")), DefaultsValue(int64_t{2})}) {
        stored = {{"webcamPreviewSize", useless}, {"cameraResolutions", useless}};
        launch();
        EXPECT_EQ(*cameras.webcamPreviewSize, WebcamPreviewSize::small);
        EXPECT_TRUE(cameras.cameraResolutions->empty());
    }
}

} // namespace
} // namespace vintra
