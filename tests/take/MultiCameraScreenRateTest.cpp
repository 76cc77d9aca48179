#include "Vintra/take/MultiCameraScreenRate.h"

#include "Vintra/platform/simulated/SimulatedMachine.h"
#include "tests/take/CameraTakeFixture.h"

#include <gtest/gtest.h>
#include <memory>
#include <string>

namespace vintra {
namespace {

constexpr const char* kRateBeforeCameras = "screenFrameRateBeforeMultiCamera";

class MultiCameraScreenRateTest : public testing::Test {
protected:
    void arm(int count) {
        cameras.selectedCameraDeviceID.set(count > 0 ? std::optional<std::string>("first") : std::nullopt);
        std::vector<ExtraCameraConfig> rows;
        for (int i = 1; i < count; ++i)
            rows.push_back({.id = machine.processInfo->makeUUID(), .deviceID = "extra " + std::to_string(i)});
        cameras.extraCameras.set(rows);
    }
    std::optional<int64_t> stored() const { return integerForKey(*machine.userDefaults, kRateBeforeCameras); }
    template <typename State>
    bool is() const {
        return std::holds_alternative<State>(rate.state());
    }

    using Idle = MultiCameraScreenRate::Idle;
    using Switched = MultiCameraScreenRate::Switched;
    using Overridden = MultiCameraScreenRate::Overridden;

