#include "tests/take/RecorderFixture.h"

namespace vintra {
namespace {

class TakePlanTest : public RecorderFixture {};

TEST_F(TakePlanTest, armedTracksAreCounted) {
    EXPECT_EQ(recorder->armedTrackCount(), 1) << "the screen";
    recorder->screenEnabled.set(false);
    EXPECT_EQ(recorder->armedTrackCount(), 0);
    recorder->selectedMicDeviceID.set("mic.one");
    recorder->selectedDawDeviceID.set("daw.two");
    EXPECT_EQ(recorder->armedTrackCount(), 2);
    recorder->captureSystemAudioForDaw.set(true);
    EXPECT_EQ(recorder->armedTrackCount(), 2) << "one second track, whichever it is";
    const auto id = [this] { return machine.processInfo->makeUUID(); };
    recorder->extraAudioInputs.set({{.id = id(), .deviceID = "multi.eight"}, {.id = id()}});
    EXPECT_EQ(recorder->armedTrackCount(), 3) << "a row without a device isn't armed";
    recorder->selectedCameraDeviceID.set("camera");
    recorder->extraCameras.set(
        {{.id = id()}, {.id = id(), .deviceID = "other"}, {.id = id(), .deviceID = "third"}});
    EXPECT_EQ(recorder->armedCameraCount(), 3);
    EXPECT_EQ(recorder->armedTrackCount(), 6);
}

TEST_F(TakePlanTest, theFolderIsTheStoredOneOrVintraAmongTheFilms) {
    EXPECT_EQ(recorder->outputFolder("").path(), "/home/user/Videos/Vintra");
    EXPECT_EQ(recorder->outputFolder("/tmp/takes").path(), "/tmp/takes");
    machine.fileManager->movies.clear();
    EXPECT_EQ(recorder->defaultOutputFolder().path(), "/home/user/Movies/Vintra");
}

TEST_F(TakePlanTest, preparingTheFolderMakesItWithAllOnTheWay) {
    EXPECT_EQ(recorder->prepareOutputFolder("/tmp/a/b").path(), "/tmp/a/b");
    EXPECT_TRUE(machine.fileManager->fileExists(URL::fileURL("/tmp/a/b")));
    machine.fileManager->disk->fails = [](SimulatedFileOperation operation, const std::string&) {
        return operation == SimulatedFileOperation::createDirectory;
    };
    EXPECT_THROW(recorder->prepareOutputFolder("/tmp/c"), SystemError);
}

TEST_F(TakePlanTest, aRunBeginsWithNothingArmedButTheScreen) {
    EXPECT_EQ(*recorder->statusMessage, "Ready");
    EXPECT_TRUE(*recorder->screenEnabled);
    EXPECT_FALSE(recorder->selectedMicDeviceID->has_value());
    EXPECT_TRUE(recorder->extraAudioInputs->empty());
}

TEST_F(TakePlanTest, thePublishedStateBeginsAtItsInitialValues) {
    recorder = ScreenRecorderManager::make(machine.platform()); // that has not come to its first tasks
    EXPECT_FALSE(*recorder->isRecording);
    EXPECT_FALSE(*recorder->isBusy);
    EXPECT_FALSE(recorder->lastError->has_value());
    EXPECT_FALSE(*recorder->markerJustAdded);
    EXPECT_EQ(*recorder->markerCount, 0);
    EXPECT_FALSE(recorder->pendingCrashReport->has_value());
    EXPECT_FALSE(*recorder->crashReportCopied);
    EXPECT_FALSE(*recorder->captureSystemAudioForDaw);
    EXPECT_FALSE(*recorder->isHoldingAudioRouting);
    EXPECT_FALSE(*recorder->systemAudioDriverInstalled);
    EXPECT_FALSE(recorder->systemOutputStatus->has_value());
    EXPECT_TRUE(recorder->availableCameraDevices->empty());
    EXPECT_FALSE(*recorder->webcamPreviewVisible);
    EXPECT_TRUE(recorder->hiddenExtraCameraPreviews->empty());
    EXPECT_FALSE(recorder->multiCameraScreenRateNote->has_value());
    EXPECT_EQ(*recorder->screenCaptureMode, CaptureModeChoice::fullScreen);
    EXPECT_EQ(*recorder->aspectPreset, AspectPreset::freeform);
    EXPECT_FALSE(*recorder->regionGuideVisible);
    EXPECT_FALSE(*recorder->showMouseClicks);
    EXPECT_EQ(*recorder->clickRippleColor, 0xffcc00u);
}

TEST_F(TakePlanTest, theFrameRateIsRestoredOrSixty) {
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

TEST_F(TakePlanTest, theRateFromBeforeSeveralCamerasComesBack) {
    machine.userDefaults->values["screenFrameRate"] = int64_t{30};
    machine.userDefaults->values["screenFrameRateBeforeMultiCamera"] = int64_t{60};
    makeRecorder();
    EXPECT_EQ(*recorder->screenFrameRate, 60);
    EXPECT_FALSE(machine.userDefaults->values.contains("screenFrameRateBeforeMultiCamera"));
    EXPECT_EQ(std::get<int64_t>(machine.userDefaults->values.at("screenFrameRate")), 60);
}

TEST_F(TakePlanTest, theChoiceOfTheScreenIsRestored) {
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

TEST_F(TakePlanTest, settingsOfTheWrongKindAreIgnored) {
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

} // namespace
} // namespace vintra
