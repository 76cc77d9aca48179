#include "tests/app/AppFixture.h"

namespace vintra {
namespace {

class MicTrackRowsTest : public AppFixture {
protected:
    MicTrackRow mic() { return row<MicTrackRow>("microphone"); }
    MicTrackRow extra(size_t index) {
        return row<MicTrackRow>("extra-" + recorder->extraAudioInputs->at(index).id.uuidString());
    }
    MicTrackRows& rows() { return view->tracksSection.microphones; }
};

TEST_F(MicTrackRowsTest, nothingIsArmedAtFirst) {
    EXPECT_FALSE(mic().isArmed());
    EXPECT_EQ(mic().namePlaceholder, "Microphone");
    EXPECT_EQ(mic().availableDevices.title(), "None");
    EXPECT_TRUE(mic().showAddLink);
    EXPECT_FALSE(mic().isRemovable());
    EXPECT_EQ(mic().meterSource, LevelKey::mic());
}

TEST_F(MicTrackRowsTest, vintrasOwnDeviceIsNoMicrophone) {
    EXPECT_EQ(titles(mic().availableDevices),
              (std::vector<std::string>{"None", "Desk Microphone", "Workstation", "Stage Box"}));
}

TEST_F(MicTrackRowsTest, theCheckArmsTheFirstDeviceAndGivesBackTheOneFromBefore) {
    rows().setArmed(std::nullopt, true);
    EXPECT_EQ(mic().availableDevices.title(), "Desk Microphone");
    rows().setDevice(std::nullopt, "multi.eight");
    rows().setArmed(std::nullopt, false);
    EXPECT_EQ(*recorder->selectedMicDeviceID, std::nullopt);
    rows().setArmed(std::nullopt, true);
    EXPECT_EQ(*recorder->selectedMicDeviceID, "multi.eight");
}

TEST_F(MicTrackRowsTest, theCheckPassesOverADeviceThatAnotherRowHas) {
    recorder->selectedDawDeviceID.set("mic.one");
    rows().setArmed(std::nullopt, true);
    EXPECT_EQ(*recorder->selectedMicDeviceID, "daw.two");
}

TEST_F(MicTrackRowsTest, aDeviceWithSeveralChannelsHasAMenuOfThem) {
    rows().setDevice(std::nullopt, "mic.one");
    EXPECT_EQ(mic().channelCount, 1);
    rows().setDevice(std::nullopt, "multi.eight");
    EXPECT_EQ(mic().channelCount, 8);
    rows().setChannel(std::nullopt, 7);
    EXPECT_EQ(mic().channelIndex, 7);
    rows().setChannel(std::nullopt, 8);
    rows().setChannel(std::nullopt, -1);
    EXPECT_EQ(mic().channelIndex, 7);
}

TEST_F(MicTrackRowsTest, theLastRowHasTheLink) {
    rows().addMicrophone();
    EXPECT_FALSE(mic().showAddLink);
    EXPECT_TRUE(extra(0).showAddLink);
    EXPECT_TRUE(extra(0).isRemovable());
    EXPECT_FALSE(extra(0).isArmed());
    EXPECT_EQ(extra(0).namePlaceholder, "Microphone 2");
    EXPECT_EQ(extra(0).meterSource, LevelKey::extra(recorder->extraAudioInputs->at(0).id));
    rows().removeMicrophone(recorder->extraAudioInputs->at(0).id);
    EXPECT_TRUE(mic().showAddLink);
    EXPECT_TRUE(recorder->extraAudioInputs->empty());
}

TEST_F(MicTrackRowsTest, theControlsOfAFurtherRowChangeItAlone) {
    rows().addMicrophone();
    rows().addMicrophone();
    const UUID second = recorder->extraAudioInputs->at(1).id;
    rows().setDevice(second, "multi.eight");
    rows().setChannel(second, 3);
    rows().setName(second, "Guest");
    rows().setGain(second, 6);
    EXPECT_EQ(recorder->extraAudioInputs->at(1),
              (ExtraAudioInputConfig{
                  .id = second, .deviceID = "multi.eight", .channelIndex = 3, .name = "Guest", .gainDB = 6}));
    EXPECT_EQ(recorder->extraAudioInputs->at(0),
              ExtraAudioInputConfig{.id = recorder->extraAudioInputs->at(0).id});
    rows().setDevice(second, "daw.two");
    EXPECT_EQ(extra(1).channelIndex, 0);
}

TEST_F(MicTrackRowsTest, aFurtherRowMayRecordAnotherChannelOfADeviceInUse) {
    recorder->selectedMicDeviceID.set("mic.one");
    hardware.unplug("daw.two");
    hardware.unplug("multi.eight");
    machine.run(0.5);
    rows().addMicrophone();
    rows().setArmed(recorder->extraAudioInputs->at(0).id, true);
    EXPECT_EQ(extra(0).deviceID, "mic.one");
}

TEST_F(MicTrackRowsTest, theGainIsSaidWithItsSign) {
    EXPECT_EQ((MicTrackRow{.gainDB = 0}.gainTitle()), "0 dB");
    EXPECT_EQ((MicTrackRow{.gainDB = 6}.gainTitle()), "+6 dB");
    EXPECT_EQ((MicTrackRow{.gainDB = -12}.gainTitle()), "−12 dB");
    EXPECT_EQ((MicTrackRow{.gainDB = -0.5}.gainTitle()), "−0.5 dB");
    EXPECT_EQ((MicTrackRow{.gainDB = -0.01}.gainTitle()), "0 dB");
    rows().setGain(std::nullopt, 1000);
    EXPECT_EQ(mic().gainDB, 60);
}

TEST_F(MicTrackRowsTest, nothingButTheMeterWorksInATake) {
    rows().addMicrophone();
    rows().setDevice(std::nullopt, "mic.one");
    machine.run(0.5);
    press();
    ASSERT_TRUE(*recorder->isRecording) << lastError();
    EXPECT_TRUE(mic().disabled);
    EXPECT_TRUE(extra(0).disabled);
    rows().setArmed(std::nullopt, false);
    rows().setName(std::nullopt, "Late");
    rows().setGain(std::nullopt, 3);
    rows().setDevice(std::nullopt, "daw.two");
    rows().addMicrophone();
    EXPECT_EQ(*recorder->selectedMicDeviceID, "mic.one");
    EXPECT_EQ(*recorder->micTrackName, "");
    EXPECT_EQ(*recorder->micGainDB, 0);
    EXPECT_EQ(recorder->extraAudioInputs->size(), 1u);
    press();
    EXPECT_FALSE(mic().disabled);
}

TEST_F(MicTrackRowsTest, aDeviceThatGoesInATakeIsChosenStill) {
    rows().setDevice(std::nullopt, "mic.one");
    machine.run(0.5);
    press();
    hardware.unplug("mic.one");
    machine.run(0.5);
    EXPECT_TRUE(mic().isArmed());
    EXPECT_EQ(mic().availableDevices.title(), "Unavailable device");
    press();
    machine.run(1);
}

TEST_F(MicTrackRowsTest, withoutADeviceThereIsNothingToArm) {
    for (const char* uid : {"mic.one", "daw.two", "multi.eight"})
        hardware.unplug(uid);
    machine.run(0.5);
    EXPECT_FALSE(mic().canArm);
    EXPECT_FALSE(mic().availableDevices.isEnabled);
    EXPECT_EQ(mic().availableDevices.title(), "No microphone connected");
    rows().setArmed(std::nullopt, true);
    EXPECT_FALSE(mic().isArmed());
}

TEST_F(MicTrackRowsTest, anArmedRowThatBringsNoSoundSaysSo) {
    const auto device = machine.audioHardware->device("mic.one");
    ASSERT_NE(device, nullptr);
    device->signal = [](uint32_t, int64_t, CMTime) { return 0.0f; };
    machine.run(10);
    EXPECT_FALSE(mic().isSilent) << "it isn't armed";
    rows().setDevice(std::nullopt, "mic.one");
    machine.run(4.5);
    EXPECT_FALSE(mic().isSilent);
    machine.run(1);
    EXPECT_TRUE(mic().isSilent);
    device->signal = [](uint32_t, int64_t frame, CMTime) { return frame % 2 == 0 ? 0.1f : -0.1f; };
    machine.run(0.5);
    EXPECT_FALSE(mic().isSilent);
    // What sounds on is no silence, and a device that sends nothing at all is one.
    machine.run(20);
    EXPECT_FALSE(mic().isSilent);
    device->isSilent = true;
    machine.run(6);
    EXPECT_TRUE(mic().isSilent);
    rows().setDevice(std::nullopt, "multi.eight");
    EXPECT_FALSE(mic().isSilent) << "another device has its time from the start";
}

TEST_F(MicTrackRowsTest, eachFurtherInputIsListenedToByItself) {
    const auto quiet = machine.audioHardware->device("daw.two");
    ASSERT_NE(quiet, nullptr);
    quiet->signal = [](uint32_t, int64_t, CMTime) { return 0.0f; };
    rows().setDevice(std::nullopt, "mic.one");
    rows().addMicrophone();
    rows().addMicrophone();
    rows().setDevice(recorder->extraAudioInputs->at(0).id, "daw.two");
    rows().setDevice(recorder->extraAudioInputs->at(1).id, "multi.eight");
    machine.run(7);
    EXPECT_FALSE(mic().isSilent);
    EXPECT_TRUE(extra(0).isSilent);
    EXPECT_FALSE(extra(1).isSilent);
}

} // namespace
} // namespace vintra
