#include "Vintra/timeline/TakeFiles.h"

#include <gtest/gtest.h>

namespace vintra {
namespace {

std::string trackName(const std::string& fileName, const std::string& take = "take") {
    TakeFiles files;
    files.take = take;
    return files.trackName(URL::fileURL("/Takes/" + fileName));
}

std::string shortName(const std::string& fileName) {
    TakeFiles files;
    files.take = "take";
    return files.shortName(URL::fileURL("/Takes/" + fileName));
}

TEST(TakeFilesTest, theFilesOfEveryTakeHaveTheirNames) {
    EXPECT_EQ(trackName("take_video.mov"), "Screen");
    EXPECT_EQ(trackName("take_webcam.mov"), "Webcam");
    EXPECT_EQ(trackName("take_webcam-2.mov"), "Webcam 2");
    EXPECT_EQ(trackName("take_mic.wav"), "Mic");
    EXPECT_EQ(trackName("take_computer-audio.wav"), "Computer audio");
}

TEST(TakeFilesTest, wordsAfterACamerasNumberAreIgnored) {
    EXPECT_EQ(trackName("take_webcam-2-left.mov"), "Webcam 2");
}

TEST(TakeFilesTest, aNameWithCapitalsKeepsThem) {
    EXPECT_EQ(trackName("take_Desk-Mixer.wav"), "Desk Mixer");
    EXPECT_EQ(trackName("take_my-USB.wav"), "my USB");
    EXPECT_EQ(trackName("take_éTÉ.wav"), "éTÉ");
}

TEST(TakeFilesTest, aNameWithoutCapitalsBeginsWithOne) {
    EXPECT_EQ(trackName("take_guitar-left.wav"), "Guitar left");
    EXPECT_EQ(trackName("take_été.wav"), "Été");
    EXPECT_EQ(trackName("take_ßa.wav"), "SSa");
    EXPECT_EQ(trackName("take_录音.wav"), "录音");
    EXPECT_EQ(trackName("take_2i2.wav"), "2i2");
}

TEST(TakeFilesTest, hyphensAndBlanksInARowLeaveOneBlank) {
    EXPECT_EQ(trackName("take_--a - b--.wav"), "A b");
    EXPECT_EQ(trackName("take_-.wav"), "");
    EXPECT_EQ(trackName("take_.wav"), "");
}

TEST(TakeFilesTest, onlyTheFirstWordMakesACamera) {
    EXPECT_EQ(trackName("take_webcams.mov"), "Webcams");
    EXPECT_EQ(trackName("take_my-webcam.mov"), "My webcam");
    EXPECT_EQ(trackName("take_-webcam.mov"), "Webcam");
    EXPECT_EQ(trackName("take_mic-2.wav"), "Mic 2");
    EXPECT_EQ(trackName("take_Video.mov"), "Video");
}

TEST(TakeFilesTest, theTakesNameIsCountedInCharacters) {
    EXPECT_EQ(trackName("prêt-à-porter_mic.wav", "prêt-à-porter"), "Mic");
    EXPECT_EQ(trackName("a.b_mic.wav", "a.b"), "Mic");
    EXPECT_EQ(trackName("x.wav", "longer than the file"), "");
}

TEST(TakeFilesTest, aShortNameStaysSmall) {
    EXPECT_EQ(shortName("take_mic.wav"), "mic");
    EXPECT_EQ(shortName("take_computer-audio.wav"), "computer audio");
    EXPECT_EQ(shortName("take_a--b.wav"), "a  b");
    EXPECT_EQ(shortName("take_Desk-Mixer.wav"), "Desk Mixer");
}

} // namespace
} // namespace vintra