    SimulatedMachine machine;
    CameraSelection cameras;
    ScreenSelection screen; // at 60
    Published<bool> isRecording{false};
    MultiCameraScreenRate rate{machine.userDefaults, cameras, screen, isRecording};
};

TEST_F(MultiCameraScreenRateTest, aSecondCameraLowersTheRateAndItsRemovalPutsItBack) {
    arm(1);
    EXPECT_EQ(*screen.screenFrameRate, 60);
    arm(2);
    EXPECT_EQ(*screen.screenFrameRate, 30);
    EXPECT_EQ(*cameras.multiCameraScreenRateNote, 60);
    EXPECT_EQ(rate.state(), MultiCameraScreenRate::State(Switched{.from = 60}));
    EXPECT_EQ(stored(), 60);
    arm(3);
    EXPECT_EQ(*screen.screenFrameRate, 30);
    EXPECT_EQ(*cameras.multiCameraScreenRateNote, 60);
    arm(1);
    EXPECT_EQ(*screen.screenFrameRate, 60);
    EXPECT_FALSE(cameras.multiCameraScreenRateNote->has_value());
    EXPECT_TRUE(is<Idle>());
    EXPECT_FALSE(stored().has_value());
}

TEST_F(MultiCameraScreenRateTest, aLowRateIsLeftAlone) {
    for (const int low : {24, 30}) {
        screen.screenFrameRate.set(low);
        arm(2);
        EXPECT_EQ(*screen.screenFrameRate, low);
        EXPECT_TRUE(is<Idle>());
        EXPECT_FALSE(cameras.multiCameraScreenRateNote->has_value());
        EXPECT_FALSE(stored().has_value());
        arm(0);
        EXPECT_EQ(*screen.screenFrameRate, low);
    }
}

TEST_F(MultiCameraScreenRateTest, aRateSetByHandIsKeptAsLongAsTwoAreArmed) {
    arm(2);
    screen.screenFrameRate.set(60);
    EXPECT_TRUE(is<Overridden>());
    EXPECT_FALSE(cameras.multiCameraScreenRateNote->has_value());
    EXPECT_FALSE(stored().has_value());
    arm(3);
    EXPECT_EQ(*screen.screenFrameRate, 60);
    arm(2);
    EXPECT_EQ(*screen.screenFrameRate, 60);
    arm(1);
    EXPECT_TRUE(is<Idle>());
    arm(2);
    EXPECT_EQ(*screen.screenFrameRate, 30) << "it switches again";
}

TEST_F(MultiCameraScreenRateTest, nothingIsPutBackOverARateSetByHand) {
    arm(2);
    screen.screenFrameRate.set(24);
    arm(0);
    EXPECT_EQ(*screen.screenFrameRate, 24);
    EXPECT_TRUE(is<Idle>());
}

TEST_F(MultiCameraScreenRateTest, aRateThatIsRaisedWhileTwoAreArmedIsTheUsersOwn) {
    screen.screenFrameRate.set(30);
    arm(2);
    screen.screenFrameRate.set(60);
    EXPECT_TRUE(is<Overridden>());
    arm(3);
    EXPECT_EQ(*screen.screenFrameRate, 60);
}

TEST_F(MultiCameraScreenRateTest, aRateSetByHandWithOneCameraIsNoOverride) {
    arm(1);
    screen.screenFrameRate.set(30);
    screen.screenFrameRate.set(60);
    EXPECT_TRUE(is<Idle>());
    arm(2);
    EXPECT_EQ(*screen.screenFrameRate, 30);
}

TEST_F(MultiCameraScreenRateTest, unarmedRowsDoNotCount) {
    cameras.selectedCameraDeviceID.set("first");
    cameras.extraCameras.set({{.id = machine.processInfo->makeUUID(), .deviceID = std::nullopt}});
    EXPECT_EQ(*screen.screenFrameRate, 60);
}

TEST_F(MultiCameraScreenRateTest, aTakeKeepsItsRateAndItIsFollowedAfterIt) {
    isRecording.set(true);
    arm(2);
    EXPECT_EQ(*screen.screenFrameRate, 60);
    isRecording.set(false);
    rate.reconcile();
    EXPECT_EQ(*screen.screenFrameRate, 30);
}

/// With the controller: what is stored, the guide, and the next run.
class MultiCameraRecorderTest : public CameraTakeFixture {
protected:
    void SetUp() override {
        CameraTakeFixture::SetUp();
        plugThree();
        recorder->screenFrameRate.set(60);
    }
    int64_t stored(const std::string& key) const {
        return integerForKey(*machine.userDefaults, key).value_or(0);
    }
};

TEST_F(MultiCameraRecorderTest, theRateIsStoredAndTheGuideFollows) {
    selectCamera("desk");
    machine.captureOverlayWindows->calls.clear();
    addCamera("side");
    EXPECT_EQ(*recorder->screenFrameRate, 30);
    EXPECT_EQ(stored("screenFrameRate"), 30);
    EXPECT_EQ(stored(kRateBeforeCameras), 60);
    EXPECT_FALSE(machine.captureOverlayWindows->calls.empty());
}

TEST_F(MultiCameraRecorderTest, aRunThatEndsWhileSwitchedPutsTheRateBackAtTheNextStart) {
    selectCamera("desk");
    addCamera("side");
    makeRecorder();
    EXPECT_EQ(*recorder->screenFrameRate, 60);
    EXPECT_FALSE(machine.userDefaults->value(kRateBeforeCameras).has_value());
    EXPECT_EQ(recorder->armedCameraCount(), 0);
}

TEST_F(MultiCameraRecorderTest, aCameraThatGoesGivesTheRateBack) {
    selectCamera("desk");
    addCamera("side");
    machine.cameras->unplug("side");
    machine.run(0.2);
    EXPECT_EQ(*recorder->screenFrameRate, 60);
    EXPECT_FALSE(recorder->multiCameraScreenRateNote->has_value());
}

TEST_F(MultiCameraRecorderTest, aTakeWithTwoCamerasRecordsTheScreenAtThirty) {
    selectCamera("desk");
    addCamera("side");
    start();
    recorder->extraCameras.set({});
    machine.run(1);
    EXPECT_EQ(*recorder->screenFrameRate, 30) << "the take's own";
    stop();
    EXPECT_EQ(describe(videoTrack()->accepted().front().duration()), "1/30");
    EXPECT_EQ(*recorder->screenFrameRate, 60) << "after it";
}

} // namespace
} // namespace vintra
