#include "TimelineFixtures.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <utility>

namespace vintra::TimelineFile {
namespace {

using Names = std::vector<std::string>;

Media picture(const TakeBuilder& take, const std::string& rest, const std::string& rate = "30",
              std::vector<int64_t> soundTracks = {}) {
    return pictureMedia(take.url(rest), kTenSeconds, rateNamed(rate), 1920, 1080, std::move(soundTracks));
}

Media sound(const TakeBuilder& take, const std::string& rest) {
    return soundMedia(take.url(rest), kTenSeconds, {1});
}

Names fileNames(const std::vector<URL>& urls) {
    Names names;
    for (const URL& url : urls)
        names.push_back(url.lastPathComponent());
    return names;
}

TEST(TakeTest, theOrderIsByFileName) {
    TakeBuilder builder("take", "/Takes");
    builder.screen(picture(builder, "_video.mov")).camera(picture(builder, "_webcam.mov"));
    builder.camera(picture(builder, "_webcam-2.mov")).sound(sound(builder, "_mic.wav"));
    builder.sound(sound(builder, "_Zither.wav"));
    // "Z" before "m" and "-" before ".": by their codes.
    EXPECT_EQ(fileNames(builder.take().order), (Names{"take_Zither.wav", "take_mic.wav", "take_video.mov",
                                                      "take_webcam-2.mov", "take_webcam.mov"}));
}

TEST(TakeTest, filesOfTheSameNameKeepTheirOrder) {
    TakeFiles files;
    files.sounds = {URL::fileURL("/b/x.wav"), URL::fileURL("/a/x.wav"), URL::fileURL("/c/w.wav")};
    EXPECT_EQ(filesByName(files), (std::vector<URL>{URL::fileURL("/c/w.wav"), URL::fileURL("/b/x.wav"),
                                                    URL::fileURL("/a/x.wav")}));
}

TEST(TakeTest, aFileThatWasNotProbedIsInNoList) {
    TakeBuilder builder("take", "/Takes");
    builder.screen(picture(builder, "_video.mov")).camera(picture(builder, "_webcam.mov"));
    builder.camera(picture(builder, "_webcam-2.mov")).sound(sound(builder, "_mic.wav"));
    builder.media.erase(builder.url("_webcam.mov"));
    builder.media.erase(builder.url("_mic.wav"));
    const Take take = builder.take();
    EXPECT_EQ(fileNames(take.order), (Names{"take_video.mov", "take_webcam-2.mov"}));
    ASSERT_EQ(take.cameras.size(), 1u);
    EXPECT_EQ(take.cameras[0].url, builder.url("_webcam-2.mov"));
    EXPECT_TRUE(take.sounds.empty());
}

TEST(TakeTest, aPictureFileWithoutAPictureIsNoPicture) {
    TakeBuilder builder("take", "/Takes");
    builder.screen(sound(builder, "_video.mov")).camera(sound(builder, "_webcam.mov"));
    const Take take = builder.take();
    EXPECT_FALSE(take.screen);
    EXPECT_TRUE(take.cameras.empty());
    EXPECT_EQ(take.order.size(), 2u); // and yet part of the inventory
    EXPECT_STREQ(take.rate.suffix, "30");
}

TEST(TakeTest, theFirstPictureGivesTheRate) {
    TakeBuilder builder("take", "/Takes");
    EXPECT_STREQ(builder.take().rate.suffix, "30");
    builder.sound(sound(builder, "_mic.wav"));
    EXPECT_STREQ(builder.take().rate.suffix, "30");
    builder.camera(picture(builder, "_webcam.mov", "25")).camera(picture(builder, "_webcam-2.mov", "60"));
    EXPECT_STREQ(builder.take().rate.suffix, "25");
    builder.screen(picture(builder, "_video.mov", "2398"));
    EXPECT_STREQ(builder.take().rate.suffix, "2398");
}

TEST(TakeTest, aFileAtAnotherRateKeepsItsSeconds) {
    TakeBuilder builder("take", "/Takes");
    builder.screen(picture(builder, "_video.mov", "24")).camera(picture(builder, "_webcam.mov", "60"));
    const Take take = builder.take();
    EXPECT_EQ(take.frames(take.cameras[0]), 240);
}

TEST(TakeTest, markersLieOnFramesOfTheTake) {
    TakeBuilder builder("take", "/Takes");
    builder.screen(picture(builder, "_video.mov", "30"));
    builder.files.markers = {0.0333,      0.0334, 9.999,  10,
                             1e300,       -1e300, -0.001, std::numeric_limits<double>::infinity(),
                             std::nan("")};
    const Take take = builder.take();
    // Frame 1 begins at 0.03333...; frame 299 is the last.
    const std::vector<int64_t> expected = {0, 1, 299, 299, 299, 0, 0, 299, 0};
    EXPECT_EQ(take.markerFrames(), expected);
    for (size_t index = 0; index < expected.size(); ++index)
        EXPECT_EQ(take.markerFrame(take.files.markers[index]), expected[index]) << index;
}

TEST(TakeTest, theLongestFileLimitsTheMarkers) {
    TakeBuilder builder("take", "/Takes");
    builder.screen(picture(builder, "_video.mov", "30"));
    builder.sound(soundMedia(builder.url("_mic.wav"), CMTimeMake(12, 1), {1}));
    EXPECT_EQ(builder.take().markerFrame(100), 359);
}

TEST(TakeTest, aTakeOfLessThanTwoFramesHasItsMarkersOnFrameZero) {
    TakeBuilder builder("take", "/Takes");
    EXPECT_EQ(builder.take().markerFrame(5), 0);
    builder.sound(soundMedia(builder.url("_mic.wav"), CMTimeMake(1, 100), {1}));
    EXPECT_EQ(builder.take().markerFrame(5), 0);
}

TEST(TakeTest, aScreenWithACopyOfEverySoundNamesThem) {
    TakeBuilder builder("take", "/Takes");
    builder.screen(picture(builder, "_video.mov", "30", {1, 2}));
    builder.sound(sound(builder, "_mic.wav")).sound(sound(builder, "_Desk-Mixer.wav"));
    const Take take = builder.take();
    EXPECT_EQ(take.labels(*take.screen), (Names{"mic", "Desk Mixer"}));
}

TEST(TakeTest, aScreenWithAnotherNumberOfCopiesCountsThem) {
    TakeBuilder builder("take", "/Takes");
    builder.screen(picture(builder, "_video.mov", "30", {1, 2, 1}));
    builder.sound(sound(builder, "_mic.wav")).sound(sound(builder, "_Desk-Mixer.wav"));
    Take take = builder.take();
    EXPECT_EQ(take.labels(*take.screen), (Names{"sound 1", "sound 2", "sound 3"}));
    take.screen->soundTracks = {2};
    EXPECT_EQ(take.labels(*take.screen), Names{"sound 1"}); // one copy in a screen is no camera's copy
}

TEST(TakeTest, aSoundThatWasLeftOutDoesNotCountForTheScreen) {
    TakeBuilder builder("take", "/Takes");
    builder.screen(picture(builder, "_video.mov", "30", {1, 1}));
    builder.sound(sound(builder, "_mic.wav")).sound(sound(builder, "_bass.wav"));
    builder.media.erase(builder.url("_mic.wav"));
    const Take take = builder.take();
    EXPECT_EQ(take.labels(*take.screen), (Names{"sound 1", "sound 2"}));
}

TEST(TakeTest, aCamerasOneCopyIsThatOfTheCamerasSound) {
    TakeBuilder builder("take", "/Takes");
    builder.camera(picture(builder, "_webcam.mov", "30", {1}));
    EXPECT_EQ(builder.take().labels(builder.media.begin()->second), Names{"mic"});
    builder.files.cameraSound = builder.url("_Desk-Mixer.wav");
    EXPECT_EQ(builder.take().labels(builder.media.begin()->second), Names{"Desk Mixer"});
    builder.files.cameraSound = builder.url("_lavalier-left.wav");
    EXPECT_EQ(builder.take().labels(builder.media.begin()->second), Names{"lavalier left"});
}

TEST(TakeTest, aCameraWithSeveralCopiesCountsThem) {
    TakeBuilder builder("take", "/Takes");
    builder.camera(picture(builder, "_webcam.mov", "30", {1, 1}));
    builder.files.cameraSound = builder.url("_mic.wav");
    EXPECT_EQ(builder.take().labels(builder.media.begin()->second), (Names{"sound 1", "sound 2"}));
    builder.media.begin()->second.soundTracks.clear();
    EXPECT_TRUE(builder.take().labels(builder.media.begin()->second).empty());
}

} // namespace
} // namespace vintra::TimelineFile
