// What goes wrong with the cameras of a take, and what is asked of them that can't be.

#include "tests/take/CameraTakeFixture.h"

#include <functional>

namespace vintra {
namespace {

class CameraTakeFaultsTest : public CameraTakeFixture {};

TEST_F(CameraTakeFaultsTest, aCameraThatSendsNothingIsTold) {
    const auto first = plugCamera("desk", "Desk");
    const auto second = plugCamera("side", "Side");
    const auto third = plugCamera("top", "Top");
    first->isStopped = second->isStopped = third->isStopped = true;
    selectCamera("desk");
    addCamera("side");
    addCamera("top");
    recordFor(3);
    EXPECT_EQ(*recorder->statusMessage, "Saved with warnings");
    ASSERT_EQ(recorder->lastTakeWarnings().size(), 2u);
    EXPECT_TRUE(recorder->lastTakeWarnings()[0].starts_with("No video was captured from the webcam — "));
    EXPECT_TRUE(recorder->lastTakeWarnings()[1].starts_with(
        "No video was captured from Side, Top — those files have no picture in them."));
    EXPECT_EQ(recorder->lastCameraTakeSummary[0], "last take · webcam (Desk): no frames");
}

TEST_F(CameraTakeFaultsTest, aCameraThatFreezesAndOneThatStopsAreTold) {
    const auto first = plugCamera("desk", "Desk");
    const auto second = plugCamera("side", "Side");
    selectCamera("desk");
    addCamera("side");
    start();
    machine.run(3);
    first->isFrozen = true;
    second->isStopped = true;
    machine.run(4);
    stop();
    ASSERT_EQ(recorder->lastTakeWarnings().size(), 1u) << lastError();
    EXPECT_EQ(recorder->lastTakeWarnings()[0],
              "Webcam (Desk) froze from 0:03 to the end of the recording. Webcam 2 (Side) stopped sending a "
              "picture at 0:03. If those are cameras, they may have switched off, lost their signal or come "
              "unplugged.");
}

TEST_F(CameraTakeFaultsTest, aBlackPictureIsAFrozenOne) {
    const auto camera = plugCamera("desk", "Desk");
    selectCamera("desk");
    start();
    machine.run(3);
    camera->isBlack = true;
    machine.run(3);
    camera->isBlack = false;
    machine.run(1);
    stop();
    EXPECT_TRUE(warns("Webcam (Desk) froze from 0:03 to 0:06.")) << lastError();
}

TEST_F(CameraTakeFaultsTest, lostCameraFramesAreCountedOverAllCameras) {
    plugCamera("desk", "Desk");
    plugCamera("side", "Side");
    selectCamera("desk");
    addCamera("side");
    bool isBusy = false;
    machine.assetWriters->script = [&](const URL& url, AVFileType) {
        SimulatedWriterScript script;
        if (url.lastPathComponent().find("webcam") != std::string::npos)
            script.isStalled = [&](double) { return isBusy; };
        return script;
    };
    start();
    machine.run(1);
    isBusy = true;
    machine.run(0.4); // 12 pictures each, of which 8 may wait; the 13th pushes one out before it finds room
    isBusy = false;
    machine.run(2);
    stop();
    EXPECT_EQ(*recorder->statusMessage, "Saved with warnings");
    EXPECT_TRUE(
        warns("10 webcam frames were dropped because the encoder couldn't keep up — the video is complete "
              "but momentarily less smooth. To keep every frame, capture a smaller part of the screen or "
              "use fewer cameras."))
        << lastError();
    start(); // the counts are those of one take
    machine.run(1);
    EXPECT_FALSE(*recorder->isRecording) << "the name is taken";
}

TEST_F(CameraTakeFaultsTest, aMovieThatFailsLosesItselfAlone) {
    plugCamera("desk", "Desk");
    plugCamera("side", "Side");
    selectMic();
    selectCamera("desk");
    addCamera("side");
    start();
    machine.run(1);
    writer("take_webcam.mov")->fail("The disk is full.");
    writer("take_webcam-2.mov")->fail("The encoder stopped.");
    machine.run(1);
    stop();
    EXPECT_EQ(*recorder->statusMessage, "Save failed");
    EXPECT_EQ(lastError(),
              "Some tracks failed to save: webcam recording (The disk is full.); webcam 2 (Side) (The "
              "encoder stopped.)");
    EXPECT_EQ(writer("take_video.mov")->status(), AVAssetWriterStatus::completed);
    EXPECT_EQ(writer("take_mic.wav")->status(), AVAssetWriterStatus::completed);
}

TEST_F(CameraTakeFaultsTest, aMovieThatCannotBeStartedFailsTheStartUnderItsLabel) {
    plugCamera("desk", "Desk");
    plugCamera("side", "Side");
    selectCamera("desk");
    addCamera("side");
    std::string failing = "take_webcam.mov";
    machine.assetWriters->script = [&](const URL& url, AVFileType) {
        return SimulatedWriterScript{.startFails = url.lastPathComponent() == failing};
    };
    start();
    expectUndone("Could not start writing the webcam recording: The file could not be made.");
    failing = "take_webcam-2.mov";
    start();
    expectUndone("Could not start writing webcam 2 (Side): The file could not be made.");
    EXPECT_TRUE(files().empty());
}

TEST_F(CameraTakeFaultsTest, aMovieThatTakesNoPictureFailsTheStart) {
    plugCamera("desk", "Desk");
    selectCamera("desk");
    machine.assetWriters->script = [](const URL& url, AVFileType) {
        return SimulatedWriterScript{.refusesInputs = url.lastPathComponent() == "take_webcam.mov"};
    };
    start();
    expectUndone("Couldn't set up the camera file for Desk at 32×18.");
}

TEST_F(CameraTakeFaultsTest, aCameraMovieThatExistsIsNotOverwritten) {
    plugCamera("desk", "Desk");
    plugCamera("side", "Side");
    selectCamera("desk");
    addCamera("side");
    machine.fileManager->put(path("take_webcam-2.mov"), "an earlier take");
    start();
    EXPECT_TRUE(lastError().starts_with("Output files already exist: take_webcam-2.mov.")) << lastError();
    EXPECT_EQ(*machine.fileManager->contents(path("take_webcam-2.mov")), "an earlier take");
}

TEST_F(CameraTakeFaultsTest, aStartThatFailsLeavesTheCamerasRunningAndTheNextTakeWhole) {
    plugCamera("desk", "Desk");
    plugCamera("side", "Side");
    selectCamera("desk");
    addCamera("side");
    machine.screenCapture->script.startError = SystemError("test", 1, "No stream.");
    start();
    expectUndone("No stream.");
    EXPECT_TRUE(machine.captureDevices->session("desk")->isRunning());
    EXPECT_TRUE(machine.captureDevices->session("side")->isRunning());
    machine.screenCapture->script.startError = std::nullopt;
    recordFor(2);
    EXPECT_EQ(*recorder->statusMessage, "Saved") << lastError();
    expectWhole("take_webcam.mov", 58);
    expectWhole("take_webcam-2.mov", 58);
}

TEST_F(CameraTakeFaultsTest, nothingOfOneTakeIsInTheNext) {
    const auto camera = plugCamera("desk", "Desk");
    selectCamera("desk");
    recordFor(1);
    const int64_t lastOfFirst = placed("take_webcam.mov").back().number;
    machine.run(1);
    machine.complete(recorder->startRecording(URL::fileURL(path("next_video.mov"))));
    camera->isStopped = true;
    machine.run(1);
    stop();
    const auto second = placed("next_webcam.mov");
    for (const Placed& picture : second)
        EXPECT_GT(picture.number, lastOfFirst + 25);
    EXPECT_LE(second.size(), 1u);
}

// Bad input

TEST_F(CameraTakeFaultsTest, oneCameraInTwoRowsIsTwoMovies) {
    plugCamera("desk", "Desk");
    selectCamera("desk");
    addCamera("desk");
    recordFor(1);
    EXPECT_EQ(*recorder->statusMessage, "Saved") << lastError();
    expectWhole("take_webcam.mov", 28);
    expectWhole("take_webcam-2.mov", 28);
}

TEST_F(CameraTakeFaultsTest, anUnknownCameraIsNoTrackAndNoError) {
    selectCamera("nobody");
    addCamera("nobody either");
    recordFor(1);
    EXPECT_EQ(*recorder->statusMessage, "Saved") << lastError();
    EXPECT_EQ(files(), std::vector<std::string>{"take_video.mov"});
}

TEST_F(CameraTakeFaultsTest, aRefusedPermissionIsToldAndTheRestIsRecorded) {
    machine.captureDevices->authorization[AVMediaType::video] = AVAuthorizationStatus::denied;
    plugCamera("desk", "Desk");
    selectCamera("desk");
    EXPECT_EQ(lastError(),
              "Camera access was denied. Enable it in System Settings > Privacy & Security > Camera.");
    addCamera("desk");
    recordFor(1);
    EXPECT_EQ(*recorder->statusMessage, "Saved");
    EXPECT_EQ(lastError(), "");
    EXPECT_EQ(files(), std::vector<std::string>{"take_video.mov"});
    EXPECT_TRUE(machine.captureDevices->accessRequests.empty()) << "a start doesn't ask";
}

TEST_F(CameraTakeFaultsTest, aCameraOfExcludedFormatsRecordsInItsOwn) {
    SimulatedCamera script;
    script.uid = "old";
    script.name = "Old";
    script.formats = {SimulatedCamera::format(64, 48, "yuvs", 15, 15)};
    machine.cameras->plug(std::move(script));
    machine.run(0.2);
    selectCamera("old");
    recordFor(2);
    EXPECT_EQ(cameraTrack("take_webcam.mov")->videoSettings()->height, 48);
    expectWhole("take_webcam.mov", 28, 15);
}

TEST_F(CameraTakeFaultsTest, aCameraThatWasJustChosenIsInTheTake) {
    plugCamera("desk", "Desk")->startSeconds = 1;
    plugCamera("side", "Side")->startSeconds = 1;
    const UUID row = machine.processInfo->makeUUID();
    recorder->selectedCameraDeviceID.set("desk");
    recorder->extraCameras.set({{.id = row, .deviceID = "side"}});
    recordFor(2);
    EXPECT_EQ(*recorder->statusMessage, "Saved") << lastError();
    expectWhole("take_webcam.mov", 58);
    expectWhole("take_webcam-2.mov", 58);
}

/// Whose encoders get their memory half a second into the start.
class CameraDuringStartTest : public CameraTakeFixture {
protected:
    void startWith(const std::function<void()>& change) {
        machine.assetWriters->script = [](const URL&, AVFileType) {
            return SimulatedWriterScript{.prepareSeconds = 1};
        };
        TaskScope scope;
        machine.mainThread->runNow([&] { scope.start(recorder->startRecording(videoURL())); });
        machine.run(0.5);
        ASSERT_TRUE(*recorder->isBusy);
        ASSERT_FALSE(*recorder->isRecording);
        machine.mainThread->runNow(change);
        ASSERT_TRUE(machine.runMainUntil([&] { return !*recorder->isBusy; }));
        ASSERT_TRUE(*recorder->isRecording) << lastError();
    }
};

TEST_F(CameraDuringStartTest, anotherChoiceWaitsForTheEndOfTheTake) {
    plugThree();
    selectCamera("desk");
    startWith([&] { recorder->selectedCameraDeviceID.set("side"); });
    machine.run(2);
    EXPECT_TRUE(machine.captureDevices->session("desk")->isRunning());
    stop();
    EXPECT_EQ(*recorder->statusMessage, "Saved") << lastError();
    expectWhole("take_webcam.mov", 58);
    machine.run(0.5);
    EXPECT_TRUE(machine.captureDevices->session("side")->isRunning());
}

TEST_F(CameraDuringStartTest, oneThatIsUnpluggedCostsNothingElse) {
    plugThree();
    selectCamera("desk");
    startWith([&] { machine.cameras->unplug("desk"); });
    machine.run(4);
    stop();
    EXPECT_GT(videoTrack()->accepted().size(), 100u);
    EXPECT_TRUE(lastError().starts_with("No video was captured from the webcam")) << lastError();
}

TEST_F(CameraTakeFaultsTest, choicesThatChangeInATakeWaitForItsEnd) {
    plugThree();
    selectCamera("desk");
    addCamera("side");
    start();
    machine.run(1);
    recorder->selectedCameraDeviceID.set("top");
    recorder->extraCameras.set({});
    recorder->setCameraResolution(CameraResolution::hd, "desk");
    machine.run(1);
    stop();
    EXPECT_EQ(*recorder->statusMessage, "Saved") << lastError();
    expectWhole("take_webcam.mov", 58);
    expectWhole("take_webcam-2.mov", 58);
    EXPECT_EQ(recorder->cameraResolution("desk"), CameraResolution::uhd);
    machine.run(0.5);
    EXPECT_TRUE(machine.captureDevices->session("top")->isRunning());
    EXPECT_FALSE(machine.captureDevices->session("side") &&
                 machine.captureDevices->session("side")->isRunning());
}

TEST_F(CameraTakeFaultsTest, aCameraThatLeavesItsRateInATakeIsPutBackAndLosesNothing) {
    const auto camera = plugCamera("desk", "Desk");
    camera->formats = {SimulatedCamera::format(32, 18, "420v", 1, 60)};
    camera->use(camera->formats[0]);
    selectCamera("desk");
    start();
    machine.run(2);
    camera->minFrameDuration = camera->maxFrameDuration = CMTimeMake(1, 60);
    machine.run(3);
    stop();
    EXPECT_EQ(machine.log->texts("camera-rate").size(), 1u);
    EXPECT_EQ(describe(camera->minFrameDuration), "1000/30000");
    const auto pictures = placed("take_webcam.mov");
    for (size_t i = 1; i < pictures.size(); ++i)
        ASSERT_EQ(pictures[i].slot, pictures[i - 1].slot + 1);
    EXPECT_EQ(*recorder->statusMessage, "Saved") << lastError();
}

} // namespace
} // namespace vintra
