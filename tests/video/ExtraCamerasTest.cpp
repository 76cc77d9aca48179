#include "Vintra/video/ExtraCameras.h"

#include "CameraPartsFixture.h"
#include "Vintra/platform/simulated/SimulatedMachine.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace vintra {
namespace {

class ExtraCamerasTest : public CameraPartsFixture {
protected:
    void SetUp() override {
        plug("side", "Side");
        plug("top", "Top");
    }
    std::vector<std::string> rigs() const {
        std::vector<std::string> ids;
        for (const ExtraCameraRig& rig : cameras.extraCameraRigs())
            ids.push_back(rig.device->uniqueID());
        return ids;
    }
    void setDevice(const UUID& id, const std::optional<std::string>& uid) {
        selection.extraCameras.update([&](auto& rows) {
            for (auto& row : rows) {
                if (row.id == id) row.deviceID = uid;
            }
        });
    }
    void moveLastRowToTheFront() {
        selection.extraCameras.update(
            [](auto& rows) { std::rotate(rows.begin(), rows.end() - 1, rows.end()); });
    }
    std::shared_ptr<SimulatedFloatingPreviewWindow> preview(const std::string& uid) const {
        return window("CameraPreviewWindow-" + uid);
    }
    bool runs(const std::string& uid) const {
        const auto session = machine.captureDevices->session(uid);
        return session && session->isRunning();
    }
    static inline const std::vector<std::string> kBoth{"side", "top"};
    static inline const std::vector<std::string> kNone{};
    const std::vector<ExtraCameraRecording> noRecordings{};
    const Cameras::Recordings nothing{nullptr, noRecordings};
};

using Ids = std::vector<std::string>;

TEST_F(ExtraCamerasTest, eachArmedRowHasARigOnAQueueOfItsOwn) {
    addRow("side");
    addRow(std::nullopt);
    addRow("top");
    settle();
    EXPECT_EQ(rigs(), kBoth);
    EXPECT_TRUE(runs("side"));
    EXPECT_TRUE(runs("top"));
    const auto queues = cameras.queues();
    ASSERT_EQ(queues.size(), 3u);
    EXPECT_EQ(queues[1]->label(), "com.screenrecorder.extraCamera.side");
    EXPECT_EQ(queues[2]->label(), "com.screenrecorder.extraCamera.top");
    for (const ExtraCameraRig& rig : cameras.extraCameraRigs()) {
        EXPECT_EQ(rig.tap->frameSize->read(), (CMVideoDimensions{1920, 1080}));
        EXPECT_TRUE(rig.capWatcher);
        EXPECT_FALSE(rig.isStarting);
    }
    EXPECT_EQ(cameras.webcam().frameSize->read(), (CMVideoDimensions{0, 0})) << "theirs is not its picture";
}

TEST_F(ExtraCamerasTest, reconcilesInQuickSuccessionMakeOneRigADevice) {
    machine.cameras->camera("side")->startSeconds = 1;
    const UUID side = addRow("side");
    cameras.scheduleExtraCameraReconcile();
    machine.run(0.1); // the camera is still being started
    addRow("top");
    cameras.scheduleExtraCameraReconcile();
    machine.run(2);
    EXPECT_EQ(rigs(), kBoth);
    EXPECT_EQ(machine.captureDevices->sessionsMade, 2);
    EXPECT_EQ(cameras.extraCameraRigs()[0].configID, side);
}

TEST_F(ExtraCamerasTest, aRowThatGoesTakesItsRigAlong) {
    const UUID side = addRow("side");
    addRow("top");
    settle();
    const auto shown = preview("side");
    removeRow(side);
    settle();
    EXPECT_EQ(rigs(), Ids{"top"});
    EXPECT_FALSE(runs("side"));
    EXPECT_TRUE(shown->isClosed);
    EXPECT_TRUE(runs("top"));
}

TEST_F(ExtraCamerasTest, aRowsOtherCameraIsAnotherRig) {
    const UUID row = addRow("side");
    settle();
    setDevice(row, "top");
    settle();
    EXPECT_EQ(rigs(), Ids{"top"});
    EXPECT_FALSE(runs("side"));
    setDevice(row, std::nullopt);
    settle();
    EXPECT_EQ(rigs(), kNone);
}

TEST_F(ExtraCamerasTest, rigsStandInTheOrderOfTheirRows) {
    addRow("side");
    addRow("top");
    settle();
    const auto session = machine.captureDevices->session("side");
    moveLastRowToTheFront();
    settle();
    EXPECT_EQ(rigs(), (Ids{"top", "side"}));
    EXPECT_EQ(machine.captureDevices->session("side"), session) << "they run on";
}

TEST_F(ExtraCamerasTest, aCameraThatIsUnpluggedDropsOut) {
    addRow("side");
    addRow("top");
    settle();
    machine.cameras->unplug("side");
    list();
    cameras.scheduleExtraCameraReconcile();
    settle();
    EXPECT_EQ(rigs(), Ids{"top"});
    EXPECT_EQ(selection.extraCameras->size(), 2u);
}

TEST_F(ExtraCamerasTest, aSessionThatHasEndedIsReplaced) {
    addRow("side");
    settle();
    const auto old = machine.captureDevices->session("side");
    old->stopRunning();
    cameras.scheduleExtraCameraReconcile();
    settle();
    EXPECT_NE(machine.captureDevices->session("side"), old);
    EXPECT_TRUE(runs("side"));
}

TEST_F(ExtraCamerasTest, oneDeviceInTwoRowsIsTwoSessions) {
    addRow("side");
    addRow("side");
    select("side");
    machine.run(1);
    EXPECT_EQ(rigs(), (Ids{"side", "side"}));
    EXPECT_EQ(machine.captureDevices->sessionsMade, 3);
    EXPECT_EQ(cameras.webcam().frameSize->read(), (CMVideoDimensions{1920, 1080}));
    for (const ExtraCameraRig& rig : cameras.extraCameraRigs())
        EXPECT_EQ(rig.tap->frameSize->read(), (CMVideoDimensions{1920, 1080}));
}

TEST_F(ExtraCamerasTest, whatCouldNotBeOpenedIsToldAndTheOthersGoOn) {
    machine.cameras->camera("side")->refusesInput = true;
    addRow("side");
    addRow("top");
    settle();
    EXPECT_EQ(lastError(),
              "Couldn't open Side: Not set up: Side: it couldn't be added to a capture session.");
    EXPECT_EQ(rigs(), Ids{"top"});
    machine.cameras->camera("side")->refusesInput = false;
    machine.cameras->camera("side")->refusesOutput = true;
    cameras.scheduleExtraCameraReconcile();
    settle();
    EXPECT_EQ(lastError(), "Couldn't open Side: Not set up: Side's video output.");
    machine.cameras->camera("side")->refusesOutput = false;
    cameras.scheduleExtraCameraReconcile();
    settle();
    EXPECT_EQ(rigs(), kBoth) << "in the order of the rows, however late";
}

TEST_F(ExtraCamerasTest, aRefusedPermissionIsToldOnceTheUserAnswers) {
    machine.captureDevices->authorization[AVMediaType::video] = AVAuthorizationStatus::notDetermined;
    machine.captureDevices->userGrantsAccess = false;
    addRow(std::nullopt);
    addRow("nobody");
    settle();
    EXPECT_TRUE(machine.captureDevices->accessRequests.empty()) << "no camera, no question";
    addRow("side");
    machine.run(2);
    EXPECT_EQ(machine.captureDevices->accessRequests.size(), 1u);
    EXPECT_EQ(lastError(), "No access.");
    EXPECT_EQ(rigs(), kNone);
}

TEST_F(ExtraCamerasTest, rowsThatChangeWhileTheUserIsAskedAreFollowed) {
    machine.captureDevices->authorization[AVMediaType::video] = AVAuthorizationStatus::notDetermined;
    const UUID row = addRow("side");
    machine.run(0.5);
    setDevice(row, "top");
    machine.run(2);
    EXPECT_EQ(rigs(), Ids{"top"});
    EXPECT_EQ(machine.captureDevices->sessionsMade, 1);
}

TEST_F(ExtraCamerasTest, aResolutionReachesEveryRigOnItsCamera) {
    SimulatedCamera script;
    script.uid = "4k";
    script.name = "Large";
    script.formats = {SimulatedCamera::format(3840, 2160, "420v", 1, 30),
                      SimulatedCamera::format(1920, 1080, "420v", 1, 30)};
    const auto camera = plug(std::move(script));
    addRow("4k");
    addRow("4k");
    machine.run(1);
    const auto watcher = cameras.extraCameraRigs()[1].capWatcher;
    cameras.setCameraResolution(CameraResolution::hd, "4k");
    machine.run(0.1);
    EXPECT_EQ(camera->activeFormat->formatDescription.dimensions, (CMVideoDimensions{1920, 1080}));
    EXPECT_NE(cameras.extraCameraRigs()[1].capWatcher, watcher);
}

// In a take

TEST_F(ExtraCamerasTest, aTakeKeepsItsRigsAndTheRowsAreFollowedAfterIt) {
    const UUID side = addRow("side");
    settle();
    cameras.hold();
    cameras.begin(machine.now(), nothing);
    removeRow(side);
    addRow("top");
    settle();
    EXPECT_EQ(rigs(), Ids{"side"});
    EXPECT_TRUE(runs("side"));
    cameras.release();
    settle();
    EXPECT_EQ(rigs(), Ids{"top"});
}

TEST_F(ExtraCamerasTest, aTakeThatBeginsWhileARigIsLetGoFindsItGone) {
    const UUID side = addRow("side");
    settle();
    state.sessionControl.async([this] { machine.hostClock->sleep(200'000); }); // the stop takes its time
    removeRow(side);
    addRow("top");
    machine.run(0.1);
    cameras.hold();
    cameras.begin(machine.now(), nothing);
    settle();
    EXPECT_EQ(rigs(), kNone) << "and no session appears in a take";
    cameras.release();
    settle();
    EXPECT_EQ(rigs(), Ids{"top"});
}

TEST_F(ExtraCamerasTest, aCameraThatEndedInATakeDropsOutAfterIt) {
    addRow("side");
    settle();
    cameras.hold();
    cameras.begin(machine.now(), nothing);
    machine.cameras->unplug("side");
    list();
    settle();
    EXPECT_EQ(rigs(), Ids{"side"});
    cameras.release();
    settle();
    EXPECT_EQ(rigs(), kNone);
}

TEST_F(ExtraCamerasTest, theEndIsForGood) {
    addRow("side");
    addRow("top");
    settle();
    const auto shown = preview("top");
    machine.complete(cameras.end());
    EXPECT_EQ(rigs(), kNone);
    EXPECT_FALSE(runs("side"));
    EXPECT_FALSE(runs("top"));
    EXPECT_TRUE(shown->isClosed);
    addRow("side");
    settle();
    EXPECT_EQ(rigs(), kNone);
}

// The windows of the previews

TEST_F(ExtraCamerasTest, newWindowsStandInAColumnAtTheTopRight) {
    addRow("side");
    addRow("top");
    settle();
    // The visible part is 1440 wide and begins at 24. 24 to its edges, 12 between them, and the first as far
    // below the top edge as a column of 147 a window gives: 24 + 147 - 135 = 36.
    EXPECT_EQ(preview("side")->frame(), (CGRect{{1440 - 240 - 24, 24 + 36}, {240, 135}}));
    EXPECT_EQ(preview("top")->frame(), (CGRect{{1176, 24 + 36 + 147}, {240, 135}}));
    EXPECT_EQ(preview("side")->recipe.contentMinSize, (CGSize{160, 90}));
    EXPECT_TRUE(preview("side")->isOnScreen);
    EXPECT_EQ(preview("side")->content.session, machine.captureDevices->session("side"));
}

TEST_F(ExtraCamerasTest, aColumnThatIsFullEndsAtTheLowerEdge) {
    machine.floatingPreviewWindows->visible = {{0, 0}, {800, 200}};
    addRow("side");
    addRow("top");
    settle();
    EXPECT_EQ(preview("top")->frame().maxY(), 200);
}

TEST_F(ExtraCamerasTest, aWindowStandsWhereItWasInTheRunBefore) {
    (*machine.floatingPreviewWindows->savedFrames)["CameraPreviewWindow-side"] = {{5, 6}, {320, 180}};
    addRow("side");
    settle();
    EXPECT_EQ(preview("side")->frame(), (CGRect{{5, 6}, {320, 180}}));
}

TEST_F(ExtraCamerasTest, aHiddenPreviewLetsClicksThroughAndItsCameraRunsOn) {
    const UUID row = addRow("side");
    settle();
    const FloatingPreviewContent controls = preview("side")->content;
    controls.onClose();
    EXPECT_TRUE(selection.hiddenExtraCameraPreviews->contains(row));
    EXPECT_EQ(preview("side")->alpha, 0);
    EXPECT_TRUE(preview("side")->ignoresMouse);
    EXPECT_TRUE(preview("side")->isOnScreen) << "it is not closed";
    EXPECT_TRUE(runs("side"));
    cameras.showExtraCameraPreview(row);
    EXPECT_FALSE(selection.hiddenExtraCameraPreviews->contains(row));
    EXPECT_EQ(preview("side")->alpha, 1);
    EXPECT_FALSE(preview("side")->ignoresMouse);
    EXPECT_EQ(preview("side")->calls.back(), "front");
}

TEST_F(ExtraCamerasTest, aRowThatIsHiddenShowsNoNewWindow) {
    const UUID row = addRow("side");
    settle();
    cameras.hideExtraCameraPreview(row);
    setDevice(row, "top");
    settle();
    EXPECT_FALSE(preview("top")->isOnScreen);
    EXPECT_TRUE(runs("top"));
    removeRow(row);
    settle();
    EXPECT_TRUE(selection.hiddenExtraCameraPreviews->empty()) << "only living rows are remembered";
}

TEST_F(ExtraCamerasTest, aWindowTakesTheSizeThatIsPickedInIt) {
    addRow("side");
    addRow("top");
    settle();
    const CGRect before = preview("side")->frame();
    const FloatingPreviewContent controls = preview("side")->content;
    controls.onPick(1);
    EXPECT_EQ(preview("side")->frame(), (CGRect{before.origin, {360, 203}}));
    EXPECT_EQ(preview("side")->content.currentSize, 1u);
    EXPECT_EQ(preview("top")->content.currentSize, 0u);
    EXPECT_EQ(*selection.webcamPreviewSize, WebcamPreviewSize::small) << "that is the first camera's";
    controls.onPick(2);
    EXPECT_EQ(preview("side")->frame().size, (CGSize{520, 293}));
}

TEST_F(ExtraCamerasTest, windowsSayWhetherATakeRuns) {
    addRow("side");
    settle();
    state.isRecording.set(true);
    cameras.refreshExtraCameraWindows();
    EXPECT_TRUE(preview("side")->content.isRecording);
}

} // namespace
} // namespace vintra
