#include "Vintra/timeline/Fcpxml.h"
#include "TimelineFixtures.h"
#include "XMLDocument.h"

#include <gtest/gtest.h>

namespace vintra::TimelineFile {
namespace {

using Texts = std::vector<std::string>;

TEST(FcpxmlTest, timesAreReduced) {
    EXPECT_EQ(time(0, 30), "0s");
    EXPECT_EQ(time(90, 30), "3s");
    EXPECT_EQ(time(1234LL * 1001, 24'000), "617617/12000s");
    EXPECT_EQ(time(1, 30), "1/30s");
    EXPECT_EQ(time(-45, 30), "-3/2s");
    EXPECT_EQ(time(-60, 30), "-2s");
}

/// The screen at this size and rate.
XMLDocument screenDocument(int64_t width, int64_t height, const std::string& rate) {
    TakeBuilder builder("take", "/Takes");
    builder.screen(pictureMedia(builder.url("_video.mov"), kTenSeconds, rateNamed(rate), width, height));
    return XMLDocument(fcpxml(builder.take()));
}

std::string screenFormatName(int64_t width, int64_t height, const std::string& rate) {
    return screenDocument(width, height, rate).first("//format[@id='r2']/@name");
}

TEST(FcpxmlTest, knownSizesHaveNamedFormats) {
    EXPECT_EQ(screenFormatName(1920, 1080, "2997"), "FFVideoFormat1080p2997");
    EXPECT_EQ(screenFormatName(1280, 720, "5994"), "FFVideoFormat720p5994");
    EXPECT_EQ(screenFormatName(640, 480, "24"), "FFVideoFormat640x480p24");
    EXPECT_EQ(screenFormatName(8192, 4320, "2398"), "FFVideoFormat8192x4320p2398");
    EXPECT_EQ(screenDocument(3840, 2160, "60").first("//format/@name"), "FFVideoFormat3840x2160p60");
}

TEST(FcpxmlTest, otherSizesHaveNone) {
    const XMLDocument document = screenDocument(1080, 1920, "25");
    EXPECT_EQ(document.count("//format[@id='r2']"), 1u);
    EXPECT_EQ(document.count("//format[@id='r2']/@name"), 0u);
    EXPECT_EQ(document.first("//format[@id='r2']/@width"), "1080");
}

TEST(FcpxmlTest, frameDurationsAreNotReduced) {
    const auto duration = [](const std::string& rate) {
        return screenDocument(3840, 2160, rate).first("//format[@id='r1']/@frameDuration");
    };
    EXPECT_EQ(duration("2398"), "1001/24000s");
    EXPECT_EQ(duration("24"), "100/2400s");
    EXPECT_EQ(duration("25"), "100/2500s");
    EXPECT_EQ(duration("2997"), "1001/30000s");
    EXPECT_EQ(duration("30"), "100/3000s");
    EXPECT_EQ(duration("50"), "100/5000s");
    EXPECT_EQ(duration("5994"), "1001/60000s");
    EXPECT_EQ(duration("60"), "100/6000s");
}

TEST(FcpxmlTest, aScreenOfTheCanvasSizeReusesItsFormat) {
    const XMLDocument document = screenDocument(3840, 2160, "30");
    EXPECT_EQ(document.count("//format"), 1u);
    EXPECT_EQ(document.first("//asset/@format"), "r1");
    EXPECT_EQ(document.first("//spine/asset-clip/@format"), "r1");
}

TEST(FcpxmlTest, theSameSizeAtAnotherRateIsAnotherFormat) {
    TakeBuilder builder("take", "/Takes");
    builder.screen(pictureMedia(builder.url("_video.mov"), kTenSeconds, rateNamed("30"), 1920, 1080));
    builder.camera(pictureMedia(builder.url("_webcam.mov"), kTenSeconds, rateNamed("60"), 1920, 1080));
    builder.camera(pictureMedia(builder.url("_webcam-2.mov"), kTenSeconds, rateNamed("30"), 1920, 1080));
    const XMLDocument document(fcpxml(builder.take()));
    EXPECT_EQ(document.all("//format/@id"), (Texts{"r1", "r2", "r3"}));
    EXPECT_EQ(document.all("//asset/@format"), (Texts{"r2", "r2", "r3"})); // video, webcam-2, webcam
}

TEST(FcpxmlTest, lanesAreCamerasThenSoundsThenMarkers) {
    TakeBuilder builder("take", "/Takes");
    builder.screen(pictureMedia(builder.url("_video.mov"), kTenSeconds, rateNamed("30"), 1920, 1080));
    builder.camera(pictureMedia(builder.url("_webcam.mov"), kTenSeconds, rateNamed("30"), 1920, 1080));
    builder.camera(pictureMedia(builder.url("_webcam-2.mov"), kTenSeconds, rateNamed("30"), 1920, 1080));
    builder.sound(soundMedia(builder.url("_mic.wav"), kTenSeconds, {1}));
    builder.sound(soundMedia(builder.url("_computer-audio.wav"), kTenSeconds, {2}));
    builder.files.markers = {1, 2};
    const XMLDocument document(fcpxml(builder.take()));
    EXPECT_EQ(document.all("//spine/asset-clip/*/@lane"), (Texts{"1", "2", "-1", "-2"}));
    EXPECT_EQ(document.all("//spine/asset-clip/asset-clip/@name"),
              (Texts{"Webcam", "Webcam 2", "Mic", "Computer audio"}));
    EXPECT_EQ(document.all("//spine/asset-clip/asset-clip[4]/following-sibling::*/@value"),
              (Texts{"Marker 1", "Marker 2"}));
    EXPECT_EQ(document.count("//spine/asset-clip/@lane"), 0u);
    EXPECT_EQ(document.count("//asset-clip[@lane < 0]/@format"), 0u);
}

TEST(FcpxmlTest, withoutAScreenTheFirstCameraIsTheMainClip) {
    TakeBuilder builder("take", "/Takes");
    builder.camera(pictureMedia(builder.url("_webcam.mov"), kTenSeconds, rateNamed("25"), 1920, 1080));
    builder.camera(pictureMedia(builder.url("_webcam-2.mov"), kTenSeconds, rateNamed("30"), 1920, 1080));
    const XMLDocument document(fcpxml(builder.take()));
    EXPECT_EQ(document.all("//spine/asset-clip/@name"), Texts{"Webcam"});
    EXPECT_EQ(document.all("//spine/asset-clip/asset-clip/@name"), Texts{"Webcam 2"});
    EXPECT_EQ(document.all("//spine/asset-clip/asset-clip/@lane"), Texts{"1"});
}

TEST(FcpxmlTest, soundAloneHangsOnAGap) {
    TakeBuilder builder("take", "/Takes");
    builder.sound(soundMedia(builder.url("_mic.wav"), kTenSeconds, {1}));
    builder.sound(soundMedia(builder.url("_bass.wav"), CMTimeMake(11, 1), {1}));
    const XMLDocument document(fcpxml(builder.take()));
    EXPECT_EQ(document.all("//spine/gap/@duration"), Texts{"11s"});
    EXPECT_EQ(document.all("//spine/gap/asset-clip/@lane"), (Texts{"-1", "-2"}));
    EXPECT_EQ(document.all("//format/@id"), Texts{"r1"});
}

TEST(FcpxmlTest, aLongerSoundLengthensTheSequence) {
    TakeBuilder builder("take", "/Takes");
    builder.screen(pictureMedia(builder.url("_video.mov"), kTenSeconds, rateNamed("30"), 1920, 1080));
    builder.sound(soundMedia(builder.url("_mic.wav"), CMTimeMake(12, 1), {1}));
    EXPECT_EQ(XMLDocument(fcpxml(builder.take())).first("//sequence/@duration"), "12s");
}

TEST(FcpxmlTest, anAssetLastsAsLongAsItsFileOnThe48KilohertzGrid) {
    TakeBuilder builder("take", "/Takes");
    Media screen =
        pictureMedia(builder.url("_video.mov"), CMTimeMake(100'001, 96'000), rateNamed("30"), 1920, 1080);
    screen.pictureDuration = CMTimeMake(1, 1);
    builder.screen(screen);
    const XMLDocument document(fcpxml(builder.take()));
    EXPECT_EQ(document.first("//asset/@duration"), "16667/16000s"); // 50000.5 ticks, rounded up: 50001/48000
    EXPECT_EQ(document.first("//spine/asset-clip/@duration"), "1s");
}

TEST(FcpxmlTest, embeddedSoundIsDeclaredButHasNoClip) {
    TakeBuilder builder("take", "/Takes");
    builder.screen(pictureMedia(builder.url("_video.mov"), kTenSeconds, rateNamed("30"), 1920, 1080, {1, 2}));
    const XMLDocument document(fcpxml(builder.take()));
    EXPECT_EQ(document.first("//asset/@audioSources"), "2");
    EXPECT_EQ(document.first("//asset/@audioChannels"), "3");
    EXPECT_EQ(document.count("//asset-clip"), 1u);
}

TEST(FcpxmlTest, aSoundFileWithoutATrackDeclaresNoSound) {
    TakeBuilder builder("take", "/Takes");
    builder.sound(soundMedia(builder.url("_mic.wav"), kTenSeconds, {}));
    EXPECT_EQ(XMLDocument(fcpxml(builder.take())).count("//asset/@hasAudio"), 0u);
}

TEST(FcpxmlTest, aFileIsNamedWhereItsLinksLead) {
    TakeBuilder builder("take", "/Takes");
    builder.sound(soundMedia(builder.url("_mic.wav"), kTenSeconds, {1}));
    Take take = builder.take();
    take.resolved[builder.url("_mic.wav")] = URL::fileURL("/Disk 2/mic;1.wav");
    EXPECT_EQ(XMLDocument(fcpxml(take)).first("//media-rep/@src"), "file:///Disk%202/mic%3B1.wav");
    EXPECT_EQ(XMLDocument(fcpxml(take)).first("//asset/@name"), "take_mic");
}

TEST(FcpxmlTest, aFileThatWasLeftOutClosesTheNumbering) {
    TakeBuilder builder("take", "/Takes");
    builder.screen(pictureMedia(builder.url("_video.mov"), kTenSeconds, rateNamed("30"), 1920, 1080));
    builder.camera(pictureMedia(builder.url("_webcam.mov"), kTenSeconds, rateNamed("30"), 1920, 1080));
    builder.camera(pictureMedia(builder.url("_webcam-2.mov"), kTenSeconds, rateNamed("30"), 1920, 1080));
    builder.media.erase(builder.url("_webcam.mov"));
    const XMLDocument document(fcpxml(builder.take()));
    EXPECT_EQ(document.all("//asset/@id"), (Texts{"a1", "a2"}));
    EXPECT_EQ(document.all("//spine/asset-clip/asset-clip/@lane"), Texts{"1"});
    EXPECT_EQ(document.all("//spine/asset-clip/asset-clip/@name"), Texts{"Webcam 2"});
}

} // namespace
} // namespace vintra::TimelineFile
