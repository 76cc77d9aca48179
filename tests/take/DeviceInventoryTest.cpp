#include "Vintra/take/DeviceInventory.h"

#include "Vintra/platform/simulated/SimulatedMachine.h"
#include "tests/video/CameraPartsFixture.h"

#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace vintra {
namespace {

/// The inventory with the parts that it follows, and no recorder.
class DeviceInventoryTest : public ::testing::Test {
protected:
    void SetUp() override {
        hardware.plug("mic.one", "Desk Microphone", 1);
        hardware.plug("daw.two", "Workstation", 2);
        inventory.refreshAudioDevices();
        inventory.observe();
        settle();
    }
    void settle() { machine.run(0.3); }
    std::vector<std::string> listed() const {
        std::vector<std::string> ids;
        for (const auto& device : *audio.availableAudioInputDevices)
            ids.push_back(device->uniqueID());
        return ids;
    }
    /// A take whose tracks are of these devices.
    void begin(const char* micUID, const char* secondUID, const char* extraUID) {
        take = std::make_unique<RunningTake>(URL::fileURL("/tmp/take_video.mov"));
        const auto trackOf = [this](const char* uid) {
            auto track = std::make_shared<AudioTrack>();
            track->device = machine.captureDevices->deviceWithUniqueID(uid);
            return track;
        };
        if (micUID) take->micTrack = trackOf(micUID);
        if (secondUID) take->dawTrack = trackOf(secondUID);
        if (extraUID) {
            take->extraInputGroups = {std::make_shared<ExtraInputDeviceGroup>()};
            take->extraInputGroups[0]->device = machine.captureDevices->deviceWithUniqueID(extraUID);
        }
        isRecording.set(true);
    }

