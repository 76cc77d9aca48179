// What becomes of a hold of the default output when another device becomes the default, or when the one that the
// user hears goes.

#include "tests/audio/OutputRoutingFixture.h"

namespace vintra {
namespace {

class OutputHoldTest : public OutputRoutingFixture {
protected:
    void SetUp() override {
        OutputRoutingFixture::SetUp();
        startUp();
        routing.watchSystemOutput();
        hold();
        ASSERT_TRUE(routing.hasSystemAudioRelay());
    }
    void beginTake() {
        routing.noteOutputClock();
        isRecording.set(true);
    }
    void endTake() {
        isRecording.set(false);
        routing.forgetOutputClock();
    }
    /// As a system does it: another device takes the place of the one that is pulled out.
    void pullOut(const std::shared_ptr<SimulatedAudioDevice>& gone,
                 const std::shared_ptr<SimulatedAudioDevice>& next) {
        hardware.unplug(gone->uid);
        hardware.defaultSystemOutput = next->id;
        hardware.chooseDefaultOutput(next->id);
        machine.run(0.5);
    }
    void choose(const std::shared_ptr<SimulatedAudioDevice>& device) {
        hardware.chooseDefaultOutput(device->id);
        machine.run(0.5);
    }
    void expectHeld(const std::shared_ptr<SimulatedAudioDevice>& heardOn) {
        EXPECT_TRUE(*selection.isHoldingAudioRouting);
        EXPECT_EQ(hardware.defaultOutput, virtualDevice->id);
        EXPECT_EQ(machine.audioDeviceIO->runningProcs(), 2);
        int cycles = 0;
        heardOn->playing = [&](AudioBufferList) { ++cycles; };
        machine.run(0.2);
        heardOn->playing = nullptr;
        EXPECT_GT(cycles, 0) << "nothing is played on " << heardOn->name;
    }
    void expectLeftAlone(const std::shared_ptr<SimulatedAudioDevice>& chosen) {
        EXPECT_FALSE(*selection.isHoldingAudioRouting);
        EXPECT_EQ(hardware.defaultOutput, chosen->id);
        EXPECT_EQ(pending(), std::nullopt);
        EXPECT_EQ(machine.audioDeviceIO->runningProcs(), 0);
    }
};

TEST_F(OutputHoldTest, aDeviceThatIsChosenInATakeIsRespectedAndTold) {
    beginTake();
    choose(headphones);
    expectLeftAlone(headphones);
    const std::string told =
        "Your sound output was switched to Headphones mid-recording, so computer audio has stopped recording — "
        "everything from this point is missing from that track. Stop and start a new recording; the other "
        "tracks are unaffected.";
    EXPECT_EQ(*lastError, told);
    EXPECT_EQ(routing.lossesOfTake(), std::vector<std::string>{told});
    endTake();
    EXPECT_TRUE(routing.lossesOfTake().empty());
    routing.stopSystemAudioRelay();
    EXPECT_EQ(hardware.defaultOutput, headphones->id) << "nothing writes over it afterwards";
}

TEST_F(OutputHoldTest, theNextTakeHoldsAgainAndGivesBackWhatWasChosen) {
    beginTake();
    choose(headphones);
    endTake();
    machine.complete(routing.startSystemAudioRelayIfNeeded());
    expectHeld(headphones);
    EXPECT_EQ(pending(), "headphones");
    routing.stopSystemAudioRelay();
    expectLeftAlone(headphones);
}

TEST_F(OutputHoldTest, theDeviceOfBeforeThatIsChosenAgainInATakeIsAChoiceToo) {
    beginTake();
    choose(speakers);
    expectLeftAlone(speakers);
    EXPECT_EQ(routing.lossesOfTake().size(), 1u);
}

TEST_F(OutputHoldTest, aChoiceThatNobodyHasSeenYetIsNotWrittenOver) {
    hardware.chooseDefaultOutput(headphones->id);
    routing.stopSystemAudioRelay();
    expectLeftAlone(headphones);
}

TEST_F(OutputHoldTest, aDeviceThatIsPulledOutInATakeIsMadeUpForAndTold) {
    beginTake();
    pullOut(speakers, headphones);
    expectHeld(headphones);
    EXPECT_EQ(pending(), "headphones");
    EXPECT_EQ(*lastError,
              "Your output device changed mid-recording, so a moment of computer audio may be missing. "
              "You hear it on Headphones now.");
    EXPECT_EQ(routing.lossesOfTake(), std::vector<std::string>{**lastError});
    endTake();
    routing.stopSystemAudioRelay();
    expectLeftAlone(headphones);
}

TEST_F(OutputHoldTest, whatCannotBeMadeUpForIsToldAsALoss) {
    beginTake();
    virtualDevice->failsToStartIO = true;
    pullOut(speakers, headphones);
    expectLeftAlone(headphones);
    EXPECT_EQ(
        *lastError,
        "Your output device changed mid-recording and couldn't be routed through Vintra Audio again, so "
        "computer audio has stopped recording — everything from this point is missing from that track. Stop "
        "and start a new recording; the other tracks are unaffected.");
    EXPECT_EQ(routing.lossesOfTake(), std::vector<std::string>{**lastError});
}

TEST_F(OutputHoldTest, withoutAnyOutputTheTakeGoesOnUnheardUntilOneComes) {
    beginTake();
    hardware.unplug("headphones");
    hardware.unplug("speakers");
    machine.run(0.5);
    EXPECT_TRUE(*selection.isHoldingAudioRouting);
    EXPECT_EQ(hardware.defaultOutput, virtualDevice->id);
    EXPECT_EQ(*lastError, "The output device that you heard computer audio on has gone. The recording is "
                          "unaffected, but you can't hear it until you connect another.");
    hardware.plugAgain(headphones);
    hardware.setDefaultSystemOutputDevice(headphones->id);
    machine.run(0.5);
    hardware.notify(kAudioObjectSystemObject, AudioProperty::devices);
    machine.run(0.5);
    expectHeld(headphones);
    EXPECT_EQ(*lastError, "The output device that you heard computer audio on has gone. The recording is "
                          "unaffected. You hear it on Headphones now.");
}

TEST_F(OutputHoldTest, aStopAfterTheDeviceOfBeforeHasGoneLeavesAnotherThatIsHeard) {
    hardware.unplug("speakers");
    routing.stopSystemAudioRelay();
    machine.run(0.5);
    expectLeftAlone(headphones);
}

TEST_F(OutputHoldTest, aMonitorThatIsPulledOutGivesWayToTheUsersOutput) {
    routing.stopSystemAudioRelay();
    selection.systemAudioMonitorUID.set("headphones");
    hold();
    beginTake();
    hardware.unplug("headphones");
    machine.run(0.5);
    expectHeld(speakers);
    EXPECT_EQ(routing.lossesOfTake().size(), 1u);
    endTake();
    routing.stopSystemAudioRelay();
    expectLeftAlone(speakers);
}

TEST_F(OutputHoldTest, betweenTakesADeviceThatIsChosenIsHeardFromThenOn) {
    choose(headphones);
    expectHeld(headphones);
    EXPECT_EQ(pending(), "headphones");
    EXPECT_FALSE(lastError->has_value());
}

TEST_F(OutputHoldTest, anotherProgramThatInsistsHasItsWayAndItIsTold) {
    for (int time = 0; time < 4; ++time)
        choose(headphones);
    expectLeftAlone(headphones);
    EXPECT_EQ(
        *lastError,
        "Your sound output was switched to Headphones again and again, so computer audio isn't routed through "
        "Vintra any more. The next recording tries again; end the program that switches it.");
}

TEST_F(OutputHoldTest, aHoldThatAnotherProgramHasWornDownIsGivenUpAtOnceAndTold) {
    hardware.isContested = true;
    choose(headphones);
    expectLeftAlone(headphones);
    ASSERT_TRUE(lastError->has_value());
    EXPECT_TRUE((*lastError)->starts_with("Your sound output was switched to Headphones again and again"))
        << **lastError;
}

TEST_F(OutputHoldTest, aStopWhileTheHoldIsTakenAgainLeavesTheSystemsChoice) {
    beginTake();
    hardware.unplug("speakers");
    hardware.defaultSystemOutput = headphones->id;
    hardware.chooseDefaultOutput(headphones->id);
    for (int events = 0; events < 12; ++events) {
        int passed = 0;
        machine.runMainUntil([&] { return passed++ >= 1; }, 1);
        if (events == 5) routing.stopSystemAudioRelay();
    }
    machine.run(2);
    expectLeftAlone(headphones);
}

TEST_F(OutputHoldTest, aDefaultThatCannotBeReadAnyMoreIsTakenAgainOrTold) {
    beginTake();
    hardware.chooseDefaultOutput(std::nullopt);
    machine.run(0.5);
    expectHeld(speakers);
    EXPECT_EQ(routing.lossesOfTake().size(), 1u);
}

TEST_F(OutputHoldTest, theSentenceOfTheChangedOutputDoesNotCoverTheLoss) {
    beginTake();
    hardware.chooseDefaultOutput(headphones->id);
    hardware.setDefaultSystemOutputDevice(headphones->id);
    machine.run(0.5);
    EXPECT_EQ(*lastError, routing.lossesOfTake().at(0));
}

} // namespace
} // namespace vintra
