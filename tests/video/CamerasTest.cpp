#include "Vintra/video/Cameras.h"

#include "CameraPartsFixture.h"
#include "FakeVideoOutput.h"
#include "ScriptedInput.h"
#include "Vintra/platform/simulated/SimulatedMachine.h"

#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace vintra {
namespace {

/// Cameras of which none runs, and the movies of a take with a first camera and one more.
class CamerasTest : public testing::Test {
protected:
    ExtraCameraRecording recording() const {
        return {.tap = tap,
                .writer = nullptr,
                .input = extraInput,
                .label = "webcam 2 (Side)",
                .name = "Side",
                .deviceID = "side"};
    }

    SimulatedMachine machine;
    const CMTime start = machine.now();
    CameraTestState state{machine};
    CameraSelection& selection = state.selection;
    Cameras cameras{state.surroundings()};
    const std::shared_ptr<ExtraCameraTap> tap =
        std::make_shared<ExtraCameraTap>(std::make_shared<FakeVideoOutput>(), machine.hostClock);
    const std::shared_ptr<ScriptedInput> webcamInput = std::make_shared<ScriptedInput>();
    const std::shared_ptr<ScriptedInput> extraInput = std::make_shared<ScriptedInput>();
    const std::vector<ExtraCameraRecording> extras{recording()};
    const std::vector<ExtraCameraRecording> none{};
};

TEST_F(CamerasTest, aFurtherCamerasNumberIsItsRowsPlaceFromTwoOn) {
    const auto id = [this] { return machine.processInfo->makeUUID(); };
    selection.extraCameras.set(
        {{.id = id(), .deviceID = "one"}, {.id = id()}, {.id = id(), .deviceID = "two"}});
    const auto numberOf = [this](const UUID& row) { return cameras.webcamNumber({.configID = row}); };
    EXPECT_EQ(numberOf((*selection.extraCameras)[0].id), 2);
    EXPECT_EQ(numberOf((*selection.extraCameras)[2].id), 4) << "a row without a device has its place too";
    EXPECT_EQ(numberOf(id()), 5) << "a row that has gone counts on behind";
}

TEST_F(CamerasTest, aTakeOpensTheTapsToItsMoviesAndClosesThem) {
    const Cameras::Recordings recordings{webcamInput, extras};
    cameras.hold();
    cameras.begin(start, recordings);
    EXPECT_EQ(cameras.webcam().input(), nullptr) << "nothing reaches a movie before its session has begun";
    EXPECT_EQ(tap->input(), nullptr);
    tap->count({.written = 5, .dropped = 5});
    cameras.open(recordings);
    EXPECT_EQ(cameras.webcam().input(), webcamInput);
    EXPECT_EQ(tap->input(), extraInput);
    EXPECT_EQ(tap->frames->read(), 0) << "an extra camera counts from the opening on";
    EXPECT_EQ(tap->drops->read(), 0);
    cameras.closeWebcam();
    EXPECT_EQ(cameras.webcam().input(), nullptr);
}

TEST_F(CamerasTest, aTakeWithoutAFirstCameraLeavesItsTapAlone) {
    cameras.open({nullptr, none});
    EXPECT_EQ(cameras.webcam().input(), nullptr);
}

TEST_F(CamerasTest, whatWaitsForAMovieIsWrittenAndCountedAtTheEnd) {
    const Cameras::Recordings recordings{nullptr, extras};
    cameras.hold();
    cameras.begin(start, recordings);
    cameras.open(recordings);
    extraInput->ready = [] { return false; };
    tap->frame(picture(start));
    EXPECT_EQ(tap->frames->read(), 0);
    extraInput->ready = [] { return true; };
    machine.complete(cameras.flush(nullptr, extras));
    EXPECT_EQ(tap->frames->read(), 1);
    EXPECT_EQ(extraInput->appended.size(), 1u);
    cameras.resetCounters(extras);
    EXPECT_EQ(tap->frames->read(), 0);
}

TEST_F(CamerasTest, theMainThreadIsFreeWhileAMovieIsAwaited) {
    const Cameras::Recordings recordings{webcamInput, none};
    cameras.hold();
    cameras.begin(start, recordings);
    cameras.open(recordings);
    bool isFree = false;
    machine.time->after(100'000'000, [&] { machine.mainThread->post([&] { isFree = true; }); });
    webcamInput->ready = [] { return false; };
    const auto begun = machine.now();
    cameras.webcam().writeQueue->submit(picture(start), webcamInput);
    machine.complete(cameras.flush(webcamInput, none));
    EXPECT_TRUE(isFree);
    EXPECT_GE(machine.now() - begun, CMTimeMake(1, 2)) << "it waits for the writer, for half a second";
    EXPECT_EQ(cameras.webcam().drops->read(), 1);
}

TEST_F(CamerasTest, aTakeThatNeverStartedLeavesNothingWaiting) {
    const Cameras::Recordings recordings{webcamInput, none};
    cameras.hold();
    cameras.begin(start, recordings);
    cameras.open(recordings);
    webcamInput->ready = [] { return false; };
    cameras.webcam().writeQueue->submit(picture(start), webcamInput);
    cameras.clear();
    webcamInput->ready = [] { return true; };
    machine.complete(cameras.flush(webcamInput, none));
    EXPECT_TRUE(webcamInput->appended.empty());
    EXPECT_EQ(cameras.webcam().drops->read(), 0);
}

TEST_F(CamerasTest, theCamerasOfATakeAreListedUnderTheirLabels) {
    EXPECT_TRUE(cameras.recordingCameras({nullptr, none}).empty());
    const auto listed = cameras.recordingCameras({webcamInput, extras});
    ASSERT_EQ(listed.size(), 1u) << "a first camera that doesn't run isn't there";
    EXPECT_EQ(listed[0].label, "webcam 2 (Side)");
    EXPECT_EQ(listed[0].name, "Side");
    EXPECT_EQ(listed[0].deviceID, "side");
    EXPECT_EQ(listed[0].tap, tap);
}

TEST_F(CamerasTest, theFirstCamerasQueueIsDrainedEvenIfNoneRuns) {
    const auto queues = cameras.queues();
    ASSERT_EQ(queues.size(), 1u);
    EXPECT_EQ(queues[0]->label(), "com.screenrecorder.webcamOutput");
}

} // namespace
} // namespace vintra
