#include "Vintra/timeline/TakeFolder.h"

#include <gtest/gtest.h>

namespace vintra {
namespace {

using Names = std::vector<std::string>;

const URL kFolder = URL::fileURL("/Takes");

/// One line a take: its name, then its files as "screen | cameras | sounds".
Names described(const Names& names) {
    Names lines;
    for (const TakeFiles& files : takesInFolder(kFolder, names)) {
        std::string line = files.take + ":";
        if (files.screen) line += " " + files.screen->lastPathComponent();
        line += " |";
        for (const URL& camera : files.cameras)
            line += " " + camera.lastPathComponent();
        line += " |";
        for (const URL& sound : files.sounds)
            line += " " + sound.lastPathComponent();
        lines.push_back(line);
        EXPECT_EQ(files.folder, kFolder);
    }
    return lines;
}

TEST(TakeFolderTest, theFilesOfATakeInTheOrderOfARecording) {
    EXPECT_EQ(described({"a_Bass.wav", "a_computer-audio.wav", "a_mic.wav", "a_video.mov", "a_webcam-10.mov",
                         "a_webcam-2.mov", "a_webcam.mov"}),
              Names{"a: a_video.mov | a_webcam.mov a_webcam-2.mov a_webcam-10.mov | a_mic.wav "
                    "a_computer-audio.wav a_Bass.wav"});
}

TEST(TakeFolderTest, theCamerasSoundIsTheMicrophone) {
    EXPECT_EQ(takesInFolder(kFolder, {"a_mic.wav", "a_webcam.mov"})[0].cameraSound,
              URL::fileURL("/Takes/a_mic.wav"));
    EXPECT_FALSE(takesInFolder(kFolder, {"a_bass.wav", "a_webcam.mov"})[0].cameraSound);
}

TEST(TakeFolderTest, otherFilesArePassedOver) {
    EXPECT_TRUE(described({"a.fcpxml", "notes.txt", "_video.mov", ".a_video.mov", "x.wav", "_mic.wav",
                           "movie.mov", "a_video.MOV", "a_webcam-1.mov", "a_webcam-02.mov", "a_webcam-x.mov"})
                    .empty());
}

TEST(TakeFolderTest, severalTakesLieSideBySide) {
    EXPECT_EQ(described({"a_mic.wav", "a_video.mov", "b_mic.wav", "b_webcam.mov", "c_mic.wav"}),
              (Names{"a: a_video.mov | | a_mic.wav", "b: | b_webcam.mov | b_mic.wav", "c: | | c_mic.wav"}));
}

TEST(TakeFolderTest, aSoundBelongsToTheTakeWithTheLongestName) {
    EXPECT_EQ(described({"a_b_mic.wav", "a_b_video.mov", "a_mic.wav", "a_video.mov"}),
              (Names{"a: a_video.mov | | a_mic.wav", "a_b: a_b_video.mov | | a_b_mic.wav"}));
}

TEST(TakeFolderTest, aTracksNameMayHoldUnderscores) {
    EXPECT_EQ(described({"a_Scarlett 2i2_ch1.wav", "a_guest_mic.wav", "a_video.mov"}),
              Names{"a: a_video.mov | | a_Scarlett 2i2_ch1.wav a_guest_mic.wav"});
}

TEST(TakeFolderTest, withoutMoviesTheUsualTracksTellTheTake) {
    EXPECT_EQ(described({"my_take_mic.wav", "my_take_Scarlett_2i2_ch2.wav"}),
              Names{"my_take: | | my_take_mic.wav my_take_Scarlett_2i2_ch2.wav"});
    EXPECT_EQ(described({"t_computer-audio-2.wav", "t_Bass.wav"}),
              Names{"t: | | t_Bass.wav t_computer-audio-2.wav"});
}

TEST(TakeFolderTest, aGeneratedNameIsKnownByItsForm) {
    EXPECT_EQ(described({"session_2026-11-21_054718_Guitar_left.wav"}),
              Names{"session_2026-11-21_054718: | | session_2026-11-21_054718_Guitar_left.wav"});
}

TEST(TakeFolderTest, elseTheTakeStandsBeforeTheLastUnderscore) {
    EXPECT_EQ(described({"my_take_Guitar.wav", "my_take_Scarlett_ch1.wav"}),
              Names{"my_take: | | my_take_Guitar.wav my_take_Scarlett_ch1.wav"});
    EXPECT_EQ(described({"take_ch1.wav"}), Names{"take: | | take_ch1.wav"});
}

TEST(TakeFolderTest, aTakeThatIsNamedNeedsNoRecognising) {
    const Names names = {"a_b_mic.wav", "a_video.mov"};
    EXPECT_EQ(described(names), Names{"a: a_video.mov | | a_b_mic.wav"});
    const auto take = takeInFolder(kFolder, names, "a_b");
    ASSERT_TRUE(take);
    EXPECT_EQ(take->sounds, std::vector<URL>{URL::fileURL("/Takes/a_b_mic.wav")});
    EXPECT_FALSE(take->screen);
    EXPECT_FALSE(takeInFolder(kFolder, names, "c"));
    EXPECT_FALSE(takeInFolder(kFolder, names, ""));
}

TEST(TakeFolderTest, aNameThatEndsAsAMovieDoesLosesItsEndingOnce) {
    EXPECT_EQ(described({"x_video_mic.wav", "x_video_video.mov"}),
              Names{"x_video: x_video_video.mov | | x_video_mic.wav"});
}

} // namespace
} // namespace vintra
