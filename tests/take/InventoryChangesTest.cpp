#include "tests/take/RoutingFixture.h"

#include <algorithm>

namespace vintra {
namespace {

class InventoryChangesTest : public RoutingFixture {
protected:
    void unplug(const std::string& uid) {
        hardware.unplug(uid);
        machine.run(0.3);
    }
    bool isListed(const std::string& uid) const {
        const auto& devices = *recorder->availableAudioInputDevices;
        return std::ranges::any_of(devices, [&](const auto& device) { return device->uniqueID() == uid; });
    }
};

TEST_F(InventoryChangesTest, aDeviceThatComesIsListedWithItsChannels) {
    hardware.plug("late", "Late Comer", 6);
    machine.run(0.1);
    EXPECT_TRUE(isListed("late"));
    EXPECT_EQ(recorder->audioDeviceChannelCounts->at("late"), 6);
}

TEST_F(InventoryChangesTest, oneEventToldOfTwiceIsHandledOnce) {
    int updates = 0;
    const auto observation = recorder->availableAudioInputDevices.observe([&](const auto&) { ++updates; });
    hardware.plug("late", "Late Comer", 1); // the hardware and the capture devices both tell
    machine.run(0.1);
    EXPECT_EQ(updates, 1);
    hardware.notify(kAudioObjectSystemObject, AudioProperty::devices);
    machine.run(0.1);
    EXPECT_EQ(updates, 1);
}

TEST_F(InventoryChangesTest, anIdleRecorderLetsGoOfWhatHasGone) {
    selectMic();
    selectVirtualInput();
    addExtraInput("multi.eight", 3, "Keys");
    machine.run(0.3);
    unplug("mic.one");
    EXPECT_EQ(*recorder->selectedMicDeviceID, std::nullopt);
    EXPECT_FALSE(recorder->isMicPreviewRunning());
    EXPECT_EQ(*recorder->selectedDawDeviceID, "daw.two");
    unplug("daw.two");
    EXPECT_EQ(*recorder->selectedDawDeviceID, std::nullopt);
    unplug("multi.eight");
    ASSERT_EQ(recorder->extraAudioInputs->size(), 1u) << "the row stays, unarmed";
    EXPECT_EQ(recorder->extraAudioInputs->front().deviceID, std::nullopt);
    EXPECT_EQ(recorder->extraAudioInputs->front().name, "Keys");
    EXPECT_FALSE(session("multi.eight"));
    EXPECT_FALSE(recorder->lastError->has_value());
}

TEST_F(InventoryChangesTest, aDeviceThatComesBackIsListedButNotArmed) {
    selectMic();
    const auto mic = hardware.device("mic.one");
    unplug("mic.one");
    EXPECT_FALSE(isListed("mic.one"));
    hardware.plugAgain(mic);
    machine.run(0.3);
    EXPECT_TRUE(isListed("mic.one"));
    EXPECT_EQ(*recorder->selectedMicDeviceID, std::nullopt);
    EXPECT_EQ(recorder->availableAudioInputDevices->front()->uniqueID(), "mic.one") << "the last used first";
}

TEST_F(InventoryChangesTest, devicesThatGoAndComeBackBeforeItIsHandledRunAgain) {
    selectMic();
    selectVirtualInput();
    addExtraInput("multi.eight", 3, "Keys");
    machine.run(0.3);
    const std::string all[] = {"mic.one", "daw.two", "multi.eight"};
    for (const std::string& uid : all) {
        const auto device = hardware.device(uid);
        hardware.unplug(uid);
        hardware.plug(SimulatedAudioDevice(*device));
    }
    machine.run(0.5);
    for (const std::string& uid : all) {
        ASSERT_TRUE(session(uid)) << uid;
        EXPECT_TRUE(session(uid)->isRunning()) << uid;
    }
    EXPECT_EQ(*recorder->selectedMicDeviceID, "mic.one");
    EXPECT_EQ(*recorder->selectedDawDeviceID, "daw.two");
    EXPECT_EQ(recorder->extraAudioInputs->front().deviceID, "multi.eight");
}

TEST_F(InventoryChangesTest, aDevicePluggedInDuringATakeIsListedAndSelectionsStay) {
    selectMic();
    addExtraInput("multi.eight", 0);
    start();
    hardware.plug("late", "Late Comer", 1);
    machine.run(0.3);
    EXPECT_TRUE(isListed("late"));
    EXPECT_EQ(*recorder->selectedMicDeviceID, "mic.one");
    EXPECT_EQ(recorder->extraAudioInputs->front().deviceID, "multi.eight");
    EXPECT_FALSE(recorder->lastError->has_value());
    stop();
}

TEST_F(InventoryChangesTest, aMicThatGoesMidTakeIsToldOfAndItsSelectionStays) {
    selectMic();
    start();
    machine.run(1);
    unplug("mic.one");
    EXPECT_EQ(lastError(), "Mic device (Desk Microphone) disconnected mid-recording. That track stopped "
                           "receiving data — other tracks are still recording.");
    EXPECT_EQ(*recorder->selectedMicDeviceID, "mic.one");
    EXPECT_TRUE(*recorder->isRecording);
    machine.run(3);
    stop();
    EXPECT_NE(lastError().find("Recording stopped early on: microphone (3s short)."), std::string::npos)
        << lastError();
}

TEST_F(InventoryChangesTest, aDeviceThatTheTakeDoesNotUseGoesWithoutAWord) {
    selectMic();
    start();
    unplug("multi.eight");
    EXPECT_FALSE(recorder->lastError->has_value());
    stop();
}

TEST_F(InventoryChangesTest, aDeviceThatGoesBetweenTakesGoesWithoutAWord) {
    selectMic();
    unplug("mic.one");
    EXPECT_FALSE(recorder->lastError->has_value());
}

TEST_F(InventoryChangesTest, everyTrackOfTheDeviceIsNamed) {
    selectMic("multi.eight");
    addExtraInput("multi.eight", 3);
    start();
    machine.run(0.5);
    unplug("multi.eight");
    EXPECT_EQ(lastError(), "Mic and Extra input device (Stage Box) disconnected mid-recording. That track "
                           "stopped receiving data — other tracks are still recording.");
    stop();
}

TEST_F(InventoryChangesTest, anExtraInputIsNamedOnceHoweverManyItsTracksAre) {
    addExtraInput("multi.eight", 3);
    addExtraInput("multi.eight", 4);
    start();
    machine.run(0.5);
    unplug("multi.eight");
    EXPECT_EQ(lastError(), "Extra input device (Stage Box) disconnected mid-recording. That track stopped "
                           "receiving data — other tracks are still recording.");
    stop();
}

TEST_F(InventoryChangesTest, aVirtualInputStandsBeforeAnExtraInputOfItsDevice) {
    selectVirtualInput();
    addExtraInput("daw.two", 1);
    start();
    machine.run(0.5);
    unplug("daw.two");
    EXPECT_EQ(lastError(), "Virtual input and Extra input device (Workstation) disconnected mid-recording. "
                           "That track stopped receiving data — other tracks are still recording.");
    stop();
}

TEST_F(InventoryChangesTest, aVirtualInputIsNamed) {
    selectVirtualInput();
    start();
    machine.run(0.5);
    unplug("daw.two");
    EXPECT_EQ(lastError(),
              "Virtual input device (Workstation) disconnected mid-recording. That track stopped "
              "receiving data — other tracks are still recording.");
    stop();
}

TEST_F(InventoryChangesTest, aSessionThatFailsMidTakeIsToldOfAndLeftAlone) {
    selectMic();
    selectVirtualInput();
    addExtraInput("multi.eight", 0);
    start();
    const auto fail = [&](const std::string& uid, const std::string& text) {
        machine.captureDevices->notifyRuntimeError(session(uid), SystemError("simulated", 1, text));
        machine.run(0.2);
    };
    const auto made = machine.captureDevices->sessionsMade;
    fail("mic.one", "The device is on fire.");
    EXPECT_EQ(lastError(), "Mic capture stopped unexpectedly (The device is on fire.). That track stopped "
                           "receiving data — other tracks are still recording.");
    fail("daw.two", "");
    EXPECT_EQ(lastError(), "Virtual input capture stopped unexpectedly (unknown error). That track stopped "
                           "receiving data — other tracks are still recording.");
    fail("multi.eight", "Gone.");
    EXPECT_EQ(lastError(), "Extra input capture stopped unexpectedly (Gone.). That track stopped receiving "
                           "data — other tracks are still recording.");
    EXPECT_EQ(machine.captureDevices->sessionsMade, made);
    recorder->lastError.set(std::nullopt);
    machine.captureDevices->notifyRuntimeError(machine.captureDevices->makeSession(),
                                               SystemError("simulated", 1, "Not ours."));
    machine.run(0.2);
    EXPECT_FALSE(recorder->lastError->has_value());
    stop();
}

TEST_F(InventoryChangesTest, aSessionThatFailsBetweenTakesIsRebuilt) {
    selectMic();
    selectVirtualInput();
    addExtraInput("multi.eight", 0);
    machine.run(0.3);
    for (const std::string uid : {"mic.one", "daw.two", "multi.eight"}) {
        const auto old = session(uid);
        ASSERT_TRUE(old);
        const auto made = machine.captureDevices->sessionsMade;
        machine.captureDevices->notifyRuntimeError(old, SystemError("simulated", 1, "It failed."));
        machine.run(0.3);
        EXPECT_EQ(machine.captureDevices->sessionsMade, made + 1) << uid;
        ASSERT_TRUE(session(uid)) << uid;
        EXPECT_TRUE(session(uid)->isRunning());
        EXPECT_NE(session(uid), old);
        EXPECT_FALSE(recorder->lastError->has_value());
    }
}

TEST_F(InventoryChangesTest, aDeviceWhoseSessionsFailAgainAndAgainIsGivenUpWithASentence) {
    selectMic();
    addExtraInput("multi.eight", 0);
    machine.run(0.3);
    const auto fail = [&](const std::string& uid) {
        machine.captureDevices->notifyRuntimeError(session(uid), SystemError("simulated", 1, "Look at it."));
        machine.run(0.3);
    };
    for (const std::string uid : {"mic.one", "multi.eight"}) {
        for (int i = 0; i < 3; ++i)
            fail(uid);
        EXPECT_EQ(lastError(), "") << uid;
        const auto made = machine.captureDevices->sessionsMade;
        fail(uid);
        EXPECT_EQ(machine.captureDevices->sessionsMade, made) << uid;
        EXPECT_EQ(lastError(), hardware.device(uid)->name +
                                   " couldn't be heard for long, 4 times in a row, and isn't tried again by "
                                   "itself. Look at it.");
        recorder->lastError.set(std::nullopt);
    }
    machine.run(300);
    fail("mic.one");
    EXPECT_EQ(lastError(), "") << "once in five minutes is no row";
}

TEST_F(InventoryChangesTest, screensThatChangeAreListedAnew) {
    const auto queries = machine.screenCapture->contentQueries;
    machine.screens->notify();
    machine.run(0.1);
    EXPECT_EQ(machine.screenCapture->contentQueries, queries + 1);
}

TEST_F(InventoryChangesTest, theObserversDoNotKeepTheRecorder) {
    const std::weak_ptr<ScreenRecorderManager> weak = recorder;
    recorder.reset();
    EXPECT_TRUE(weak.expired());
    hardware.unplug("mic.one");
    hardware.setDefaultSystemOutputDevice(headphones->id);
    machine.screens->notify();
    machine.run(0.5);
}

} // namespace
} // namespace vintra
