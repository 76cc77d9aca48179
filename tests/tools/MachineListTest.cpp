#include "tools/vintra-take/MachineList.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace vintra {
namespace {

KnownDisplay display(const std::string& name) {
    return {{.id = 66, .name = name, .width = 1920, .height = 1080}, {1536, 864}, 1.25};
}

AVFrameRateRange rates(double least, double most) {
    return {.minFrameRate = least, .maxFrameRate = most, .minFrameDuration = {}, .maxFrameDuration = {}};
}

AVCaptureDeviceFormat format(int32_t width, int32_t height, const char (&subtype)[5],
                             std::vector<AVFrameRateRange> ranges) {
    return {.formatDescription = {.mediaSubType = fourCharCode(subtype), .dimensions = {width, height}},
            .videoSupportedFrameRateRanges = std::move(ranges)};
}

std::vector<KnownCamera> cameras() {
    const auto slow = format(1920, 1080, "yuvs", {rates(5, 5)});
    const auto good =
        format(1280, 720, "dmb1", {rates(30, 30), rates(30000.0 / 1001, 30000.0 / 1001), rates(7.5, 7.5)});
    const auto square = format(640, 480, "420v", {rates(1, 60)});
    return {{.id = "desk", .name = "Desk", .formats = {slow, good}, .chosen = good, .rate = 30},
            {.id = "full", .name = "Full", .formats = {square}, .chosen = std::nullopt, .rate = 0}};
}

TEST(MachineListTest, displaysWindowsCamerasAndSoundDevicesAreTables) {
    MachineList list;
    list.cameras = cameras();
    list.displays = {display("Büro")};
    list.windows = {{.id = 4194307, .appName = "Editor", .title = "Notes", .frame = {{5, 6}, {640, 480}}},
                    {.id = 7, .appName = "Shell", .title = "", .frame = {{0, 0}, {81.6666, 50}}}};
    list.inputs = {{.id = "usb", .name = "Mixer", .channels = 4, .rate = 44'100}, {.id = "odd", .name = "?"}};
    list.outputs = {{.id = "hdmi", .name = "Screen", .rate = 48'000},
                    {.id = "out", .name = "Speakers", .rate = 96'000, .isDefault = true}};
    EXPECT_EQ(textOf(list), "display  name     pixels    points  scale\n"
                            "66       Büro  1920×1080  1536×864   1.25\n"
                            "\n"
                            "window   application  title    points\n"
                            "4194307  Editor       Notes   640×480\n"
                            "7        Shell               81.67×50\n"
                            "\n"
                            "camera  name  format          frames a second  recorded at\n"
                            "desk    Desk  1920×1080 yuvs                5\n"
                            "              1280×720 dmb1    30, 29.97, 7.5           30\n"
                            "full    Full  640×480 420v               1-60\n"
                            "\n"
                            "sound input  name   channels   rate\n"
                            "usb          Mixer         4  44100\n"
                            "odd          ?             1\n"
                            "\n"
                            "sound output  name       rate  default\n"
                            "hdmi          Screen    48000\n"
                            "out           Speakers  96000      yes\n");
}

TEST(MachineListTest, whatIsMissingHasItsReason) {
    MachineList list;
    list.screenProblem = "No X server answers.";
    EXPECT_EQ(
        textOf(list),
        "No X server answers.\n\nThere is no window.\n\nThere is no camera.\n\nThere is no sound input.\n\n"
        "There is no sound output.\n");
    list.windowProblem = "Windows are secret here.";
    EXPECT_EQ(
        textOf(list),
        "No X server answers.\n\nWindows are secret here.\n\nThere is no camera.\n\nThere is no sound input.\n\n"
        "There is no sound output.\n");
}

TEST(MachineListTest, withoutASoundServerThatIsSaidOnce) {
    MachineList list;
    list.soundProblem = "No PipeWire server answers.";
    list.computerAudioProblem = list.soundProblem;
    EXPECT_EQ(
        textOf(list),
        "There is no display.\n\nThere is no window.\n\nThere is no camera.\n\nNo PipeWire server answers.\n");
}

TEST(MachineListTest, whyTheComputerCannotBeRecordedStandsBehindTheOutputs) {
    MachineList list;
    list.computerAudioProblem = "There is no virtual device.";
    EXPECT_NE(textOf(list).find("There is no sound output.\n\nThere is no virtual device.\n"),
              std::string::npos)
        << textOf(list);
    EXPECT_EQ(nlohmann::json::parse(jsonOf(list))["computerAudioProblem"], "There is no virtual device.");
}

TEST(MachineListTest, aTitleKeepsToItsLineAndCommandsNoTerminal) {
    MachineList list;
    // A line feed, an escape, the one-character form of the latter's bracket, and a byte that is no UTF-8.
    const std::string title = "a\nb\x1b[2Jc\xc2\x9b"
                              "2Jd\xff"
                              "é";
    list.windows = {{.id = 1, .appName = "x", .title = title, .frame = {{0, 0}, {50, 60}}}};
    EXPECT_NE(textOf(list).find("a b [2Jc 2Jd\uFFFDé"), std::string::npos) << textOf(list);
    const auto object = nlohmann::json::parse(jsonOf(list));
    EXPECT_EQ(object["windows"][0]["title"], "a\nb\x1b[2Jc\xc2\x9b"
                                             "2Jd\uFFFDé")
        << "JSON keeps it, escaped";
}

TEST(MachineListTest, theObjectNamesEverything) {
    MachineList list;
    list.displays = {display("\xff")};
    list.windows = {{.id = 42, .appName = "Editor", .title = "Notes", .frame = {{5, 6}, {640, 480.5}}}};
    list.inputs = {{.id = "usb", .name = "Mixer", .channels = 4, .rate = 44'100}, {.id = "odd", .name = "?"}};
    list.outputs = {{.id = "out", .name = "Speakers", .rate = 96'000, .isDefault = true}};
    list.soundProblem = "No PipeWire server answers.";
    list.cameras = cameras();
    const auto object = nlohmann::json::parse(jsonOf(list));
    EXPECT_EQ(object["displays"][0]["id"], 66);
    EXPECT_EQ(object["displays"][0]["width"], 1920);
    EXPECT_EQ(object["displays"][0]["scale"], 1.25);
    EXPECT_EQ(object["displays"][0]["points"]["height"], 864);
    EXPECT_TRUE(object["screenProblem"].is_null());
    ASSERT_EQ(object["windows"].size(), 1u);
    EXPECT_EQ(object["windows"][0]["id"], 42);
    EXPECT_EQ(object["windows"][0]["application"], "Editor");
    EXPECT_EQ(object["windows"][0]["title"], "Notes");
    EXPECT_EQ(object["windows"][0]["points"]["width"], 640);
    EXPECT_EQ(object["windows"][0]["points"]["height"], 480.5);
    EXPECT_TRUE(object["windowProblem"].is_null());
    ASSERT_EQ(object["cameras"].size(), 2u);
    EXPECT_EQ(object["cameras"][0]["id"], "desk");
    EXPECT_EQ(object["cameras"][0]["formats"][0]["subtype"], "yuvs");
    EXPECT_EQ(object["cameras"][0]["formats"][1]["rates"][2]["most"], 7.5);
    EXPECT_EQ(object["cameras"][0]["recorded"]["height"], 720);
    EXPECT_EQ(object["cameras"][0]["recorded"]["rate"], 30);
    EXPECT_TRUE(object["cameras"][1]["recorded"].is_null());
    EXPECT_EQ(object["inputs"][0]["channels"], 4);
    EXPECT_EQ(object["inputs"][0]["rate"], 44'100);
    EXPECT_TRUE(object["inputs"][1]["rate"].is_null());
    EXPECT_EQ(object["outputs"][0]["id"], "out");
    EXPECT_EQ(object["outputs"][0]["rate"], 96'000);
    EXPECT_EQ(object["outputs"][0]["default"], true);
    EXPECT_TRUE(object["computerAudioProblem"].is_null());
    EXPECT_EQ(object["soundProblem"], "No PipeWire server answers.");
}

} // namespace
} // namespace vintra