    SimulatedMachine machine;
    SimulatedAudioHardware& hardware = *machine.audioHardware;
    const Platform platform = machine.platform();
    AudioSelection audio{LevelsModel::make(*machine.hostClock, *machine.mainThread)};
    ScreenSelection screen;
    Published<bool> isRecording{false};
    Published<std::optional<std::string>> lastError;
    std::unique_ptr<RunningTake> take;
    SessionControl sessionControl{*machine.dispatchQueues, *machine.mainThread};
    std::shared_ptr<AudioSamplePath> samplePath =
        std::make_shared<AudioSamplePath>(machine.hostClock, audio.levels);
    OutputRouting outputRouting{
        {.platform = platform, .selection = audio, .isRecording = isRecording, .lastError = lastError}};
    AudioPreviews previews{{.platform = platform,
                            .selection = audio,
                            .sessionControl = sessionControl,
                            .outputRouting = outputRouting,
                            .isRecording = isRecording,
                            .lastError = lastError,
                            .samplePath = samplePath}};
    CameraTestState cameraState{machine};
    Cameras cameras{cameraState.surroundings()};
    CaptureOverlays overlays{machine.captureOverlayWindows, screen, isRecording};
    CaptureArea area{{.platform = platform,
                      .selection = screen,
                      .overlays = overlays,
                      .isRecording = isRecording,
                      .lastError = lastError}};
    ScreenSource screenSource{
        {.platform = platform, .selection = screen, .area = area, .overlays = overlays}};
    DeviceInventory inventory{{.platform = platform,
                               .audio = audio,
                               .previews = previews,
                               .outputRouting = outputRouting,
                               .screenSource = screenSource,
                               .cameraSelection = cameraState.selection,
                               .cameras = cameras,
                               .isRecording = isRecording,
                               .take = take,
                               .lastError = lastError}};
};

TEST_F(DeviceInventoryTest, theDeviceUsedLastStandsInFront) {
    EXPECT_EQ(listed(), (std::vector<std::string>{"mic.one", "daw.two"}));
    machine.userDefaults->values["lastUsedAudioDeviceID"] = std::string("daw.two");
    inventory.refreshAudioDevices();
    EXPECT_EQ(listed(), (std::vector<std::string>{"daw.two", "mic.one"}));
    machine.userDefaults->values["lastUsedAudioDeviceID"] = std::string("gone");
    inventory.refreshAudioDevices();
    EXPECT_EQ(listed(), (std::vector<std::string>{"mic.one", "daw.two"}));
    EXPECT_EQ(audio.audioDeviceChannelCounts->at("daw.two"), 2);
}

TEST_F(DeviceInventoryTest, aDeviceThatComesIsListedAndTheOtherPartsAreAsked) {
    const auto queries = machine.screenCapture->contentQueries;
    hardware.plug("late", "Late Comer", 6);
    settle();
    EXPECT_EQ(listed(), (std::vector<std::string>{"mic.one", "daw.two", "late"}));
    EXPECT_EQ(machine.screenCapture->contentQueries, queries + 1) << "displays come and go with docks";
    EXPECT_EQ(screen.availableDisplays->size(), 1u);
    EXPECT_FALSE(*audio.systemAudioDriverInstalled);
    hardware.plug("VintraAudioDevice", "Vintra Audio", 2);
    settle();
    EXPECT_TRUE(*audio.systemAudioDriverInstalled);
}

TEST_F(DeviceInventoryTest, whatHasGoneIsLetGoOfBetweenTakes) {
    audio.selectedMicDeviceID.set("mic.one");
    audio.selectedDawDeviceID.set("daw.two");
    const UUID row = machine.processInfo->makeUUID();
    audio.extraAudioInputs.set({{.id = row, .deviceID = "mic.one", .name = "Keys"}});
    hardware.unplug("mic.one");
    settle();
    EXPECT_EQ(*audio.selectedMicDeviceID, std::nullopt);
    EXPECT_EQ(*audio.selectedDawDeviceID, "daw.two");
    ASSERT_EQ(audio.extraAudioInputs->size(), 1u) << "the row stays, unarmed";
    EXPECT_EQ(audio.extraAudioInputs->front().deviceID, std::nullopt);
    EXPECT_EQ(audio.extraAudioInputs->front().name, "Keys");
    hardware.plug("mic.one", "Desk Microphone", 1);
    settle();
    EXPECT_EQ(*audio.selectedMicDeviceID, std::nullopt) << "its return arms nothing";
    EXPECT_EQ(audio.extraAudioInputs->front().deviceID, std::nullopt);
    EXPECT_FALSE(lastError->has_value());
}

TEST_F(DeviceInventoryTest, aTakeKeepsItsSelectionsAndTheUserIsToldWhichTracksStopped) {
    audio.selectedMicDeviceID.set("mic.one");
    settle();
    begin("mic.one", nullptr, "mic.one");
    hardware.unplug("mic.one");
    settle();
    EXPECT_EQ(*audio.selectedMicDeviceID, "mic.one");
    EXPECT_EQ(listed(), std::vector<std::string>{"daw.two"});
    EXPECT_EQ(*lastError,
              "Mic and Extra input device (Desk Microphone) disconnected mid-recording. That track "
              "stopped receiving data — other tracks are still recording.");
}

TEST_F(DeviceInventoryTest, theSecondTrackIsNamedByItsDevice) {
    begin("mic.one", "daw.two", "daw.two");
    hardware.unplug("daw.two");
    settle();
    EXPECT_EQ(*lastError,
              "Virtual input and Extra input device (Workstation) disconnected mid-recording. That track "
              "stopped receiving data — other tracks are still recording.");
}

TEST_F(DeviceInventoryTest, aDeviceThatTheTakeDoesNotUseGoesWithoutAWord) {
    begin("mic.one", nullptr, nullptr);
    hardware.unplug("daw.two");
    settle();
    EXPECT_FALSE(lastError->has_value());
}

TEST_F(DeviceInventoryTest, aSessionThatFailsIsReplacedBetweenTakesAndToldInOne) {
    audio.selectedMicDeviceID.set("mic.one");
    settle();
    const auto first = previews.mic().session();
    machine.captureDevices->notifyRuntimeError(first, SystemError("test", 1, "It broke."));
    settle();
    EXPECT_NE(previews.mic().session(), first);
    EXPECT_FALSE(lastError->has_value());
    begin("mic.one", nullptr, nullptr);
    const auto second = previews.mic().session();
    machine.captureDevices->notifyRuntimeError(second, SystemError("test", 1, ""));
    settle();
    EXPECT_EQ(previews.mic().session(), second);
    EXPECT_EQ(*lastError,
              "Mic capture stopped unexpectedly (unknown error). That track stopped receiving data "
              "— other tracks are still recording.");
}

TEST_F(DeviceInventoryTest, oneEventIsHandledOnce) {
    int updates = 0;
    const auto observation = audio.availableAudioInputDevices.observe([&](const auto&) { ++updates; });
    hardware.plug("late", "Late Comer", 1); // the hardware and the capture devices both tell
    settle();
    EXPECT_EQ(updates, 1);
}

} // namespace
} // namespace vintra
