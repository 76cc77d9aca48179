#include "tests/app/AppFixture.h"

namespace vintra {
namespace {

class TracksSectionTest : public AppFixture {
protected:
    TracksSection& tracks() { return view->tracksSection; }
    std::string extraID(const std::string& prefix, const UUID& id) { return prefix + id.uuidString(); }
};

TEST_F(TracksSectionTest, theRowsStandInTheirOrder) {
    EXPECT_EQ(rowIDs(), (std::vector<std::string>{"microphone", "screen", "captureArea", "webcam",
                                                  "computerAudio", "otherVirtualInput"}));
    tracks().microphones.addMicrophone();
    tracks().webcams.addWebcam();
    const UUID extra = recorder->extraAudioInputs->front().id;
    const UUID camera = recorder->extraCameras->front().id;
    EXPECT_EQ(rowIDs(), (std::vector<std::string>{"microphone", extraID("extra-", extra), "screen",
                                                  "captureArea", "webcam", extraID("webcam-", camera),
                                                  "computerAudio", "otherVirtualInput"}));
}

TEST_F(TracksSectionTest, observersHearOfRealChangesAloneAndOncePerTurn) {
    machine.settle();
    int changes = 0;
    const Observation observation = tracks().rows.observe([&](const auto&) { ++changes; });
    recorder->micTrackName.set("Voice");
    recorder->micGainDB.set(3);
    machine.settle();
    EXPECT_EQ(changes, 1);
    recorder->micGainDB.set(3);
    machine.settle();
    EXPECT_EQ(changes, 1);
}

TEST_F(TracksSectionTest, theCaptureOptionsStandUnderAScreenThatIsArmed) {
    EXPECT_TRUE(row<ScreenRow>("screen").isArmed);
    tracks().screen.setArmed(false);
    EXPECT_FALSE(row<ScreenRow>("screen").isArmed);
    EXPECT_EQ(std::ranges::count(rowIDs(), "captureArea"), 0);
}

TEST_F(TracksSectionTest, theScreenSaysWhatIsCapturedOfIt) {
    EXPECT_EQ(row<ScreenRow>("screen").summary, recorder->captureAreaLabel());
    recorder->screenCaptureMode.set(CaptureModeChoice::window);
    EXPECT_EQ(row<ScreenRow>("screen").summary, "Window · none chosen");
}

TEST_F(TracksSectionTest, theDisplayIsChosenFromAMenu) {
    recorder->availableDisplays.set({{.id = 7, .name = "Left", .width = 800, .height = 600},
                                     {.id = 9, .name = "Right", .width = 640, .height = 480}});
    EXPECT_EQ(titles(row<CaptureAreaRow>("captureArea").displays),
              (std::vector<std::string>{"Left", "Right"}));
    EXPECT_EQ(row<CaptureAreaRow>("captureArea").displays.title(), "Left");
    tracks().screen.chooseDisplay("9");
    EXPECT_EQ(*recorder->selectedDisplayID, 9u);
    EXPECT_EQ(row<CaptureAreaRow>("captureArea").displays.title(), "Right");
    tracks().screen.chooseDisplay("8");
    EXPECT_EQ(*recorder->selectedDisplayID, 9u);
    recorder->availableDisplays.set({});
    EXPECT_EQ(row<CaptureAreaRow>("captureArea").displays.title(), "No display");
    EXPECT_FALSE(row<CaptureAreaRow>("captureArea").displays.isEnabled);
}

TEST_F(TracksSectionTest, theModesAreThoseOfTheControlBar) {
    EXPECT_EQ(segmentTitle(CaptureModeChoice::fullScreen), "Full screen");
    EXPECT_EQ(segmentTitle(CaptureModeChoice::region), "Selected area");
    EXPECT_EQ(segmentTitle(CaptureModeChoice::window), "Window");
    tracks().screen.chooseMode(CaptureModeChoice::window);
    EXPECT_EQ(row<CaptureAreaRow>("captureArea").mode, CaptureModeChoice::window);
}

TEST_F(TracksSectionTest, whatTheDesktopDoesntAllowIsSaidAndNotOffered) {
    const auto area = [this] { return row<CaptureAreaRow>("captureArea"); };
    EXPECT_EQ(area().limits, "");
    EXPECT_EQ(area().modes.size(), 3u);
    machine.windowQuestion->change(WindowQuestion::Offer::refused);
    EXPECT_EQ(area().modes, (std::vector{CaptureModeChoice::fullScreen, CaptureModeChoice::region}));
    EXPECT_EQ(area().limits, "Not possible on this desktop: recording a single window.");
}

TEST_F(TracksSectionTest, theScreensControlsRestInATake) {
    press();
    ASSERT_TRUE(*recorder->isRecording) << lastError();
    EXPECT_TRUE(row<ScreenRow>("screen").disabled);
    EXPECT_TRUE(row<CaptureAreaRow>("captureArea").disabled);
    tracks().screen.setArmed(false);
    tracks().screen.chooseMode(CaptureModeChoice::window);
    EXPECT_TRUE(*recorder->screenEnabled);
    EXPECT_EQ(*recorder->screenCaptureMode, CaptureModeChoice::fullScreen);
    press();
}

TEST_F(TracksSectionTest, withoutACameraThereIsNothingToArm) {
    const auto webcam = row<WebcamRow>("webcam");
    EXPECT_EQ(webcam.label, "Webcam");
    EXPECT_EQ(webcam.availableDevices.title(), "No camera connected");
    EXPECT_FALSE(webcam.availableDevices.isEnabled);
    EXPECT_FALSE(webcam.canArm);
    EXPECT_FALSE(webcam.canShowPreview);
    EXPECT_FALSE(webcam.canChooseResolution);
}

TEST_F(TracksSectionTest, aCameraIsArmedAgainAsItWas) {
    plugCamera("cam.a", "First Camera");
    plugCamera("cam.b", "Second Camera");
    EXPECT_EQ(titles(row<WebcamRow>("webcam").availableDevices),
              (std::vector<std::string>{"None", "First Camera", "Second Camera"}));
    tracks().webcams.setDevice(std::nullopt, "cam.b");
    tracks().webcams.setArmed(std::nullopt, false);
    EXPECT_EQ(*recorder->selectedCameraDeviceID, std::nullopt);
    tracks().webcams.setArmed(std::nullopt, true);
    EXPECT_EQ(*recorder->selectedCameraDeviceID, "cam.b");
    machine.run(0.5);
}

TEST_F(TracksSectionTest, aFurtherCameraIsCountedAndHasItsMark) {
    plugCamera("cam.a", "First Camera");
    plugCamera("cam.b", "Second Camera");
    EXPECT_TRUE(row<WebcamRow>("webcam").showAddLink);
    tracks().webcams.setArmed(std::nullopt, true);
    tracks().webcams.addWebcam();
    const UUID id = recorder->extraCameras->front().id;
    EXPECT_FALSE(row<WebcamRow>("webcam").showAddLink);
    const auto second = row<WebcamRow>("webcam-" + id.uuidString());
    EXPECT_EQ(second.label, "Webcam 2");
    EXPECT_TRUE(second.isRemovable());
    EXPECT_TRUE(second.showAddLink);
    tracks().webcams.setArmed(id, true);
    EXPECT_EQ(recorder->extraCameras->front().deviceID, "cam.b") << "the first is another row's";
    machine.run(0.5);
    tracks().webcams.removeWebcam(id);
    EXPECT_TRUE(recorder->extraCameras->empty());
    machine.run(0.5);
}

TEST_F(TracksSectionTest, aPreviewCanBeShownAndBroughtToTheFront) {
    plugCamera("cam.a", "First Camera");
    tracks().webcams.setArmed(std::nullopt, true);
    machine.run(0.5);
    recorder->webcamPreviewVisible.set(false);
    EXPECT_TRUE(row<WebcamRow>("webcam").canShowPreview);
    tracks().webcams.showPreview(std::nullopt);
    EXPECT_TRUE(*recorder->webcamPreviewVisible);
    ASSERT_EQ(machine.floatingPreviewWindows->windows.size(), 1u);
    const auto preview = machine.floatingPreviewWindows->windows.front();
    EXPECT_TRUE(preview->isOnScreen);
    // It lies under another window.
    preview->calls.clear();
    EXPECT_TRUE(row<WebcamRow>("webcam").canShowPreview);
    tracks().webcams.showPreview(std::nullopt);
    EXPECT_EQ(preview->calls, std::vector<std::string>{"front"});
}

TEST_F(TracksSectionTest, aCameraWithoutMoreIsRecordedAt1080p) {
    plugCamera("cam.a", "First Camera");
    tracks().webcams.setArmed(std::nullopt, true);
    machine.run(0.5);
    EXPECT_FALSE(row<WebcamRow>("webcam").canChooseResolution);
    EXPECT_EQ(row<WebcamRow>("webcam").resolution, CameraResolution::hd);
}

TEST_F(TracksSectionTest, a4KCameraHasTheChoice) {
    SimulatedCamera camera;
    camera.uid = "cam.4k";
    camera.name = "Large Camera";
    camera.formats = {SimulatedCamera::format(3840, 2160, "420v", 30, 30),
                      SimulatedCamera::format(1920, 1080, "420v", 30, 30)};
    machine.cameras->plug(std::move(camera));
    machine.run(0.2);
    recorder->selectedCameraDeviceID.set("cam.4k");
    EXPECT_TRUE(row<WebcamRow>("webcam").canChooseResolution);
    EXPECT_EQ(row<WebcamRow>("webcam").resolution, CameraResolution::uhd);
    tracks().webcams.setResolution(std::nullopt, CameraResolution::hd);
    EXPECT_EQ(row<WebcamRow>("webcam").resolution, CameraResolution::hd);
}

TEST_F(TracksSectionTest, theHelpNamesTheMachine) {
    EXPECT_EQ(
        cameraResolutionHelp(platform.words.computer),
        "Record this camera at 4K, or at 1080p to leave your Mac room for the screen and other cameras.");
}

} // namespace
} // namespace vintra
