#include "tools/vintra-take/Options.h"

#include "tests/support/TemporaryFolder.h"

#include <fstream>
#include <gtest/gtest.h>

namespace vintra {
namespace {

Options accepted(const std::vector<std::string>& arguments) {
    auto result = parseOptions(arguments);
    if (const auto* error = std::get_if<UsageError>(&result)) {
        ADD_FAILURE() << error->sentence;
        return {};
    }
    return std::get<Options>(result);
}

std::string refused(const std::vector<std::string>& arguments) {
    const auto result = parseOptions(arguments);
    const auto* error = std::get_if<UsageError>(&result);
    if (!error) {
        ADD_FAILURE() << "accepted";
        return "";
    }
    EXPECT_EQ(error->sentence.back(), '.') << error->sentence;
    return error->sentence;
}

TEST(OptionsTest, nothingAsksForTheScreenUntilASignal) {
    const Options options = accepted({});
    EXPECT_EQ(options.command, Options::Command::take);
    EXPECT_FALSE(options.seconds);
    EXPECT_TRUE(options.screen);
    EXPECT_FALSE(options.mic);
    EXPECT_FALSE(options.json);
    EXPECT_FALSE(options.fps);
    EXPECT_FALSE(options.timeline);
}

TEST(OptionsTest, aFolderIsRecoveredWithoutTheOptionsOfATake) {
    const Options options = accepted({"--recover", "films", "--json", "--verbose"});
    EXPECT_EQ(options.command, Options::Command::recover);
    EXPECT_EQ(options.recoverFolder, "films");
    EXPECT_TRUE(options.json);
    EXPECT_EQ(refused({"--recover", "films", "--seconds", "3"}), "--seconds has no place beside --recover.");
    EXPECT_EQ(refused({"--recover"}), "--recover takes something after it.");
    EXPECT_EQ(refused({"--recover="}), "--recover takes something after it, and there is nothing.");
}

TEST(OptionsTest, everyOptionOfATakeIsRead) {
    const Options options =
        accepted({"--seconds", "2.5",        "--folder",   "/films",     "--name",   "My take", "--json",
                  "--display", "4294967295", "--fps",      "24",         "--codec",  "hevc",    "--mic",
                  "alsa:2",    "--mic-name", "Voice",      "--mic-gain", "-3.5",     "--input", "usb:1",
                  "--input",   "usb:2:B:6",  "--timeline", "finalCut",   "--verbose"});
    EXPECT_EQ(options.seconds, 2.5);
    EXPECT_EQ(options.folder, "/films");
    EXPECT_EQ(options.name, "My take");
    EXPECT_TRUE(options.json);
    EXPECT_TRUE(options.verbose);
    EXPECT_EQ(options.display, 4294967295u);
    EXPECT_EQ(options.fps, 24);
    EXPECT_EQ(options.codec, ScreenCodec::hevc);
    EXPECT_EQ(options.mic, "alsa:2");
    EXPECT_EQ(options.micName, "Voice");
    EXPECT_EQ(options.micGainDB, -3.5);
    EXPECT_EQ(options.inputs, (std::vector<std::string>{"usb:1", "usb:2:B:6"}));
    EXPECT_EQ(options.timeline, TimelineEditor::finalCut);
}

TEST(OptionsTest, aValueMayStandBehindAnEqualsSign) {
    const Options options = accepted({"--seconds=10", "--name=a=b", "--mic=x"});
    EXPECT_EQ(options.seconds, 10);
    EXPECT_EQ(options.name, "a=b");
    EXPECT_EQ(options.mic, "x");
}

TEST(OptionsTest, theLastOfTwoCountsButInputsAddUp) {
    EXPECT_EQ(accepted({"--fps", "24", "--fps", "60"}).fps, 60);
    EXPECT_EQ(accepted({"--input", "a", "--input", "a"}).inputs.size(), 2u);
}

TEST(OptionsTest, secondsAreANumberAboveNothing) {
    for (const char* text : {"0", "-1", "", "ten", "1e", "nan", "inf", "1e9", "3s", " 3", "0x10"})
        EXPECT_NE(refused({"--seconds", text}).find("--seconds"), std::string::npos) << text;
    EXPECT_EQ(accepted({"--seconds", "0.001"}).seconds, 0.001);
    EXPECT_EQ(accepted({"--seconds", "1e2"}).seconds, 100);
}

TEST(OptionsTest, valuesOutsideTheirListsAreRefusedWithTheList) {
    EXPECT_EQ(refused({"--fps", "25"}), "--fps takes 24, 30 or 60, not “25”.");
    EXPECT_EQ(refused({"--codec", "H264"}), "--codec takes h264 or hevc, not “H264”.");
    EXPECT_EQ(refused({"--timeline", "final"}),
              "--timeline takes finalCut, resolve, premiere or none, not “final”.");
    EXPECT_EQ(refused({"--mic", "a", "--mic-gain", "61"}),
              "--mic-gain takes a number from -60 to 60, not “61”.");
    for (const char* text : {"-1", "4294967296", "1.5", "one", ""})
        EXPECT_NE(refused({"--display", text}).find("--list"), std::string::npos) << text;
}

TEST(OptionsTest, anOptionWithoutItsValueIsRefused) {
    for (const char* option : {"--seconds", "--folder", "--name", "--display", "--region", "--window",
                               "--aspect", "--fps", "--codec", "--mic", "--mic-name", "--mic-gain", "--input",
                               "--timeline", "--monitor", "--virtual-input", "--camera", "--camera-1080p"})
        EXPECT_EQ(refused({option}), std::string(option) + " takes something after it.");
    EXPECT_EQ(refused({"--json=yes"}), "--json takes nothing after it.");
    EXPECT_NE(refused({"--folder", ""}).find("--folder"), std::string::npos);
}

TEST(OptionsTest, camerasMayBeGivenSeveralTimes) {
    const Options options =
        accepted({"--camera", "front:Me", "--camera=desk", "--camera-1080p", "desk", "--no-screen"});
    EXPECT_EQ(options.cameras, (std::vector<std::string>{"front:Me", "desk"}));
    EXPECT_EQ(options.camerasOf1080p, std::vector<std::string>{"desk"});
    EXPECT_EQ(refused({"--camera-1080p", "desk"}), "--camera-1080p needs a --camera.");
    EXPECT_EQ(refused({"--list", "--camera", "desk"}), "--camera has no place beside --list.");
}

TEST(OptionsTest, theComputersSoundHasItsMonitorAndItsDelay) {
    const Options plain = accepted({"--computer-audio"});
    EXPECT_TRUE(plain.computerAudio);
    EXPECT_TRUE(plain.hasSecondTrack());
    EXPECT_FALSE(plain.monitor);
    EXPECT_FALSE(plain.lowLatency);
    const Options full = accepted({"--monitor", "alsa_output.hdmi", "--computer-audio", "--low-latency"});
    EXPECT_EQ(full.monitor, "alsa_output.hdmi");
    EXPECT_TRUE(full.lowLatency);
    EXPECT_EQ(refused({"--monitor", "x"}), "--monitor needs --computer-audio.");
    EXPECT_EQ(refused({"--low-latency"}), "--low-latency needs --computer-audio.");
    EXPECT_EQ(refused({"--computer-audio=yes"}), "--computer-audio takes nothing after it.");
    EXPECT_NE(refused({"--computer-audio", "--monitor", ""}).find("--monitor"), std::string::npos);
    EXPECT_EQ(refused({"--computer-audio", "--list"}), "--computer-audio has no place beside --list.");
}

TEST(OptionsTest, aTakeHasOneSecondTrack) {
    EXPECT_EQ(accepted({"--virtual-input", "daw:out"}).virtualInput, "daw:out");
    EXPECT_TRUE(accepted({"--virtual-input", "daw"}).hasSecondTrack());
    EXPECT_EQ(refused({"--virtual-input", "daw", "--computer-audio"}),
              "--virtual-input has no place beside --computer-audio: a take has one of the two.");
    EXPECT_EQ(refused({"--virtual-input", "daw", "--monitor", "x"}), "--monitor needs --computer-audio.");
}

TEST(OptionsTest, anySoundIsEnoughForATakeWithoutTheScreen) {
    for (const std::vector<std::string>& sound :
         std::vector<std::vector<std::string>>{{"--mic", "m"},
                                               {"--input", "i"},
                                               {"--camera", "c"},
                                               {"--computer-audio"},
                                               {"--virtual-input", "v"}}) {
        std::vector<std::string> arguments{"--no-screen"};
        arguments.insert(arguments.end(), sound.begin(), sound.end());
        EXPECT_FALSE(accepted(arguments).screen);
    }
    EXPECT_EQ(refused({"--no-screen"}),
              "There is nothing to record: with --no-screen give a --camera, a --mic, an "
              "--input, --computer-audio or a --virtual-input.");
}

TEST(OptionsTest, aRegionIsFourNumbersFromTheTopLeft) {
    EXPECT_EQ(accepted({"--region", "10,20.5,300,200"}).region, (CGRect{{10, 20.5}, {300, 200}}));
    EXPECT_EQ(accepted({"--region=0,0,1e3,0.5"}).region, (CGRect{{0, 0}, {1000, 0.5}}));
    EXPECT_EQ(accepted({"--region", "0,0,8,8", "--display", "5"}).display, 5u);
    EXPECT_EQ(refused({"--region", "0,0,1280"}),
              "--region takes four numbers X,Y,W,H, such as 0,0,1280,720: where the region begins, from the "
              "display's top left, and its size above 0, not “0,0,1280”.");
    for (const char* text :
         {"", "1,2,3,4,5", "1,2,3,4,", ",1,2,3", "1,,3,4", "1 ,2,3,4", "1;2;3;4", "a,b,c,d", "0,0,0,10",
          "0,0,10,0", "0,0,-5,10", "0,0,10,-5", "-1,0,10,10", "0,-1,10,10", "nan,0,10,10", "0,0,inf,10",
          "0,0,nan,10", "0x10,0,10,10", "10x20+30+40"})
        EXPECT_TRUE(refused({"--region", text}).starts_with("--region takes four numbers")) << text;
}

TEST(OptionsTest, anAspectNeedsItsRegion) {
    EXPECT_EQ(accepted({"--region", "0,0,64,64"}).aspect, AspectPreset::freeform);
    EXPECT_EQ(accepted({"--aspect", "vertical", "--region", "0,0,64,64"}).aspect, AspectPreset::vertical);
    EXPECT_EQ(accepted({"--region", "0,0,64,64", "--aspect=square"}).aspect, AspectPreset::square);
    EXPECT_EQ(refused({"--region", "0,0,64,64", "--aspect", "16:9"}),
              "--aspect takes freeform, widescreen, vertical or square, not “16:9”.");
    EXPECT_EQ(refused({"--aspect", "square"}), "--aspect needs a --region.");
}

TEST(OptionsTest, aWindowIsADecimalOrHexNumber) {
    EXPECT_EQ(accepted({"--window", "4194307"}).window, 4194307u);
    EXPECT_EQ(accepted({"--window", "0x400003"}).window, 4194307u);
    EXPECT_EQ(accepted({"--window=0XFFffFFff"}).window, 4294967295u);
    EXPECT_EQ(accepted({"--window", "0"}).window, 0u);
    for (const char* text : {"", "0x", "x10", "0x1G", "0x-1", "0x+1", "-1", "1.5", "4294967296",
                             "0x100000000", "0x10000000000000000", "Notes", "12 "})
        EXPECT_EQ(refused({"--window", text}), std::string("--window takes the number of a window as "
                                                           "--list shows it, or in hex as 0x2A, not “") +
                                                   text + "”.");
}

TEST(OptionsTest, oneThingOfTheScreenIsRecorded) {
    const std::vector<std::string> window{"--window", "5"};
    const auto besideWindow = [&](const std::string& option, const std::string& value) {
        std::vector<std::string> arguments{option, value};
        arguments.insert(arguments.end(), window.begin(), window.end());
        return refused(arguments);
    };
    EXPECT_EQ(besideWindow("--display", "1"), "--display has no place beside --window.");
    EXPECT_EQ(besideWindow("--region", "0,0,8,8"), "--region has no place beside --window.");
    EXPECT_EQ(besideWindow("--aspect", "square"), "--aspect has no place beside --window.");
    for (const auto& [option, value] : std::vector<std::pair<std::string, std::string>>{
             {"--region", "0,0,8,8"}, {"--window", "5"}, {"--aspect", "square"}})
        EXPECT_EQ(refused({"--no-screen", "--mic", "a", option, value}),
                  option + " has no place beside --no-screen.");
    EXPECT_EQ(refused({"--list", "--window", "5"}), "--window has no place beside --list.");
}

TEST(OptionsTest, whatBelongsToNothingIsRefused) {
    EXPECT_EQ(refused({"--secnds", "3"}), "There is no option “--secnds”.");
    EXPECT_EQ(refused({"-x"}), "There is no option “-x”.");
    EXPECT_EQ(refused({"film.mov"}), "“film.mov” belongs to no option.");
    EXPECT_EQ(refused({""}), "“” belongs to no option.");
}

TEST(OptionsTest, optionsThatContradictEachOtherAreRefused) {
    EXPECT_NE(refused({"--no-screen"}).find("nothing to record"), std::string::npos);
    EXPECT_EQ(refused({"--no-screen", "--mic", "a", "--fps", "30"}),
              "--fps has no place beside --no-screen.");
    EXPECT_EQ(refused({"--mic-name", "Voice"}), "--mic-name needs a --mic.");
    EXPECT_EQ(refused({"--mic-gain", "3"}), "--mic-gain needs a --mic.");
    EXPECT_EQ(refused({"--list", "--seconds", "3"}), "--seconds has no place beside --list.");
    EXPECT_EQ(refused({"--no-screen", "--list"}), "--no-screen has no place beside --list.");
    EXPECT_FALSE(accepted({"--no-screen", "--mic", "a"}).screen);
    EXPECT_FALSE(accepted({"--input", "a", "--no-screen"}).screen);
}

TEST(OptionsTest, aListMayBeInJSON) {
    const Options options = accepted({"--list", "--json"});
    EXPECT_EQ(options.command, Options::Command::list);
    EXPECT_TRUE(options.json);
}

TEST(OptionsTest, helpIsGivenWhateverElseIsThere) {
    EXPECT_EQ(accepted({"--no-screen", "--help"}).command, Options::Command::help);
    EXPECT_EQ(accepted({"-h"}).command, Options::Command::help);
    for (const char* option : {"--list", "--seconds", "--folder", "--name", "--no-screen", "--display",
                               "--region", "--window", "--aspect", "--fps", "--codec", "--mic ", "--mic-name",
                               "--mic-gain", "--input", "--timeline", "--json", "--verbose"})
        EXPECT_NE(usageText().find(option), std::string::npos) << option;
}

TEST(OptionsTest, aReportAloneIsACommandAndBesideATakeItsEnd) {
    EXPECT_EQ(accepted({"--report", "--json"}).command, Options::Command::report);
    EXPECT_EQ(accepted({"--report", "--set", "hideTakeWarnings=true"}).command, Options::Command::report);
    const Options take = accepted({"--seconds", "3", "--report"});
    EXPECT_EQ(take.command, Options::Command::take);
    EXPECT_TRUE(take.report);
    EXPECT_EQ(refused({"--list", "--report"}), "--report has no place beside --list.");
    EXPECT_EQ(refused({"--report", "--recover", "films"}), "--report has no place beside --recover.");
    EXPECT_EQ(refused({"--report=now"}), "--report takes nothing after it.");
}

TEST(OptionsTest, settingsAreReadAndTheCommandLineOutranksAFile) {
    const TemporaryFolder folder;
    const std::string file = folder.file("settings.json").path();
    std::ofstream(file) << R"({"dawGainDB": 3, "screenCodec": "hevc"})";
    const Options options =
        accepted({"--set", "dawGainDB=1", "--set", "hideTakeWarnings=true", "--settings", file});
    EXPECT_EQ(options.command, Options::Command::take);
    EXPECT_EQ(options.settings,
              (HandSetValues{
                  {"dawGainDB", 1.0}, {"hideTakeWarnings", true}, {"screenCodec", std::string("hevc")}}));
    EXPECT_EQ(refused({"--set", "dawGainDB=loud"}), "dawGainDB takes a number from -60 to 60, not “loud”.");
    EXPECT_EQ(refused({"--set"}), "--set takes something after it.");
    EXPECT_EQ(refused({"--settings="}), "--settings takes something after it, and there is nothing.");
    EXPECT_EQ(refused({"--list", "--set", "dawGainDB=1"}), "--set has no place beside --list.");
}

} // namespace
} // namespace vintra
