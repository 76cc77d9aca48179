#include "Vintra/video/FirstCamera.h"

#include "CameraPartsFixture.h"
#include "Vintra/platform/simulated/SimulatedMachine.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace vintra {
namespace {

constexpr const char* kFirstPreview = "WebcamFloatingPreviewWindow";

class FirstCameraTest : public CameraPartsFixture {
protected:
    /// A camera whose first format isn't the one that is chosen.
    SimulatedCamera scripted(const std::string& uid = "desk", const std::string& name = "Desk") const {
        SimulatedCamera script;
        script.uid = uid;
        script.name = name;
        script.formats = {small, full, uhd};
        return script;
    }
    void choose() {
        select("desk");
        settle();
    }
    std::shared_ptr<SimulatedCaptureSession> session(const std::string& uid = "desk") const {
        return machine.captureDevices->session(uid);
    }

    const AVCaptureDeviceFormat small = SimulatedCamera::format(640, 360, "420v", 1, 60);
    const AVCaptureDeviceFormat full = SimulatedCamera::format(1920, 1080, "420v", 1, 60);
    const AVCaptureDeviceFormat uhd = SimulatedCamera::format(3840, 2160, "420v", 1, 30);
    const std::vector<ExtraCameraRecording> none{};
    const Cameras::Recordings nothing{nullptr, none};
};

TEST_F(FirstCameraTest, aChosenCameraRunsAtItsBestFormatHeldToTheCap) {
    const auto camera = plug(scripted());
    cameras.setCameraResolution(CameraResolution::hd, "desk");
    choose();
    EXPECT_EQ(camera->calls,
              (std::vector<std::string>{"lock", "format 1920×1080 420v", "min 1000/30000", "max 1000/30000",
                                        "start", "min 1000/30000", "max 1000/30000", "unlock"}))
        << "what the start may have changed is set once more, still under the lock";
    EXPECT_TRUE(session()->isRunning());
    EXPECT_EQ(*selection.webcamPreviewSession, session());
    EXPECT_EQ(cameras.webcamDevice()->uniqueID(), "desk");
    EXPECT_EQ(cameras.webcam().frameSize->read(), (CMVideoDimensions{1920, 1080}));
    EXPECT_EQ(cameras.webcam().writeQueue->summary(), "no frames") << "it is only previewed";
}

TEST_F(FirstCameraTest, aStartThatChangesTheFormatIsUndone) {
    SimulatedCamera script = scripted();
    script.atStart = [this](SimulatedCamera& started) { started.use(small); };
    const auto camera = plug(std::move(script));
    choose();
    EXPECT_EQ(camera->activeFormat, uhd);
    EXPECT_EQ(std::ranges::count(camera->calls, "format 3840×2160 420v"), 2);
}

TEST_F(FirstCameraTest, aCameraThatRefusesItsLockStillRuns) {
    const auto camera = plug(scripted());
    camera->refusesLock = true;
    choose();
    EXPECT_TRUE(session()->isRunning());
    EXPECT_EQ(camera->activeFormat, small) << "as it was left";
    EXPECT_EQ(lastError(), "");
    camera->refusesLock = false;
    machine.run(1);
    EXPECT_EQ(camera->activeFormat, uhd) << "the watcher tries again";
    EXPECT_EQ(cameras.reasserts(), 1);
}

TEST_F(FirstCameraTest, withNoCapAndNoFormatThereIsNothingToHold) {
    machine.userDefaults->values["webcamMaxFrameRate"] = 0.0;
    SimulatedCamera script = scripted();
    script.formats = {SimulatedCamera::format(640, 480, "420v", 1, 60)};
    const auto camera = plug(std::move(script));
    choose();
    EXPECT_EQ(camera->calls, std::vector<std::string>{"start"});
    EXPECT_TRUE(session()->isRunning());
    camera->minFrameDuration = CMTimeMake(1, 5);
    machine.run(3);
    EXPECT_EQ(camera->calls.size(), 1u) << "nobody watches";
}

TEST_F(FirstCameraTest, aCameraOfExcludedFormatsKeepsItsOwnAtTheCap) {
    SimulatedCamera script = scripted();
    script.formats = {SimulatedCamera::format(640, 480, "420v", 1, 60)};
    const auto camera = plug(std::move(script));
    choose();
    EXPECT_EQ(describe(camera->minFrameDuration), "1000/30000");
    EXPECT_EQ(cameras.webcam().frameSize->read(), (CMVideoDimensions{640, 480}));
}

TEST_F(FirstCameraTest, aNegativeCapIsNone) {
    machine.userDefaults->values["webcamMaxFrameRate"] = -1.0;
    SimulatedCamera script = scripted();
    script.formats = {small, full};
    const auto camera = plug(std::move(script));
    choose();
    EXPECT_EQ(describe(camera->minFrameDuration), "1/60");
    EXPECT_EQ(cameras.beat(*cameras.webcamDevice()), 60);
}

TEST_F(FirstCameraTest, theGridFollowsTheCapAndElseTheCamera) {
    SimulatedCamera script = scripted();
    script.formats = {SimulatedCamera::format(1920, 1080, "420v", 29.97, 29.97)};
    plug(std::move(script));
    choose();
    EXPECT_EQ(cameras.beat(*cameras.webcamDevice()), 30);
    const auto camera = machine.cameras->camera("desk");
    camera->refusesLock = true;
    camera->use(full);
    EXPECT_EQ(cameras.beat(*cameras.webcamDevice()), 30) << "what the cap will hold it to";
    camera->use(SimulatedCamera::format(1280, 720, "420v", 25, 25));
    EXPECT_EQ(cameras.beat(*cameras.webcamDevice()), 25);
}

TEST_F(FirstCameraTest, anotherChoiceIsAnotherSession) {
    plug(scripted());
    plug(scripted("side", "Side"));
    choose();
    const auto first = session();
    cameras.webcam().frameSize->set({640, 360});
    select("side");
    settle();
    EXPECT_FALSE(first->isRunning());
    EXPECT_TRUE(session("side")->isRunning());
    EXPECT_EQ(cameras.webcamDevice()->uniqueID(), "side");
    EXPECT_EQ(cameras.webcam().frameSize->read(), (CMVideoDimensions{3840, 2160}));
    select(std::nullopt);
    settle();
    EXPECT_FALSE(session("side") && session("side")->isRunning());
    EXPECT_EQ(cameras.webcamDevice(), nullptr);
    EXPECT_EQ(*selection.webcamPreviewSession, nullptr);
    EXPECT_FALSE(window(kFirstPreview)->isOnScreen);
}

TEST_F(FirstCameraTest, theSizeOfOneCameraIsNotThatOfTheNext) {
    plug(scripted());
    plug(scripted("side", "Side"))->isStopped = true;
    choose();
    EXPECT_NE(cameras.webcam().frameSize->read(), (CMVideoDimensions{0, 0}));
    select("side");
    settle();
    EXPECT_EQ(cameras.webcam().frameSize->read(), (CMVideoDimensions{0, 0})) << "it has sent nothing";
}

TEST_F(FirstCameraTest, quickChangesEndWithTheLastChoiceAndOneSession) {
    plug(scripted());
    plug(scripted("side", "Side"));
    plug(scripted("top", "Top"));
    choose();
    const int64_t before = machine.captureDevices->sessionsMade;
    select("side");
    machine.run(0.01); // its session is being started
    select("top");
    select("desk");
    select("top");
    machine.run(1);
    EXPECT_EQ(cameras.webcamDevice()->uniqueID(), "top");
    EXPECT_TRUE(session("top")->isRunning());
    EXPECT_FALSE(session("side") && session("side")->isRunning());
    EXPECT_FALSE(session("desk") && session("desk")->isRunning());
    EXPECT_LE(machine.captureDevices->sessionsMade - before, 3);
}

TEST_F(FirstCameraTest, anUnknownCameraIsNotSetUp) {
    plug(scripted());
    select("nobody");
    settle();
    EXPECT_EQ(machine.captureDevices->sessionsMade, 0);
    EXPECT_EQ(lastError(), "");
    EXPECT_TRUE(machine.captureDevices->accessRequests.empty()) << "nor is the user asked";
}

TEST_F(FirstCameraTest, theUserIsAskedOnceAndMayRefuse) {
    machine.captureDevices->authorization[AVMediaType::video] = AVAuthorizationStatus::notDetermined;
    machine.captureDevices->userGrantsAccess = false;
    plug(scripted());
    select("desk");
    machine.run(2);
    EXPECT_EQ(machine.captureDevices->accessRequests, std::vector<AVMediaType>{AVMediaType::video});
    EXPECT_EQ(lastError(), "No access.");
    EXPECT_EQ(cameras.webcamDevice(), nullptr);
}

TEST_F(FirstCameraTest, aChoiceThatIsTakenBackBeforeTheAnswerSetsNothingUp) {
    machine.captureDevices->authorization[AVMediaType::video] = AVAuthorizationStatus::notDetermined;
    plug(scripted());
    select("desk");
    machine.run(0.5);
    select(std::nullopt);
    machine.run(2);
    EXPECT_EQ(machine.captureDevices->sessionsMade, 0);
    EXPECT_EQ(lastError(), "");
}

TEST_F(FirstCameraTest, whatCouldNotBeAddedIsTold) {
    const auto camera = plug(scripted());
    camera->refusesInput = true;
    choose();
    EXPECT_EQ(lastError(), "Not set up: the webcam Desk: it couldn't be added to a capture session.");
    EXPECT_EQ(cameras.webcamDevice(), nullptr);
    camera->refusesInput = false;
    camera->refusesOutput = true;
    select(std::nullopt);
    choose();
    EXPECT_EQ(lastError(), "Not set up: the webcam Desk's video output.");
    camera->refusesOutput = false;
    camera->failsToOpen = true;
    state.lastError.set(std::nullopt);
    select(std::nullopt);
    choose();
    EXPECT_EQ(lastError(), "Not set up: the webcam Desk: it couldn't be added to a capture session.");
}

// The resolution

TEST_F(FirstCameraTest, aCameraSwitchesToItsNewResolutionWhileItRuns) {
    const auto camera = plug(scripted());
    choose();
    EXPECT_EQ(camera->activeFormat, uhd);
    EXPECT_TRUE(cameras.cameraOffers4K("desk"));
    EXPECT_FALSE(cameras.cameraOffers4K("nobody"));
    const int64_t sessions = machine.captureDevices->sessionsMade;
    cameras.setCameraResolution(CameraResolution::hd, "desk");
    machine.run(0.1);
    EXPECT_EQ(camera->activeFormat, full);
    EXPECT_EQ(describe(camera->minFrameDuration), "1000/30000");
    EXPECT_EQ(machine.captureDevices->sessionsMade, sessions);
    EXPECT_EQ(selection.cameraResolutions->size(), 1u);
    machine.run(3);
    EXPECT_EQ(camera->activeFormat, full) << "the watcher of the old choice has gone";
    cameras.setCameraResolution(CameraResolution::uhd, "desk");
    machine.run(0.1);
    EXPECT_EQ(camera->activeFormat, uhd);
    EXPECT_TRUE(selection.cameraResolutions->empty()) << "the dictionary holds just what is limited";
}

TEST_F(FirstCameraTest, theSameResolutionChangesNothing) {
    const auto camera = plug(scripted());
    choose();
    camera->calls.clear();
    cameras.setCameraResolution(CameraResolution::uhd, "desk");
    machine.run(0.1);
    EXPECT_TRUE(camera->calls.empty());
}

TEST_F(FirstCameraTest, aTakeKeepsItsResolution) {
    plug(scripted());
    choose();
    state.isRecording.set(true);
    cameras.setCameraResolution(CameraResolution::hd, "desk");
    EXPECT_TRUE(selection.cameraResolutions->empty());
}

// In a take

TEST_F(FirstCameraTest, aTakeKeepsItsCameraAndTheChoiceIsFollowedAfterIt) {
    plug(scripted());
    plug(scripted("side", "Side"));
    choose();
    cameras.hold();
    cameras.begin(machine.now(), nothing);
    select("side");
    settle();
    EXPECT_EQ(cameras.webcamDevice()->uniqueID(), "desk");
    EXPECT_TRUE(session()->isRunning());
    cameras.release();
    settle();
    EXPECT_EQ(cameras.webcamDevice()->uniqueID(), "side");
}

TEST_F(FirstCameraTest, aCameraThatEndedInATakeIsLetGoAfterIt) {
    plug(scripted());
    choose();
    cameras.hold();
    cameras.begin(machine.now(), nothing);
    machine.cameras->unplug("desk");
    settle();
    EXPECT_NE(cameras.webcamDevice(), nullptr);
    list();
    cameras.release();
    settle();
    EXPECT_EQ(cameras.webcamDevice(), nullptr);
    EXPECT_EQ(selection.selectedCameraDeviceID->value_or(""), "desk") << "it is still chosen";
}

TEST_F(FirstCameraTest, aCameraThatCameBackInATakeRunsAgainAfterIt) {
    const auto camera = plug(scripted());
    choose();
    cameras.hold();
    cameras.begin(machine.now(), nothing);
    machine.cameras->unplug("desk");
    settle();
    machine.cameras->plugAgain(camera);
    settle();
    EXPECT_FALSE(cameras.webcamDevice() && session()->isRunning()) << "a session ends with its device";
    cameras.release();
    settle();
    EXPECT_TRUE(session()->isRunning());
}

TEST_F(FirstCameraTest, aTakeThatChangedNothingLeavesTheSessionAlone) {
    plug(scripted());
    choose();
    const int64_t before = machine.captureDevices->sessionsMade;
    cameras.hold();
    cameras.begin(machine.now(), nothing);
    settle();
    cameras.release();
    settle();
    EXPECT_EQ(machine.captureDevices->sessionsMade, before);
    EXPECT_TRUE(session()->isRunning());
}

TEST_F(FirstCameraTest, aChoiceSettlesOnceTheCameraRuns) {
    plug(scripted())->startSeconds = 2;
    select("desk");
    const CMTime before = machine.now();
    machine.complete(cameras.settle());
    EXPECT_EQ(cameras.webcamDevice()->uniqueID(), "desk");
    EXPECT_TRUE(session()->isRunning());
    EXPECT_NEAR(CMTimeGetSeconds(machine.now() - before), 2, 0.1);
}

TEST_F(FirstCameraTest, nothingIsThereToSettleWithoutCameras) {
    const CMTime before = machine.now();
    machine.complete(cameras.settle());
    EXPECT_EQ(machine.now(), before);
}

TEST_F(FirstCameraTest, theEndIsForGood) {
    plug(scripted());
    choose();
    machine.complete(cameras.end());
    EXPECT_FALSE(session() && session()->isRunning());
    select(std::nullopt);
    choose();
    EXPECT_EQ(cameras.webcamDevice(), nullptr);
}

// The preview's window

TEST_F(FirstCameraTest, thePreviewFloatsInTheChosenSize) {
    selection.webcamPreviewSize.set(WebcamPreviewSize::medium);
    plug(scripted());
    choose();
    const auto shown = window(kFirstPreview);
    ASSERT_TRUE(shown);
    EXPECT_EQ(shown->recipe.frame.size, (CGSize{240, 135}));
    EXPECT_EQ(shown->recipe.contentMinSize, (CGSize{160, 90}));
    EXPECT_EQ(shown->recipe.contentAspectRatio, (CGSize{16, 9}));
    EXPECT_EQ(shown->frame().size, (CGSize{360, 203})) << "202.5 is rounded away from zero";
    EXPECT_TRUE(shown->isOnScreen);
    EXPECT_TRUE(*selection.webcamPreviewVisible);
    EXPECT_EQ(shown->content.session, session());
    EXPECT_EQ(shown->content.sizes, (std::vector<std::string>{"small", "medium", "large"}));
    EXPECT_EQ(shown->content.currentSize, 1u);
    EXPECT_FALSE(shown->content.isRecording);
}

TEST_F(FirstCameraTest, aPreviewStandsWhereItWasInTheRunBefore) {
    (*machine.floatingPreviewWindows->savedFrames)[kFirstPreview] = {{700, 500}, {300, 169}};
    plug(scripted());
    choose();
    EXPECT_EQ(window(kFirstPreview)->frame(), (CGRect{{700, 500}, {300, 169}}));
    EXPECT_EQ(window(kFirstPreview)->calls, (std::vector<std::string>{"content", "front"}));
}

TEST_F(FirstCameraTest, anotherSizeKeepsTheTopEdge) {
    (*machine.floatingPreviewWindows->savedFrames)[kFirstPreview] = {{700, 500}, {300, 169}};
    plug(scripted());
    choose();
    selection.webcamPreviewSize.set(WebcamPreviewSize::large);
    EXPECT_EQ(window(kFirstPreview)->frame(), (CGRect{{700, 500}, {520, 293}})) << "292.5, away from zero";
    EXPECT_EQ(window(kFirstPreview)->content.currentSize, 2u);
}

TEST_F(FirstCameraTest, theControlsOfThePreviewSetTheSizeAndHideIt) {
    plug(scripted());
    choose();
    const auto shown = window(kFirstPreview);
    const FloatingPreviewContent controls = shown->content;
    controls.onPick(2);
    EXPECT_EQ(*selection.webcamPreviewSize, WebcamPreviewSize::large);
    controls.onPick(3);
    EXPECT_EQ(*selection.webcamPreviewSize, WebcamPreviewSize::large) << "there are three sizes";
    controls.onClose();
    EXPECT_FALSE(*selection.webcamPreviewVisible);
    EXPECT_FALSE(shown->isOnScreen);
    EXPECT_TRUE(session()->isRunning()) << "the camera goes on";
    selection.webcamPreviewVisible.set(true);
    EXPECT_TRUE(shown->isOnScreen);
}

TEST_F(FirstCameraTest, thereIsNoPreviewOfNoCamera) {
    selection.webcamPreviewVisible.set(true);
    EXPECT_TRUE(machine.floatingPreviewWindows->windows.empty());
    plug(scripted());
    choose();
    select(std::nullopt);
    settle();
    selection.webcamPreviewVisible.set(false);
    selection.webcamPreviewVisible.set(true);
    EXPECT_FALSE(window(kFirstPreview)->isOnScreen);
}

TEST_F(FirstCameraTest, oneWindowServesEveryFirstCamera) {
    plug(scripted());
    plug(scripted("side", "Side"));
    choose();
    select("side");
    settle();
    EXPECT_EQ(machine.floatingPreviewWindows->windows.size(), 1u);
    EXPECT_EQ(window(kFirstPreview)->content.session, session("side"));
    EXPECT_TRUE(window(kFirstPreview)->isOnScreen);
}

TEST_F(FirstCameraTest, thePreviewSaysWhetherATakeRuns) {
    plug(scripted());
    choose();
    state.isRecording.set(true);
    cameras.refreshFloatingPreviewContent();
    EXPECT_TRUE(window(kFirstPreview)->content.isRecording);
}

} // namespace
} // namespace vintra
