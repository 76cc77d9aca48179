#include "Vintra/take/TrackNames.h"

#include <gtest/gtest.h>

namespace vintra {
namespace {

const URL kVideo = URL::fileURL("/films/My take_video.mov");

TEST(TrackNamesTest, everyFileOfATakeSharesTheBaseName) {
    EXPECT_EQ(takeBaseName(kVideo), "My take");
    EXPECT_EQ(trackURL(kVideo, "mic").path(), "/films/My take_mic.wav");
    EXPECT_EQ(webcamURL(kVideo).path(), "/films/My take_webcam.mov");
    EXPECT_EQ(webcamURL(kVideo, 3).path(), "/films/My take_webcam-3.mov");
}

TEST(TrackNamesTest, theScreenMovieIsNamedAfterTheSession) {
    EXPECT_EQ(screenMovieURL(URL::fileURL("/films"), "My take").path(), "/films/My take_video.mov");
    EXPECT_EQ(takeBaseName(screenMovieURL(URL::fileURL("/films"), "a_video")), "a_video");
}

TEST(TrackNamesTest, aCameraNumberBelowTwoGivesTheFirstCamerasName) {
    EXPECT_EQ(webcamURL(kVideo, 1), webcamURL(kVideo));
    EXPECT_EQ(webcamURL(kVideo, 0), webcamURL(kVideo));
    EXPECT_EQ(webcamURL(kVideo, -4), webcamURL(kVideo));
    EXPECT_EQ(webcamURL(kVideo, 2).path(), "/films/My take_webcam-2.mov");
}

TEST(TrackNamesTest, theEndingOfTheScreenMovieIsRemovedOnceOnly) {
    const URL twice = URL::fileURL("/films/a_video_video.mov");
    EXPECT_EQ(takeBaseName(twice), "a_video");
    EXPECT_EQ(trackURL(twice, "mic").path(), "/films/a_video_mic.wav");
    EXPECT_EQ(webcamURL(twice, 2).path(), "/films/a_video_webcam-2.mov");
    EXPECT_EQ(takeBaseName(URL::fileURL("/films/plain.mov")), "plain");
}

TEST(TrackNamesTest, dotsWithinTheNameAreNoExtension) {
    EXPECT_EQ(takeBaseName(URL::fileURL("/films/v1.2_video.mov")), "v1.2");
}

TEST(TrackNamesTest, theMicsSuffixIsMicOrTheCleanedName) {
    EXPECT_EQ(micTrackSuffix(""), "mic");
    EXPECT_EQ(micTrackSuffix("  "), "input");
    EXPECT_EQ(micTrackSuffix(" AC/DC\n"), "AC-DC");
    EXPECT_EQ(micTrackSuffix("\u00A0Gesang\u2028"), "Gesang");
}

TEST(TrackNamesTest, controlCharactersOfANameBecomeHyphens) {
    EXPECT_EQ(micTrackSuffix("a\x1b"
                             "b\u202E"),
              "a-b-");
    EXPECT_EQ(extraInputSuffix("", "USB\x07 Mic", 0), "USB- Mic_ch1");
}

TEST(TrackNamesTest, anExtraInputWithoutANameIsCalledByDeviceAndChannel) {
    EXPECT_EQ(extraInputSuffix("", "Scarlett 18i20", 0), "Scarlett 18i20_ch1");
    EXPECT_EQ(extraInputSuffix("", " In/Out ", 7), "In-Out_ch8");
    EXPECT_EQ(extraInputSuffix("", " ", 2), "input_ch3");
    EXPECT_EQ(extraInputSuffix(" Bass ", "Scarlett", 2), "Bass");
    EXPECT_EQ(extraInputSuffix("\t", "Scarlett", 2), "input");
}

TEST(TrackNamesTest, namesThatDifferInCaseAloneAreNumberedInTheirOwnCase) {
    std::set<std::string> reserved;
    EXPECT_EQ(reserveTrackName("Guitar", reserved), "Guitar");
    EXPECT_EQ(reserveTrackName("guitar", reserved), "guitar-2");
    EXPECT_EQ(reserveTrackName("GUITAR", reserved), "GUITAR-3");
}

TEST(TrackNamesTest, capitalsOfOtherAlphabetsCountAsTheirSmallLetters) {
    std::set<std::string> reserved;
    EXPECT_EQ(reserveTrackName("\u00C9TUDE \u0416\u03A9\u0150", reserved), "\u00C9TUDE \u0416\u03A9\u0150");
    EXPECT_EQ(reserveTrackName("\u00E9tude \u0436\u03C9\u0151", reserved), "\u00E9tude \u0436\u03C9\u0151-2");
}

TEST(TrackNamesTest, aMicNamedLikeTheSecondTrackTakesThePlainName) {
    std::set<std::string> reserved;
    EXPECT_EQ(reserveTrackName(micTrackSuffix("computer-audio"), reserved), "computer-audio");
    EXPECT_EQ(reserveTrackName(kSecondTrackSuffix, reserved), "computer-audio-2");
}

TEST(TrackNamesTest, aNumberThatIsTakenByNameIsPassedOver) {
    std::set<std::string> reserved;
    EXPECT_EQ(reserveTrackName("mic-2", reserved), "mic-2");
    EXPECT_EQ(reserveTrackName("mic", reserved), "mic");
    EXPECT_EQ(reserveTrackName("mic", reserved), "mic-3");
}

} // namespace
} // namespace vintra
