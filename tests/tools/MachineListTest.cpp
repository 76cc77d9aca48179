#include "tools/vintra-take/MachineList.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace vintra {
namespace {

TEST(MachineListTest, displaysAndInputsAreTables) {
    MachineList list;
    list.displays = {{.id = 66, .name = "Büro", .width = 1920, .height = 1080}};
    list.inputs = {{.id = "usb", .name = "Mixer", .channels = 4}};
    EXPECT_EQ(textOf(list), "display  name     pixels\n"
                            "66       Büro  1920×1080\n"
                            "\n"
                            "sound input  name   channels\n"
                            "usb          Mixer         4\n");
}

TEST(MachineListTest, whatIsMissingHasItsReason) {
    MachineList list;
    list.screenProblem = "No X server answers.";
    EXPECT_EQ(textOf(list), "No X server answers.\n\nThere is no sound input.\n");
}

TEST(MachineListTest, theObjectNamesEverything) {
    MachineList list;
    list.displays = {{.id = 66, .name = "\xff", .width = 1920, .height = 1080}};
    list.soundProblem = "No PipeWire server answers.";
    const auto object = nlohmann::json::parse(jsonOf(list));
    EXPECT_EQ(object["displays"][0]["id"], 66);
    EXPECT_EQ(object["displays"][0]["width"], 1920);
    EXPECT_TRUE(object["screenProblem"].is_null());
    EXPECT_EQ(object["inputs"].size(), 0u);
    EXPECT_EQ(object["soundProblem"], "No PipeWire server answers.");
}

} // namespace
} // namespace vintra
