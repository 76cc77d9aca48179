// Cameras that come and go, between takes and in them.

#include "tests/take/CameraTakeFixture.h"

namespace vintra {
namespace {

class CameraInventoryTest : public CameraTakeFixture {
protected:
    std::vector<std::string> listed() const {
        std::vector<std::string> ids;
        for (const auto& device : *recorder->availableCameraDevices)
            ids.push_back(device->uniqueID());
        return ids;
    }
    std::vector<std::optional<std::string>> rows() const {
        std::vector<std::optional<std::string>> devices;
        for (const ExtraCameraConfig& row : *recorder->extraCameras)
            devices.push_back(row.deviceID);
        return devices;
    }
    void unplug(const std::string& uid) {
        machine.cameras->unplug(uid);
        machine.run(0.2);
    }
    void plugAgain(const std::shared_ptr<SimulatedCamera>& camera) {
        machine.cameras->plugAgain(camera);
        machine.run(0.3);
    }
    bool runs(const std::string& uid) const {
        const auto session = machine.captureDevices->session(uid);
        return session && session->isRunning();
    }
    using Ids = std::vector<std::string>;
    using Rows = std::vector<std::optional<std::string>>;
};

TEST_F(CameraInventoryTest, camerasAreListedFromTheStartAndFollowed) {
    machine.cameras->plug("early", "Early");
    makeRecorder();
    EXPECT_EQ(listed(), Ids{"early"});
    plugCamera("late", "Late");
    EXPECT_EQ(listed(), (Ids{"early", "late"}));
    unplug("early");
    EXPECT_EQ(listed(), Ids{"late"});
    EXPECT_FALSE(recorder->selectedCameraDeviceID->has_value());
    EXPECT_EQ(recorder->armedCameraCount(), 0);
}

TEST_F(CameraInventoryTest, aCameraThatIsUnpluggedBetweenTakesLeavesItsRowWithNoDevice) {
    const auto desk = plugCamera("desk", "Desk");
    const auto side = plugCamera("side", "Side");
    plugCamera("top", "Top");
    selectCamera("desk");
    addCamera("side");
    addCamera("top");
    unplug("side");
    EXPECT_EQ(rows(), (Rows{std::nullopt, "top"}));
    unplug("desk");
    EXPECT_FALSE(recorder->selectedCameraDeviceID->has_value());
    EXPECT_TRUE(runs("top"));
    plugAgain(side);
    plugAgain(desk);
    EXPECT_EQ(rows(), (Rows{std::nullopt, "top"})) << "the user picks it again";
    EXPECT_FALSE(recorder->selectedCameraDeviceID->has_value());
    EXPECT_FALSE(runs("side"));
    EXPECT_EQ(lastError(), "");
    recordFor(1);
    EXPECT_EQ(files(), (Ids{"take_video.mov", "take_webcam-3.mov"})) << "the row keeps its number";
}

TEST_F(CameraInventoryTest, theLossOfACameraInATakeIsToldAndTheTakeGoesOn) {
    plugCamera("desk", "Desk");
    plugCamera("side", "Side");
    selectCamera("desk");
    addCamera("side");
    start();
    machine.run(1);
    unplug("side");
    EXPECT_EQ(lastError(),
              "Extra webcam device (Side) disconnected mid-recording. That track stopped receiving "
              "data — other tracks are still recording.");
    unplug("desk");
    EXPECT_EQ(lastError(),
              "Webcam device (Desk) disconnected mid-recording. That track stopped receiving data — "
              "other tracks are still recording.");
    EXPECT_EQ(*recorder->selectedCameraDeviceID, "desk") << "a take keeps its selections";
    EXPECT_EQ(rows(), Rows{"side"});
    EXPECT_TRUE(listed().empty());
    machine.run(3);
    EXPECT_TRUE(*recorder->isRecording);
    stop();
    EXPECT_EQ(*recorder->statusMessage, "Saved with warnings");
    EXPECT_TRUE(
        warns("Webcam (Desk) stopped sending a picture at 0:01. Webcam 2 (Side) stopped sending a picture "
              "at 0:01. If those are cameras"))
        << lastError();
    expectWhole("take_webcam.mov", 30);
}

TEST_F(CameraInventoryTest, oneCameraInTwoRowsIsNamedTwiceWhenItGoes) {
    plugCamera("desk", "Desk");
    selectCamera("desk");
    addCamera("desk");
    start();
    machine.run(1);
    unplug("desk");
    EXPECT_TRUE(lastError().starts_with("Webcam and Extra webcam device (Desk) disconnected mid-recording."));
    stop();
}

TEST_F(CameraInventoryTest, aCameraThatNoTrackIsOnIsNotMissed) {
    plugCamera("desk", "Desk");
    plugCamera("other", "Other");
    selectCamera("desk");
    start();
    machine.run(1);
    unplug("other");
    EXPECT_EQ(lastError(), "");
    stop();
}

TEST_F(CameraInventoryTest, aCameraThatWentInATakeIsNotInTheNext) {
    plugCamera("desk", "Desk");
    plugCamera("side", "Side");
    selectCamera("desk");
    addCamera("side");
    start();
    machine.run(1);
    unplug("desk");
    unplug("side");
    stop();
    machine.run(0.5);
    machine.complete(recorder->startRecording(URL::fileURL(path("next_video.mov"))));
    EXPECT_EQ(*recorder->statusMessage, "Recording screen…");
    machine.run(1);
    stop();
    EXPECT_FALSE(writer("next_webcam.mov"));
    EXPECT_FALSE(writer("next_webcam-2.mov"));
}

TEST_F(CameraInventoryTest, aCameraThatCameBackInATakeIsInTheNext) {
    const auto desk = plugCamera("desk", "Desk");
    const auto side = plugCamera("side", "Side");
    selectCamera("desk");
    addCamera("side");
    start();
    machine.run(1);
    unplug("desk");
    unplug("side");
    plugAgain(desk);
    plugAgain(side);
    machine.run(1);
    stop();
    machine.run(0.5);
    machine.complete(recorder->startRecording(URL::fileURL(path("next_video.mov"))));
    EXPECT_EQ(*recorder->statusMessage, "Recording screen + 2 webcams…");
    machine.run(2);
    stop();
    expectWhole("next_webcam.mov", 58);
    expectWhole("next_webcam-2.mov", 58);
}

TEST_F(CameraInventoryTest, aCameraThatComesBackAfterTheTakeIsTakenUpAgain) {
    const auto desk = plugCamera("desk", "Desk");
    const auto side = plugCamera("side", "Side");
    selectCamera("desk");
    addCamera("side");
    start();
    unplug("desk");
    unplug("side");
    stop();
    machine.run(0.5);
    machine.cameras->plugAgain(desk);
    machine.cameras->plugAgain(side);
    machine.run(0.5);
    EXPECT_TRUE(runs("desk"));
    EXPECT_TRUE(runs("side"));
}

TEST_F(CameraInventoryTest, aCameraThatIsPluggedInDuringATakeIsListedAndNotTaken) {
    plugCamera("desk", "Desk");
    selectCamera("desk");
    start();
    plugCamera("new", "New");
    EXPECT_EQ(listed(), (Ids{"desk", "new"}));
    EXPECT_EQ(*recorder->selectedCameraDeviceID, "desk");
    stop();
    EXPECT_EQ(*recorder->statusMessage, "Saved") << lastError();
}

TEST_F(CameraInventoryTest, aFirstCameraWhoseSessionEndedIsSetUpWithTheNextChange) {
    plugCamera("desk", "Desk");
    selectCamera("desk");
    const auto ended = machine.captureDevices->session("desk");
    ended->stopRunning();
    plugCamera("other", "Other");
    machine.run(0.3);
    EXPECT_NE(machine.captureDevices->session("desk"), ended);
    EXPECT_TRUE(runs("desk"));
}

TEST_F(CameraInventoryTest, aMicrophoneAndACameraThatComeAsOneAreBothFollowed) {
    machine.audioHardware->plug("combi", "Combi", 1);
    plugCamera("combi", "Combi");
    selectMic("combi");
    selectCamera("combi");
    machine.audioHardware->unplug("combi");
    machine.run(0.2);
    EXPECT_FALSE(recorder->selectedMicDeviceID->has_value());
    EXPECT_EQ(*recorder->selectedCameraDeviceID, "combi") << "ids of sound and of pictures are apart";
}

} // namespace
} // namespace vintra
