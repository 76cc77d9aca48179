#include "Vintra/audio/AudioSelection.h"

#include "tests/audio/AudioPartsFixture.h"

#include <string>
#include <vector>

namespace vintra {
namespace {

class AudioSelectionTest : public AudioPartsFixture {};

TEST_F(AudioSelectionTest, aDeviceIsFoundByItsIdAmongThoseListed) {
    ASSERT_TRUE(selection.availableAudioInput("daw.two"));
    EXPECT_EQ(selection.availableAudioInput("daw.two")->localizedName(), "Workstation");
    EXPECT_EQ(selection.availableAudioInput("gone"), nullptr);
    EXPECT_EQ(selection.availableAudioInput(std::nullopt), nullptr);
}

TEST_F(AudioSelectionTest, aDeviceHasAtLeastOneChannel) {
    EXPECT_EQ(selection.channelCount("multi.eight"), 8);
    EXPECT_EQ(selection.channelCount("gone"), 1);
    selection.audioDeviceChannelCounts.set({{"mic.one", 0}, {"daw.two", -2}});
    EXPECT_EQ(selection.channelCount("mic.one"), 1);
    EXPECT_EQ(selection.channelCount("daw.two"), 1);
}

TEST_F(AudioSelectionTest, extraDevicesStandOnceInTheOrderOfTheirFirstRows) {
    EXPECT_TRUE(selection.extraInputDeviceIDs().empty());
    const auto row = [this](std::optional<std::string> uid) {
        return ExtraAudioInputConfig{.id = machine.processInfo->makeUUID(), .deviceID = std::move(uid)};
    };
    selection.extraAudioInputs.set(
        {row("multi.eight"), row(std::nullopt), row("mic.one"), row("multi.eight"), row("gone")});
    EXPECT_EQ(selection.extraInputDeviceIDs(), (std::vector<std::string>{"multi.eight", "mic.one", "gone"}));
}

} // namespace
} // namespace vintra
