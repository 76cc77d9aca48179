#include "Vintra/timeline/Media.h"

#include "Vintra/platform/simulated/SimulatedAssetProbing.h"

#include <gtest/gtest.h>
#include <limits>
#include <utility>

namespace vintra::TimelineFile {
namespace {

const URL kURL = URL::fileURL("/Takes/take_video.mov");

SimulatedAsset movie(double rate, CMTime minFrameDuration = kCMTimeInvalid) {
    SimulatedAsset asset;
    asset.duration = CMTimeMake(10, 1);
    AVAssetTrack track = simulatedVideoTrack({1920, 1080}, rate, CMTimeMake(10, 1));
    track.video->minFrameDuration = minFrameDuration;
    asset.videoTracks = {{track}};
    return asset;
}

std::optional<Media> probed(SimulatedAsset asset) {
    SimulatedAssetProbing probing;
    probing.set(kURL, std::move(asset));
    return Media::probe(kURL, probing);
}

std::string suffixOf(double rate, CMTime minFrameDuration = kCMTimeInvalid) {
    const auto media = probed(movie(rate, minFrameDuration));
    return media && media->rate ? media->rate->suffix : "none";
}

TEST(RateTest, everyRateIsNearestToItself) {
    for (const Rate& rate : kRates)
        EXPECT_EQ(Rate::nearest(rate.framesPerSecond()), rate) << rate.suffix;
}

TEST(RateTest, beyondTheTableTheEndsAreNearest) {
    EXPECT_STREQ(Rate::nearest(0).suffix, "2398");
    EXPECT_STREQ(Rate::nearest(-5).suffix, "2398");
    EXPECT_STREQ(Rate::nearest(1000).suffix, "60");
}

TEST(RateTest, midwayTheEarlierRateIsTaken) {
    EXPECT_STREQ(Rate::nearest(24.5).suffix, "24"); // between 24 and 25
    EXPECT_STREQ(Rate::nearest(40).suffix, "30");   // between 30 and 50
    EXPECT_STREQ(Rate::nearest(40.0000001).suffix, "50");
}

TEST(MediaTest, aNominalRateNearARateIsThatRate) {
    EXPECT_EQ(suffixOf(59.94), "5994");
    EXPECT_EQ(suffixOf(29.97), "2997");
    EXPECT_EQ(suffixOf(23.98), "2398");
    EXPECT_EQ(suffixOf(30), "30");
    EXPECT_EQ(suffixOf(29.99), "30"); // 30 is nearer by 0.01 of a frame
}

TEST(MediaTest, aNominalRateFarFromAllAsksTheShortestFrame) {
    EXPECT_EQ(suffixOf(0, CMTimeMake(1, 30)), "30");
    EXPECT_EQ(suffixOf(27.5, CMTimeMake(1001, 30'000)), "2997");
    EXPECT_EQ(suffixOf(30.05, CMTimeMake(1, 60)), "30"); // 0.0017 of it away
    EXPECT_EQ(suffixOf(30.07, CMTimeMake(1, 60)), "60"); // 0.0023 of it away
}

TEST(MediaTest, withoutAUsableShortestFrameTheNominalRateDecides) {
    EXPECT_EQ(suffixOf(0), "2398");
    EXPECT_EQ(suffixOf(45, CMTimeMake(0, 600)), "50");
    EXPECT_EQ(suffixOf(45, CMTimeMake(-1, 60)), "50");
    EXPECT_EQ(suffixOf(45, kCMTimePositiveInfinity), "50");
}

TEST(MediaTest, aRateOfOneOrLessIsMeasuredUndivided) {
    // 0.5 is 23.476 away from the nearest rate, which is not below 0.002 however it is divided.
    EXPECT_EQ(suffixOf(0.5, CMTimeMake(1, 25)), "25");
    EXPECT_EQ(suffixOf(1, CMTimeMake(1, 25)), "25");
}

TEST(MediaTest, sizesRoundHalvesAwayFromZero) {
    SimulatedAsset asset = movie(30);
    asset.videoTracks->front().video->naturalSize = {1919.5, 1080.49};
    const auto media = probed(asset);
    EXPECT_EQ(media->width, 1920);
    EXPECT_EQ(media->height, 1080);
}

TEST(MediaTest, thePictureEndsWhereItsTrackEnds) {
    SimulatedAsset asset = movie(30);
    asset.videoTracks->front().video->timeRange = {CMTimeMake(1, 2), CMTimeMake(9, 1)};
    EXPECT_EQ(*probed(asset)->pictureDuration, CMTimeMake(19, 2));
    EXPECT_EQ(probed(asset)->length(), CMTimeMake(19, 2));
    EXPECT_EQ(probed(asset)->duration, CMTimeMake(10, 1));
}

TEST(MediaTest, onlyTheFirstVideoTrackCounts) {
    SimulatedAsset asset = movie(30);
    asset.videoTracks->push_back(simulatedVideoTrack({640, 480}, 60, CMTimeMake(99, 1)));
    asset.videoTracks->push_back(AVAssetTrack{}); // not even loadable
    EXPECT_EQ(probed(asset)->width, 1920);
    EXPECT_STREQ(probed(asset)->rate->suffix, "30");
}

TEST(MediaTest, aSoundFileHasNoRateAndNoSize) {
    SimulatedAsset asset;
    asset.duration = CMTimeMake(5, 1);
    asset.audioTracks = {{simulatedAudioTrack(2, 44'100.9)}};
    const auto media = probed(asset);
    EXPECT_FALSE(media->rate);
    EXPECT_FALSE(media->pictureDuration);
    EXPECT_EQ(media->width, 0);
    EXPECT_EQ(media->soundTracks, std::vector<int64_t>{2});
    EXPECT_EQ(media->sampleRate, 44'100); // truncated
}

TEST(MediaTest, aFileWithoutSoundIsAt48000) {
    EXPECT_EQ(probed(movie(30))->sampleRate, 48'000);
    EXPECT_TRUE(probed(movie(30))->soundTracks.empty());
}

TEST(MediaTest, aTrackWithoutADescriptionIsOneChannel) {
    SimulatedAsset asset = movie(30);
    AVAssetTrack none;
    none.formatDescriptions = std::vector<std::shared_ptr<const CMFormatDescription>>{};
    AVAssetTrack null;
    null.formatDescriptions = {{nullptr}};
    AVAssetTrack noSound;
    noSound.formatDescriptions = {{std::make_shared<CMFormatDescription>(VideoDescription{})}};
    asset.audioTracks = {
        {none, null, noSound, simulatedAudioTrack(6, 96'000), simulatedAudioTrack(1, 8'000)}};
    const auto media = probed(asset);
    EXPECT_EQ(media->soundTracks, (std::vector<int64_t>{1, 1, 1, 6, 1}));
    EXPECT_EQ(media->sampleRate, 96'000); // the first that could be read
    EXPECT_EQ(media->channels(), 10);
}

TEST(MediaTest, aFailureOfAnyLoadFailsTheProbe) {
    SimulatedAsset noDuration = movie(30);
    noDuration.duration.reset();
    EXPECT_FALSE(probed(noDuration));
    SimulatedAsset noVideo = movie(30);
    noVideo.videoTracks.reset();
    EXPECT_FALSE(probed(noVideo));
    SimulatedAsset noProperties = movie(30);
    noProperties.videoTracks->front().video.reset();
    EXPECT_FALSE(probed(noProperties));
    SimulatedAsset noAudio = movie(30);
    noAudio.audioTracks.reset();
    EXPECT_FALSE(probed(noAudio));
    SimulatedAsset noDescriptions = movie(30);
    noDescriptions.audioTracks = {{simulatedAudioTrack(1), AVAssetTrack{}}};
    EXPECT_FALSE(probed(noDescriptions));
    EXPECT_TRUE(probed(movie(30)));
}

TEST(WholeFramesTest, framesAreCountedExactlyAndTruncated) {
    const Rate ntsc = kRates[3];
    EXPECT_EQ(wholeFrames(CMTimeMake(90'090, 30'000), ntsc), 90);
    EXPECT_EQ(wholeFrames(CMTimeMake(90'089, 30'000), ntsc), 89);
    EXPECT_EQ(wholeFrames(CMTimeMake(1'000'000'000, 1'000'000'000), kRates[4]), 30);
    EXPECT_EQ(wholeFrames(CMTimeMake(999'999'999, 1'000'000'000), kRates[4]), 29);
    // Two weeks at a nanosecond's scale: the product passes 64 bits on the way.
    EXPECT_EQ(wholeFrames(CMTimeMake(1'209'600'000'000'000, 1'000'000'000), kRates[6]),
              1'209'600LL * 60'000 / 1001);
}

TEST(WholeFramesTest, aLengthThatIsNoNumberHasNoFrames) {
    EXPECT_EQ(wholeFrames(kCMTimeInvalid, kRates[4]), 0);
    EXPECT_EQ(wholeFrames(kCMTimeIndefinite, kRates[4]), 0);
    EXPECT_EQ(wholeFrames(kCMTimePositiveInfinity, kRates[4]), 0);
}

TEST(WholeFramesTest, anAbsurdLengthStaysWithinWhatCanBeMultiplied) {
    const int64_t frames = wholeFrames(CMTimeMake(std::numeric_limits<int64_t>::max(), 1), kRates[6]);
    EXPECT_GT(frames, 1'000'000'000'000);
    EXPECT_LT(frames, std::numeric_limits<int64_t>::max() / 60'000);
}

TEST(MediaTest, aFileThatClaimsMoreThanAFileCanIsNotBelieved) {
    const auto withChannels = [](uint32_t channels, double rate = 48'000) {
        SimulatedAsset asset;
        asset.duration = CMTimeMake(10, 1);
        asset.audioTracks = {{simulatedAudioTrack(channels, rate)}};
        return asset;
    };
    EXPECT_TRUE(probed(withChannels(128)));
    EXPECT_FALSE(probed(withChannels(129)));
    EXPECT_FALSE(probed(withChannels(std::numeric_limits<uint32_t>::max())));
    EXPECT_TRUE(probed(withChannels(2, 768'000)));
    EXPECT_FALSE(probed(withChannels(2, 1e9)));
    SimulatedAsset tracks = withChannels(1);
    tracks.audioTracks->resize(129, tracks.audioTracks->front());
    EXPECT_FALSE(probed(tracks)) << "the sum of all tracks counts";
    SimulatedAsset endless = withChannels(1);
    endless.duration = CMTimeMake(7 * 24 * 3600 + 1, 1);
    EXPECT_FALSE(probed(endless));
    SimulatedAsset wide = movie(30);
    wide.videoTracks->front().video->naturalSize = {65'537, 2};
    EXPECT_FALSE(probed(wide));
}

} // namespace
} // namespace vintra::TimelineFile
