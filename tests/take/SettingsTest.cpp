#include "tests/take/RecorderFixture.h"

#include <utility>

namespace vintra {
namespace {

class SettingsTest : public RecorderFixture {
protected:
    std::optional<DefaultsValue> stored(const std::string& key) const {
        return machine.userDefaults->value(key);
    }
};

TEST_F(SettingsTest, theFrameRateIsRestoredOrSixty) {
    const auto restored = [this](DefaultsValue stored) {
        machine.userDefaults->values["screenFrameRate"] = std::move(stored);
        makeRecorder();
        return *recorder->screenFrameRate;
    };
    EXPECT_EQ(restored(int64_t{24}), 24);
    EXPECT_EQ(restored(int64_t{30}), 30);
    EXPECT_EQ(restored(int64_t{60}), 60);
    EXPECT_EQ(restored(int64_t{25}), 60);
    EXPECT_EQ(std::get<int64_t>(machine.userDefaults->values.at("screenFrameRate")), 25)
        << "it stays until changed";
    EXPECT_EQ(restored(std::string("30")), 60);
}

TEST_F(SettingsTest, theRateFromBeforeSeveralCamerasComesBack) {
    machine.userDefaults->values["screenFrameRate"] = int64_t{30};
    machine.userDefaults->values["screenFrameRateBeforeMultiCamera"] = int64_t{60};
    makeRecorder();
    EXPECT_EQ(*recorder->screenFrameRate, 60);
    EXPECT_FALSE(machine.userDefaults->values.contains("screenFrameRateBeforeMultiCamera"));
    EXPECT_EQ(std::get<int64_t>(machine.userDefaults->values.at("screenFrameRate")), 60);
}

TEST_F(SettingsTest, theChoiceOfTheScreenIsRestored) {
    recorder->selectedDisplayID.set(7);
    recorder->selectedWindowID.set(9);
    recorder->screenCaptureMode.set(CaptureModeChoice::region);
    recorder->aspectPreset.set(AspectPreset::vertical);
    recorder->captureRegion.set(CaptureRegion{.displayID = 7, .rect = {{1, 2}, {3, 4.5}}});
    recorder->micGainDB.set(3.5);
    // The display isn't there, so listing the displays would clear it.
    machine.screenCapture->contentError = SystemError("test", 1, "no");
    makeRecorder();
    EXPECT_EQ(*recorder->selectedDisplayID, 7u);
    EXPECT_EQ(*recorder->selectedWindowID, 9u);
    EXPECT_EQ(*recorder->screenCaptureMode, CaptureModeChoice::region);
    EXPECT_EQ(*recorder->aspectPreset, AspectPreset::vertical);
    EXPECT_EQ(*recorder->captureRegion, (CaptureRegion{.displayID = 7, .rect = {{1, 2}, {3, 4.5}}}));
    EXPECT_EQ(*recorder->micGainDB, 3.5);
    EXPECT_EQ(recorder->effectiveCaptureMode(), CaptureModeChoice::fullScreen)
        << "the region's display is gone";
}

TEST_F(SettingsTest, settingsOfTheWrongKindAreIgnored) {
    machine.userDefaults->values["captureRegion"] = std::vector<double>{1, 2, 3, 4};
    machine.userDefaults->values["selectedDisplayID"] = int64_t{-1};
    machine.userDefaults->values["selectedWindowID"] = int64_t{4'294'967'296};
    machine.userDefaults->values["screenCaptureMode"] = std::string("everything");
    machine.userDefaults->values["micGainDB"] = std::string("loud");
    makeRecorder();
    EXPECT_FALSE(recorder->captureRegion->has_value());
    EXPECT_FALSE(recorder->selectedDisplayID->has_value());
    EXPECT_FALSE(recorder->selectedWindowID->has_value());
    EXPECT_EQ(*recorder->screenCaptureMode, CaptureModeChoice::fullScreen);
    EXPECT_EQ(*recorder->micGainDB, 0);
}

TEST_F(SettingsTest, lowLatencyMonitoringIsRestored) {
    EXPECT_FALSE(*recorder->lowLatencyMonitoring);
    recorder->lowLatencyMonitoring.set(true);
    makeRecorder();
    EXPECT_TRUE(*recorder->lowLatencyMonitoring);
    recorder->lowLatencyMonitoring.set(false);
    EXPECT_EQ(stored("lowLatencyMonitoring"), DefaultsValue(false));
    makeRecorder();
    EXPECT_FALSE(*recorder->lowLatencyMonitoring);
}

TEST_F(SettingsTest, theGainsAreRestoredEachUnderItsOwnKey) {
    EXPECT_EQ(*recorder->micGainDB, 0);
    EXPECT_EQ(*recorder->dawGainDB, 0);
    recorder->micGainDB.set(2);
    recorder->dawGainDB.set(-4.5);
    EXPECT_EQ(stored("micGainDB"), DefaultsValue(2.0));
    EXPECT_EQ(stored("dawGainDB"), DefaultsValue(-4.5));
    makeRecorder();
    EXPECT_EQ(*recorder->micGainDB, 2);
    EXPECT_EQ(*recorder->dawGainDB, -4.5);
}

TEST_F(SettingsTest, theMonitorIsRestoredAndCanBeLeftToTheMachineAgain) {
    recorder->systemAudioMonitorUID.set("headphones");
    EXPECT_EQ(stored("systemAudioMonitorUID"), DefaultsValue(std::string("headphones")));
    makeRecorder();
    EXPECT_EQ(*recorder->systemAudioMonitorUID, "headphones");
    recorder->systemAudioMonitorUID.set(std::nullopt);
    EXPECT_FALSE(stored("systemAudioMonitorUID").has_value()) << "the key goes";
    makeRecorder();
    EXPECT_FALSE(recorder->systemAudioMonitorUID->has_value());
}

TEST_F(SettingsTest, audioSettingsOfTheWrongKindAreIgnored) {
    machine.userDefaults->values["lowLatencyMonitoring"] = std::string("yes");
    machine.userDefaults->values["dawGainDB"] = std::string("loud");
    machine.userDefaults->values["systemAudioMonitorUID"] = int64_t{5};
    makeRecorder();
    EXPECT_FALSE(*recorder->lowLatencyMonitoring);
    EXPECT_EQ(*recorder->dawGainDB, 0);
    EXPECT_FALSE(recorder->systemAudioMonitorUID->has_value());
}

} // namespace
} // namespace vintra
