#include "tools/vintra-take/InputChoice.h"

#include <gtest/gtest.h>

namespace vintra {
namespace {

const std::vector<KnownInput> kInputs = {
    {.id = "alsa_input.usb", .name = "USB Mixer", .channels = 4},
    {.id = "bluez_input.00:1A:7D:DA:71:13", .name = "Headset", .channels = 1},
    {.id = "bluez_input.00:1A", .name = "Odd one", .channels = 8},
    {.id = "null", .name = "Null", .channels = 2},
};

InputChoice chosen(const std::string& text, int fields = 3) {
    const auto result = parseInputChoice(text, kInputs, fields);
    if (const auto* problem = std::get_if<InputProblem>(&result)) {
        ADD_FAILURE() << problem->sentence;
        return {};
    }
    return std::get<InputChoice>(result);
}

InputProblem refusedInput(const std::string& text, int fields = 3) {
    const auto result = parseInputChoice(text, kInputs, fields);
    if (const auto* problem = std::get_if<InputProblem>(&result)) return *problem;
    ADD_FAILURE() << "accepted";
    return {};
}

InputChoice choice(const std::string& id, int index, const std::string& name = "", double gain = 0) {
    return {.deviceID = id, .channelIndex = index, .name = name, .gainDB = gain};
}

TEST(InputChoiceTest, anIdAloneIsItsFirstChannel) {
    EXPECT_EQ(chosen("alsa_input.usb"), choice("alsa_input.usb", 0));
}

TEST(InputChoiceTest, channelsCountFromOne) {
    EXPECT_EQ(chosen("alsa_input.usb:1", 1), choice("alsa_input.usb", 0));
    EXPECT_EQ(chosen("alsa_input.usb:4", 1), choice("alsa_input.usb", 3));
}

TEST(InputChoiceTest, aNameAndAGainMayFollow) {
    EXPECT_EQ(chosen("alsa_input.usb:2:Guitar"), choice("alsa_input.usb", 1, "Guitar"));
    EXPECT_EQ(chosen("alsa_input.usb:2:Guitar:-6.5"), choice("alsa_input.usb", 1, "Guitar", -6.5));
    EXPECT_EQ(chosen("alsa_input.usb:::+3"), choice("alsa_input.usb", 0, "", 3));
    EXPECT_EQ(chosen("alsa_input.usb:"), choice("alsa_input.usb", 0));
}

TEST(InputChoiceTest, anIdWithColonsIsFoundWhole) {
    EXPECT_EQ(chosen("bluez_input.00:1A:7D:DA:71:13"), choice("bluez_input.00:1A:7D:DA:71:13", 0));
    EXPECT_EQ(chosen("bluez_input.00:1A:7D:DA:71:13:1:Talk"),
              choice("bluez_input.00:1A:7D:DA:71:13", 0, "Talk"));
    EXPECT_EQ(chosen("bluez_input.00:1A:7"), choice("bluez_input.00:1A", 6));
}

TEST(InputChoiceTest, anUnknownInputIsToldAndIsNoWrongUsage) {
    const InputProblem problem = refusedInput("alsa_input.usb2:1");
    EXPECT_EQ(problem.sentence,
              "There is no sound input “alsa_input.usb2:1”. --list shows the ones there are.");
    EXPECT_FALSE(problem.isUsage);
    const auto none = parseInputChoice("x", {}, 1);
    EXPECT_EQ(std::get<InputProblem>(none).sentence, "There is no sound input “x”: this machine has none.");
}

TEST(InputChoiceTest, aChannelThatTheInputHasNotIsTold) {
    EXPECT_EQ(refusedInput("alsa_input.usb:5").sentence,
              "“USB Mixer” has 4 channels: there is no channel 5.");
    EXPECT_EQ(refusedInput("bluez_input.00:1A:7D:DA:71:13:2").sentence,
              "“Headset” has 1 channel: there is no channel 2.");
}

TEST(InputChoiceTest, whatIsNoChannelOrNoGainIsWrongUsage) {
    for (const char* text : {"null:0", "null:-1", "null:one", "null:1.0", "null:99999999999999999999",
                             "null:1:a:loud", "null:1:a:61", "null:1:a:nan", "null:1:a:3:b"}) {
        const InputProblem problem = refusedInput(text);
        EXPECT_TRUE(problem.isUsage) << text;
        EXPECT_EQ(problem.sentence.back(), '.') << problem.sentence;
    }
    EXPECT_TRUE(refusedInput("null:1:Voice", 1).isUsage); // a microphone's name has an option of its own
}

} // namespace
} // namespace vintra
