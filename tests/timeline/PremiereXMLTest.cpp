#include "Vintra/timeline/PremiereXML.h"
#include "TimelineFixtures.h"
#include "XMLDocument.h"

#include <gtest/gtest.h>
#include <utility>

namespace vintra::TimelineFile {
namespace {

using Texts = std::vector<std::string>;

const std::string kAudioTracks = "/xmeml/sequence/media/audio/track";
const std::string kVideoTracks = "/xmeml/sequence/media/video/track";

XMLDocument soundDocument(std::vector<int64_t> soundTracks) {
    TakeBuilder builder("take", "/Takes");
    builder.sound(soundMedia(builder.url("_mic.wav"), kTenSeconds, std::move(soundTracks)));
    return XMLDocument(premiereXML(builder.take()));
}

TEST(PremiereXMLTest, aStereoFileIsTwoLinkedHalves) {
    const XMLDocument document = soundDocument({2});
    EXPECT_EQ(document.all(kAudioTracks + "/@currentExplodedTrackIndex"), (Texts{"0", "1"}));
    EXPECT_EQ(document.all(kAudioTracks + "/@totalExplodedTrackCount"), (Texts{"2", "2"}));
    EXPECT_EQ(document.all(kAudioTracks + "/outputchannelindex"), (Texts{"1", "2"}));
    EXPECT_EQ(document.all(kAudioTracks + "/clipitem/sourcetrack/trackindex"), (Texts{"1", "2"}));
    EXPECT_EQ(document.all(kAudioTracks + "[1]/clipitem/link/linkclipref"),
              (Texts{"clipitem-1", "clipitem-2"}));
    EXPECT_EQ(document.all(kAudioTracks + "[2]/clipitem/link/linkclipref"),
              (Texts{"clipitem-1", "clipitem-2"}));
    EXPECT_EQ(document.all("//file/media/audio/channelcount"), Texts{"2"});
    EXPECT_EQ(document.count("//audiochannel"), 0u);
}

TEST(PremiereXMLTest, aMonoFileIsOneTrackWithoutLinks) {
    const XMLDocument document = soundDocument({1});
    EXPECT_EQ(document.all(kAudioTracks + "/clipitem/@premiereChannelType"), Texts{"mono"});
    EXPECT_EQ(document.all(kAudioTracks + "/@premiereTrackType"), Texts{"Stereo"});
    EXPECT_EQ(document.count("//link"), 0u);
}

TEST(PremiereXMLTest, aFileOfFourChannelsIsOneGroup) {
    const XMLDocument document = soundDocument({4});
    EXPECT_EQ(document.all(kAudioTracks + "/@totalExplodedTrackCount"), (Texts{"1", "1", "1", "1"}));
    EXPECT_EQ(document.all(kAudioTracks + "/outputchannelindex"), (Texts{"1", "2", "1", "2"}));
    EXPECT_EQ(document.all("//audiochannel/sourcechannel"), (Texts{"1", "2", "3", "4"}));
    for (int track = 1; track <= 4; ++track)
        EXPECT_EQ(document.count(kAudioTracks + "[" + std::to_string(track) + "]/clipitem/link"), 4u)
            << track;
}

TEST(PremiereXMLTest, aSoundFileWithoutATrackStillHasOne) {
    const XMLDocument document = soundDocument({});
    EXPECT_EQ(document.all(kAudioTracks + "/clipitem/sourcetrack/trackindex"), Texts{"1"});
    EXPECT_EQ(document.count("//file/media/audio"), 0u);
    EXPECT_EQ(document.count("//file/media"), 1u);
}

TEST(PremiereXMLTest, aReferenceIsDisabledAndLinkedToItsPicture) {
    TakeBuilder builder("take", "/Takes");
    builder.screen(pictureMedia(builder.url("_video.mov"), kTenSeconds, rateNamed("30"), 1920, 1080, {1}));
    const XMLDocument document(premiereXML(builder.take()));
    const std::string picture = kVideoTracks + "/clipitem";
    const std::string reference = kAudioTracks + "/clipitem";
    EXPECT_EQ(document.all(picture + "/link/linkclipref"), (Texts{"clipitem-1", "clipitem-2"}));
    EXPECT_EQ(document.all(reference + "/link/linkclipref"), (Texts{"clipitem-1", "clipitem-2"}));
    EXPECT_EQ(document.all(reference + "/link/mediatype"), (Texts{"video", "audio"}));
    EXPECT_EQ(document.all(reference + "/enabled"), Texts{"FALSE"});
    EXPECT_EQ(document.all(kAudioTracks + "/enabled"), Texts{"TRUE"});
    EXPECT_EQ(document.count(reference + "/file/*"), 0u);
    EXPECT_EQ(document.first(reference + "/file/@id"), "file-1");
    EXPECT_EQ(document.first(reference + "/name"), "Screen · sound 1 (sync reference)");
}

TEST(PremiereXMLTest, theStereoTrackOfAPictureIsTwoMonoReferences) {
    TakeBuilder builder("take", "/Takes");
    builder.camera(
        pictureMedia(builder.url("_webcam.mov"), kTenSeconds, rateNamed("30"), 1920, 1080, {2, 1}));
    const XMLDocument document(premiereXML(builder.take()));
    EXPECT_EQ(document.all(kAudioTracks + "/clipitem/sourcetrack/trackindex"), (Texts{"1", "2", "3"}));
    EXPECT_EQ(document.all(kAudioTracks + "/clipitem/@premiereChannelType"), (Texts{"mono", "mono", "mono"}));
    EXPECT_EQ(document.all(kAudioTracks + "/clipitem/name"),
              (Texts{"Webcam · sound 1 (sync reference)", "Webcam · sound 1 (sync reference)",
                     "Webcam · sound 2 (sync reference)"}));
    EXPECT_EQ(document.all("//file/media/audio/channelcount"), (Texts{"1", "1", "1"}));
    EXPECT_EQ(document.count(kVideoTracks + "/clipitem/link"), 4u);
}

TEST(PremiereXMLTest, aPictureWithoutSoundHasNoLinks) {
    TakeBuilder builder("take", "/Takes");
    builder.screen(pictureMedia(builder.url("_video.mov"), kTenSeconds, rateNamed("30"), 1920, 1080));
    const XMLDocument document(premiereXML(builder.take()));
    EXPECT_EQ(document.count("//link"), 0u);
    EXPECT_EQ(document.count(kAudioTracks), 0u);
}

TEST(PremiereXMLTest, aTakeWithoutPicturesHasTheFormatAlone) {
    const XMLDocument document = soundDocument({1});
    EXPECT_EQ(document.count("/xmeml/sequence/media/video/*"), 1u);
    EXPECT_EQ(document.count("/xmeml/sequence/media/video/format"), 1u);
    EXPECT_EQ(document.first("/xmeml/sequence/rate/timebase"), "30");
    EXPECT_EQ(document.first("/xmeml/sequence/rate/ntsc"), "FALSE");
}

TEST(PremiereXMLTest, timebasesAreWholeRates) {
    const char* expected[][3] = {{"2398", "24", "TRUE"}, {"24", "24", "FALSE"}, {"25", "25", "FALSE"},
                                 {"2997", "30", "TRUE"}, {"30", "30", "FALSE"}, {"50", "50", "FALSE"},
                                 {"5994", "60", "TRUE"}, {"60", "60", "FALSE"}};
    for (const auto& [suffix, timebase, ntsc] : expected) {
        TakeBuilder builder("take", "/Takes");
        builder.screen(pictureMedia(builder.url("_video.mov"), kTenSeconds, rateNamed(suffix), 1920, 1080));
        const XMLDocument document(premiereXML(builder.take()));
        EXPECT_EQ(document.first("/xmeml/sequence/rate/timebase"), timebase);
        EXPECT_EQ(document.first("/xmeml/sequence/rate/ntsc"), ntsc) << suffix;
    }
}

TEST(PremiereXMLTest, aFileIsMeasuredAtItsOwnRateAndItsClipAtTheTakes) {
    TakeBuilder builder("take", "/Takes");
    builder.screen(pictureMedia(builder.url("_video.mov"), kTenSeconds, rateNamed("24"), 1920, 1080));
    builder.camera(pictureMedia(builder.url("_webcam.mov"), kTenSeconds, rateNamed("60"), 1920, 1080));
    const XMLDocument document(premiereXML(builder.take()));
    EXPECT_EQ(document.first(kVideoTracks + "[2]/clipitem/duration"), "240");
    EXPECT_EQ(document.first(kVideoTracks + "[2]/clipitem/file/duration"), "600");
    EXPECT_EQ(document.first(kVideoTracks + "[2]/clipitem/rate/timebase"), "24");
    EXPECT_EQ(document.first(kVideoTracks + "[2]/clipitem/file/rate/timebase"), "60");
}

TEST(PremiereXMLTest, clipsAreNumberedThroughPicturesThenSounds) {
    const XMLDocument document(premiereXML(fullTake()));
    // Three pictures; a mono, a stereo and a four-channel file; 4 channels in the screen, 1 in the webcam.
    Texts expected;
    for (int number = 1; number <= 3 + 7 + 5; ++number)
        expected.push_back("clipitem-" + std::to_string(number));
    EXPECT_EQ(document.all("//clipitem/@id"), expected);
    EXPECT_EQ(document.all("//file[*]/@id"),
              (Texts{"file-1", "file-2", "file-3", "file-4", "file-5", "file-6"}));
    EXPECT_EQ(document.all("//file[*]/name"),
              (Texts{"Q&A \"one\"_video.mov", "Q&A \"one\"_webcam.mov", "Q&A \"one\"_webcam-2.mov",
                     "Q&A \"one\"_mic.wav", "Q&A \"one\"_computer-audio.wav", "Q&A \"one\"_Desk-Mixer.wav"}));
    EXPECT_EQ(document.first("//file[*]/pathurl"),
              "file://localhost/Movies/Tom%20&%20Jo%3B%20100%25/Q&A%20%22one%22_video.mov");
    // The fourth sound track is the first of the four-channel file; its links are tracks 4 to 7.
    EXPECT_EQ(document.all(kAudioTracks + "[4]/clipitem/link/trackindex"), (Texts{"4", "5", "6", "7"}));
}

TEST(PremiereXMLTest, anAmpersandInTheTakesNameIsEscaped) {
    EXPECT_NE(premiereXML(fullTake()).find("\t\t<name>Q&amp;A \"one\"</name>\n"), std::string::npos);
}

TEST(PremiereXMLTest, markersFollowTheMedia) {
    const XMLDocument document(premiereXML(fullTake()));
    EXPECT_EQ(document.all("/xmeml/sequence/marker/in"), (Texts{"30", "15", "0", "299"}));
    EXPECT_EQ(document.all("/xmeml/sequence/media/following-sibling::marker/name"),
              (Texts{"Marker 1", "Marker 2", "Marker 3", "Marker 4"}));
}

} // namespace
} // namespace vintra::TimelineFile
