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

} // namespace
} // namespace vintra
