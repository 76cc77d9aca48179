// The start of the relay, ended or made to fail at each of its steps: the output comes back, and no step that
// was under way takes it again.

#include "Vintra/audio/SystemOutputRouter.h"
#include "Vintra/platform/simulated/SimulatedMachine.h"
#include "Vintra/take/ScreenRecorderManager.h"

#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace vintra {
namespace {

/// A recorder on a machine of its own with the virtual device, speakers at another rate, which are the user's
/// choice, and headphones.
struct DeskWithOutputs {
    DeskWithOutputs() {
        SimulatedAudioDevice loopback = output(SystemOutputRouter::virtualDeviceUID, 48'000);
        loopback.inputStreamChannels = {2};
        loopback.isLoopback = true;
        loopback.sampleRates = {44'100, 48'000};
        loopback.rateChangeSeconds = 0.05;
        virtualDevice = hardware.plug(loopback);
        speakers = hardware.plug(output("speakers", 44'100));
        headphones = hardware.plug(output("headphones", 48'000));
        hardware.defaultOutput = speakers->id;
        hardware.defaultSystemOutput = speakers->id;
        recorder = ScreenRecorderManager::make(machine.platform());
        machine.run(1);
    }
    static SimulatedAudioDevice output(const std::string& uid, double rate) {
        SimulatedAudioDevice device;
        device.uid = uid;
        device.name = uid;
        device.inputStreamChannels = {};
        device.outputStreamChannels = {2};
        device.nominalSampleRate = rate;
        return device;
    }
    /// Turns computer audio on and lets that many of the machine's events pass; false if that was all of the
    /// start.
    bool beginAndPass(int events) {
        recorder->captureSystemAudioForDaw.set(true);
        int passed = -1;
        return machine.runMainUntil([&] { return ++passed >= events || isHeld(); }, 1) && !isHeld();
    }
    bool isHeld() const { return *recorder->isHoldingAudioRouting; }
    std::optional<std::string> pending() const {
        return stringForKey(*machine.userDefaults, SystemOutputRouter::kPendingRestoreKey);
    }
    void expectTheUsersOwn(const std::string& when) const {
        EXPECT_EQ(hardware.defaultOutput, speakers->id) << when;
        EXPECT_EQ(pending(), std::nullopt) << when;
        EXPECT_EQ(machine.audioDeviceIO->runningProcs(), 0) << when;
    }

    SimulatedMachine machine;
    SimulatedAudioHardware& hardware = *machine.audioHardware;
    std::shared_ptr<SimulatedAudioDevice> virtualDevice;
    std::shared_ptr<SimulatedAudioDevice> speakers;
    std::shared_ptr<SimulatedAudioDevice> headphones;
    std::shared_ptr<ScreenRecorderManager> recorder;
};

/// Does that to a start after each number of its events, from the given one on. After none it is still to begin.
void afterEachStep(const std::function<void(DeskWithOutputs&, const std::string& when)>& act, int first = 0) {
    constexpr int kFewestSteps = 10;
    int steps = first;
    for (bool isUnderWay = true; isUnderWay; ++steps) {
        DeskWithOutputs desk;
        isUnderWay = desk.beginAndPass(steps);
        act(desk, "after " + std::to_string(steps) + " events");
    }
    EXPECT_GE(steps, kFewestSteps) << "the start has more steps than that";
}

TEST(RelayStartTest, aWayOutOfTheProgramAtAnyStepPutsTheOutputBackForGood) {
    const auto leave = [](DeskWithOutputs& desk, const std::string& when) {
        desk.recorder->stopSystemAudioRelay();
        desk.expectTheUsersOwn(when);
        desk.machine.run(5);
        desk.expectTheUsersOwn(when + ", later");
    };
    afterEachStep(leave, 1);
}

TEST(RelayStartTest, turningItOffAtAnyStepPutsTheOutputBackForGood) {
    afterEachStep([](DeskWithOutputs& desk, const std::string& when) {
        desk.recorder->captureSystemAudioForDaw.set(false);
        desk.expectTheUsersOwn(when);
        desk.machine.run(5);
        desk.expectTheUsersOwn(when + ", later");
    });
}

TEST(RelayStartTest, theEndOfThePreviewsAtAnyStepIsTheEndOfTheRelayToo) {
    afterEachStep([](DeskWithOutputs& desk, const std::string& when) {
        desk.machine.complete(desk.recorder->endPreviews());
        desk.expectTheUsersOwn(when);
        desk.machine.run(5);
        desk.expectTheUsersOwn(when + ", later");
        EXPECT_FALSE(desk.isHeld()) << when;
    });
}

TEST(RelayStartTest, aRecorderThatGoesAtAnyStepLeavesNothingThatIsStillToCome) {
    afterEachStep([](DeskWithOutputs& desk, const std::string& when) {
        const bool wasHeld = desk.isHeld();
        desk.recorder.reset();
        desk.machine.run(5);
        EXPECT_EQ(desk.machine.audioDeviceIO->runningProcs(), 0) << when;
        if (wasHeld) {
            EXPECT_EQ(desk.pending(), "speakers") << "the way back is for the next launch, " << when;
        } else {
            desk.expectTheUsersOwn(when);
        }
    });
}

TEST(RelayStartTest, aStartThatFailsAtAnyStepPutsTheOutputBackAndSaysSo) {
    for (const auto fault : {&SimulatedAudioDevice::refusesIOProc, &SimulatedAudioDevice::failsToStartIO}) {
        for (const bool isOfOutput : {false, true}) {
            afterEachStep([&](DeskWithOutputs& desk, const std::string& when) {
                if (desk.isHeld()) return;
                (*(isOfOutput ? desk.speakers : desk.virtualDevice)).*fault = true;
                desk.machine.run(5);
                if (desk.isHeld()) return; // that step was over
                desk.expectTheUsersOwn(when);
                EXPECT_EQ(desk.recorder->lastError->value_or(""),
                          "Couldn't route computer audio to your output device, so it won't be recorded.")
                    << when;
            });
        }
    }
}

TEST(RelayStartTest, anOutputThatGoesAtAnyStepIsToldOf) {
    afterEachStep([](DeskWithOutputs& desk, const std::string& when) {
        if (desk.isHeld()) return;
        desk.hardware.unplug("speakers");
        desk.machine.run(5);
        if (desk.isHeld()) { // the relay had been started
            EXPECT_EQ(
                desk.recorder->lastError->value_or(""),
                "The output device that you heard computer audio on has gone. You can't hear it until you "
                "connect another.")
                << when;
            return;
        }
        EXPECT_EQ(desk.machine.audioDeviceIO->runningProcs(), 0) << when;
        EXPECT_EQ(desk.pending(), std::nullopt) << when;
        EXPECT_EQ(desk.recorder->lastError->value_or(""),
                  "Couldn't route computer audio to your output device, so it won't be recorded.")
            << when;
    });
}

TEST(RelayStartTest, twoThatAskForItGetOneRelayAndOneThatGivesUpEndsIt) {
    afterEachStep([](DeskWithOutputs& desk, const std::string& when) {
        TaskScope scope;
        bool isOver = false;
        const auto take = [&]() -> Task<> {
            co_await desk.recorder->startRecording(URL::fileURL("/take.mov"));
            isOver = true;
        };
        desk.machine.mainThread->runNow([&] { scope.start(take()); });
        desk.recorder->captureSystemAudioForDaw.set(false);
        desk.machine.run(5);
        EXPECT_TRUE(isOver) << when;
        desk.expectTheUsersOwn(when);
    });
}

} // namespace
} // namespace vintra
