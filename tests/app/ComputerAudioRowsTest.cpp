#include "tests/app/AppFixture.h"

namespace vintra {
namespace {

constexpr const char* kFailedToRoute =
    "Couldn't route your computer's audio through Vintra, so it won't be recorded. Check your output device's sample "
    "rate is 44.1kHz or 48kHz.";

class ComputerAudioRowsTest : public AppFixture {
protected:
    ComputerAudioRow computerAudio() { return row<ComputerAudioRow>("computerAudio"); }
    OtherVirtualInputRow other() { return row<OtherVirtualInputRow>("otherVirtualInput"); }
    ComputerAudioRows& rows() { return view->tracksSection.computerAudio; }
    std::string message() {
        const auto shown = computerAudio().message;
        return shown ? shown->text : "";
    }
};

TEST_F(ComputerAudioRowsTest, withTheDriverThereIsNothingToSayBeforeItIsArmed) {
    EXPECT_EQ(computerAudio().deviceName, "Vintra Audio");
    EXPECT_EQ(computerAudio().message, std::nullopt);
    EXPECT_FALSE(computerAudio().disabled);
}

TEST_F(ComputerAudioRowsTest, whatWorksIsSaidWithTheDeviceOnWhichItIsHeard) {
    rows().setArmed(true);
    machine.run(0.5);
    ASSERT_TRUE(*recorder->isHoldingAudioRouting);
    EXPECT_EQ(message(), "Routing your audio through Vintra · you're hearing it via Speakers");
    EXPECT_FALSE(computerAudio().message->isWarning);
    EXPECT_EQ(computerAudio().recordedAt, "— recorded at 48kHz");
    rows().setArmed(false);
    EXPECT_EQ(message(), "");
}

TEST_F(ComputerAudioRowsTest, theChosenMonitorIsWhereItIsHeard) {
    rows().chooseMonitor("headphones");
    rows().setArmed(true);
    machine.run(0.5);
    EXPECT_EQ(message(), "Routing your audio through Vintra · you're hearing it via Headphones");
    // A running relay stays on its output.
    rows().chooseMonitor("");
    EXPECT_EQ(message(), "Routing your audio through Vintra · you're hearing it via Headphones");
}

TEST_F(ComputerAudioRowsTest, theMonitorsAreTheOneFromBeforeAndTheOutputs) {
    EXPECT_EQ(titles(computerAudio().monitors),
              (std::vector<std::string>{"Same as Speakers", "Speakers", "Headphones"}));
    rows().setArmed(true);
    machine.run(0.5);
    EXPECT_EQ(computerAudio().monitors.title(), "Same as Speakers")
        << "the default is the virtual device now";
    rows().chooseMonitor("headphones");
    EXPECT_EQ(computerAudio().monitors.title(), "Headphones");
    EXPECT_EQ(*recorder->systemAudioMonitorUID, "headphones");
}

TEST_F(ComputerAudioRowsTest, aStoredOutputThatIsGoneIsUnavailable) {
    rows().chooseMonitor("headphones");
    hardware.unplug("headphones");
    machine.run(0.5);
    EXPECT_EQ(computerAudio().monitors.title(), "Unavailable device");
    EXPECT_EQ(titles(computerAudio().monitors),
              (std::vector<std::string>{"Same as Speakers", "Speakers", "Unavailable device"}));
}

TEST_F(ComputerAudioRowsTest, withoutAnOutputTheOneFromBeforeHasNoName) {
    hardware.chooseDefaultOutput(virtualDevice->id);
    EXPECT_EQ(titles(computerAudio().monitors).front(), "Same as before");
}

TEST_F(ComputerAudioRowsTest, aRoutingThatDoesNotComeIsAFailureAfterAWhile) {
    hardware.chooseDefaultOutput(AudioObjectID{0});
    machine.settle();
    rows().setArmed(true);
    machine.run(1);
    ASSERT_FALSE(*recorder->isHoldingAudioRouting);
    EXPECT_EQ(message(), "");
    machine.run(2.5);
    EXPECT_EQ(message(), kFailedToRoute);
    EXPECT_TRUE(computerAudio().message->isWarning);
    rows().setArmed(false);
    EXPECT_EQ(message(), "");
}

TEST_F(ComputerAudioRowsTest, withoutTheDriverItCannotBeArmedAndATakeOfTheRestStarts) {
    hardware.unplug("VintraAudioDevice");
    machine.run(0.5);
    EXPECT_EQ(computerAudio().deviceName, "Vintra Audio not installed");
    EXPECT_EQ(message(),
              "Vintra's audio driver isn't installed, so your computer's audio can't be recorded.");
    EXPECT_TRUE(computerAudio().message->isWarning);
    EXPECT_TRUE(computerAudio().disabled);
    rows().setArmed(true);
    EXPECT_FALSE(*recorder->captureSystemAudioForDaw);
    press();
    EXPECT_TRUE(*recorder->isRecording) << lastError();
    press();
}

TEST_F(ComputerAudioRowsTest, computerAudioAndTheOtherInputAreNotArmedTogether) {
    rows().setOtherDevice("daw.two");
    rows().setArmed(true);
    EXPECT_EQ(*recorder->selectedDawDeviceID, std::nullopt);
    EXPECT_TRUE(*recorder->captureSystemAudioForDaw);
    rows().setOtherArmed(true);
    EXPECT_EQ(*recorder->selectedDawDeviceID, "daw.two") << "as it was before";
    EXPECT_FALSE(*recorder->captureSystemAudioForDaw);
    machine.run(1);
}

TEST_F(ComputerAudioRowsTest, theOtherInputsRowIsKeptBetweenRuns) {
    EXPECT_FALSE(other().isShown);
    rows().showOtherVirtualInput();
    EXPECT_TRUE(other().isShown);
    openWindow();
    EXPECT_TRUE(other().isShown);
    rows().setOtherArmed(true);
    EXPECT_TRUE(other().isArmed());
    rows().removeOtherVirtualInput();
    EXPECT_FALSE(other().isShown);
    EXPECT_FALSE(other().isArmed());
    EXPECT_EQ(boolForKey(*machine.userDefaults, "otherVirtualInputShown"), false);
}

TEST_F(ComputerAudioRowsTest, theOtherInputIsNotTheMicrophones) {
    recorder->selectedMicDeviceID.set("mic.one");
    rows().setOtherArmed(true);
    EXPECT_EQ(*recorder->selectedDawDeviceID, "daw.two");
    machine.run(0.5);
}

TEST_F(ComputerAudioRowsTest, inATakeTheHearingMayBeChosenAndNothingElse) {
    rows().setArmed(true);
    machine.run(0.5);
    press();
    ASSERT_TRUE(*recorder->isRecording) << lastError();
    EXPECT_TRUE(computerAudio().disabled);
    EXPECT_TRUE(other().disabled);
    rows().setArmed(false);
    rows().setOtherArmed(true);
    EXPECT_TRUE(*recorder->captureSystemAudioForDaw);
    EXPECT_EQ(*recorder->selectedDawDeviceID, std::nullopt);
    rows().setLowLatency(true);
    EXPECT_TRUE(computerAudio().lowLatency);
    press();
    machine.run(1);
}

TEST_F(ComputerAudioRowsTest, theHelpNamesTheSystem) {
    EXPECT_EQ(computerAudioHelp("macOS"),
              "Your computer's sound arrives through an audio device, so macOS asks for "
              "microphone permission — no microphone is recorded.");
}

} // namespace
} // namespace vintra
