#include "tools/vintra-take/HandSetKeys.h"

#include "tests/support/TemporaryFolder.h"

#include <fstream>
#include <gtest/gtest.h>

namespace vintra {
namespace {

DefaultsValue setByHand(const std::string& text, const std::string& key) {
    const auto read = parseHandSetKey(text);
    if (const auto* problem = std::get_if<std::string>(&read)) {
        ADD_FAILURE() << *problem;
        return {};
    }
    EXPECT_EQ(std::get<0>(read).first, key);
    return std::get<0>(read).second;
}

std::string wrong(const std::string& text) {
    const auto read = parseHandSetKey(text);
    return std::holds_alternative<std::string>(read) ? std::get<std::string>(read) : "accepted";
}

class HandSetFileTest : public ::testing::Test {
protected:
    std::variant<HandSetValues, std::string> read(const std::string& text) {
        std::ofstream(path) << text;
        return readHandSetKeys(path);
    }
    std::string problem(const std::string& text) {
        const auto result = read(text);
        return std::holds_alternative<std::string>(result) ? std::get<std::string>(result) : "accepted";
    }

    TemporaryFolder folder;
    const std::string path = folder.file("settings.json").path();
};

TEST(HandSetKeysTest, aValueHasTheKindOfItsKey) {
    EXPECT_EQ(setByHand("hideTakeWarnings=true", "hideTakeWarnings"), DefaultsValue(true));
    EXPECT_EQ(setByHand("correctsSoundDrift=false", "correctsSoundDrift"), DefaultsValue(false));
    EXPECT_EQ(setByHand("RelayTargetFrames=2048", "RelayTargetFrames"), DefaultsValue(int64_t{2048}));
    EXPECT_EQ(setByHand("webcamMaxFrameRate=50", "webcamMaxFrameRate"), DefaultsValue(50.0));
    EXPECT_EQ(setByHand("dawGainDB=-2.5", "dawGainDB"), DefaultsValue(-2.5));
    EXPECT_EQ(setByHand("screenCodec=hevc", "screenCodec"), DefaultsValue(std::string("hevc")));
    EXPECT_EQ(setByHand("screenFrameRate=24", "screenFrameRate"), DefaultsValue(int64_t{24}));
}

TEST(HandSetKeysTest, aValueThatAKeyCantHaveIsRefusedWithWhatItTakes) {
    EXPECT_EQ(wrong("hideTakeWarnings=1"), "hideTakeWarnings takes true or false, not “1”.");
    EXPECT_EQ(wrong("hideTakeWarnings="), "hideTakeWarnings takes true or false, not “”.");
    EXPECT_EQ(wrong("RelayTargetFrames=1.5"),
              "RelayTargetFrames takes a whole number from 0 to 96000, not “1.5”.");
    EXPECT_EQ(wrong("RelayTargetFrames=96001"),
              "RelayTargetFrames takes a whole number from 0 to 96000, not “96001”.");
    EXPECT_EQ(wrong("dawGainDB=nan"), "dawGainDB takes a number from -60 to 60, not “nan”.");
    EXPECT_EQ(wrong("screenCodec=av1"), "screenCodec takes h264 or hevc, not “av1”.");
    EXPECT_EQ(wrong("screenFrameRate=25"), "screenFrameRate takes 24, 30 or 60, not “25”.");
}

TEST(HandSetKeysTest, anUnknownKeyIsRefusedWithTheOnesThereAre) {
    EXPECT_EQ(wrong("hidetakewarnings=true"),
              "There is no setting “hidetakewarnings” to set by hand. The ones there are: hideTakeWarnings, "
              "screenCaptureNativeResolution, correctsSoundDrift, RelayTargetFrames, webcamMaxFrameRate, "
              "screenCodec, screenFrameRate, dawGainDB.");
    EXPECT_TRUE(wrong("selectedDisplayID=1").starts_with("There is no setting “selectedDisplayID”"));
    EXPECT_EQ(wrong("hideTakeWarnings"),
              "--set takes KEY=VALUE, such as hideTakeWarnings=true, not “hideTakeWarnings”.");
    EXPECT_EQ(wrong("=true"), "--set takes KEY=VALUE, such as hideTakeWarnings=true, not “=true”.");
}

TEST_F(HandSetFileTest, theProgramsOwnFileGivesWhatIsSetByHandInIt) {
    const auto result = read(R"({"hideTakeWarnings": true, "RelayTargetFrames": 4096, "selectedDisplayID": 7,
                                 "captureRegion": [1, 2, 3, 4, 5], "vintraWasRunning": true})");
    ASSERT_TRUE(std::holds_alternative<HandSetValues>(result)) << std::get<std::string>(result);
    EXPECT_EQ(std::get<HandSetValues>(result),
              (HandSetValues{{"RelayTargetFrames", int64_t{4096}}, {"hideTakeWarnings", true}}));
}

TEST_F(HandSetFileTest, aFileThatIsNoSettingsIsRefused) {
    const std::string begin = "The settings file “" + path + "” can't be read: ";
    EXPECT_EQ(problem("hideTakeWarnings=true"),
              begin + "it must be one JSON object, such as {\"hideTakeWarnings\": true}.");
    EXPECT_EQ(problem(R"({"hideTakeWarnings": "yes"})"),
              "In “" + path + "”: hideTakeWarnings takes true or false.");
    EXPECT_TRUE(problem(R"({"hideWarnings": true})")
                    .starts_with("In “" + path + "”: There is no setting “hideWarnings” to set by hand."));
    const auto missing = readHandSetKeys(path + ".missing");
    EXPECT_EQ(std::get<std::string>(missing),
              "The settings file “" + path + ".missing” can't be read: No such file or directory.");
    const auto isFolder = readHandSetKeys(folder.url().path());
    EXPECT_TRUE(std::get<std::string>(isFolder).ends_with("can't be read: it isn't a file."));
}

} // namespace
} // namespace vintra
