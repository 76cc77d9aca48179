#include "Vintra/timeline/Otio.h"
#include "TimelineFixtures.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <utility>

namespace vintra::TimelineFile {
namespace {

using nlohmann::json;

json tracksOf(const Take& take) {
    return json::parse(otio(take)).at("tracks").at("children");
}

json resolveNotes(const json& item) {
    return item.at("metadata").at("Resolve_OTIO");
}

json channel(int source, int track) {
    return {{"Source Channel ID", source}, {"Source Track ID", track}};
}

std::vector<std::string> names(const json& items) {
    std::vector<std::string> result;
    for (const json& item : items)
        result.push_back(item.at("name"));
    return result;
}

TEST(OtioTest, everyPictureIsALinkGroupWithItsSound) {
    TakeBuilder builder("take", "/Takes");
    builder.screen(pictureMedia(builder.url("_video.mov"), kTenSeconds, rateNamed("30"), 1920, 1080, {1}));
    builder.camera(pictureMedia(builder.url("_webcam.mov"), kTenSeconds, rateNamed("30"), 1920, 1080, {1}));
    builder.sound(soundMedia(builder.url("_mic.wav"), kTenSeconds, {1}));
    const json tracks = tracksOf(builder.take());
    EXPECT_EQ(names(tracks),
              (std::vector<std::string>{"Screen", "Webcam", "Mic", "Screen · mic (sync reference)",
                                        "Webcam · mic (sync reference)"}));
    const int groups[] = {1, 2, 0, 1, 2};
    for (size_t index = 0; index < tracks.size(); ++index)
        EXPECT_EQ(resolveNotes(tracks[index]["children"][0]).value("Link Group ID", 0), groups[index])
            << index;
    EXPECT_EQ(resolveNotes(tracks[3]["children"][0])["Channels"], json::array({channel(0, 0)}));
    EXPECT_EQ(tracks[3]["children"][0]["name"], "Screen");
    EXPECT_EQ(tracks[3]["children"][0]["enabled"], false);
    EXPECT_EQ(tracks[3]["enabled"], true);
    EXPECT_EQ(tracks[0]["kind"], "Video");
    EXPECT_EQ(tracks[3]["kind"], "Audio");
}

TEST(OtioTest, referenceTracksCountTheSoundTracksOfTheirFile) {
    TakeBuilder builder("take", "/Takes");
    builder.screen(
        pictureMedia(builder.url("_video.mov"), kTenSeconds, rateNamed("30"), 1920, 1080, {1, 2, 1}));
    for (const char* rest : {"_mic.wav", "_computer-audio.wav", "_Bass.wav"})
        builder.sound(soundMedia(builder.url(rest), kTenSeconds, {1}));
    const json tracks = tracksOf(builder.take());
    ASSERT_EQ(tracks.size(), 7u);
    EXPECT_EQ(tracks[4]["name"], "Screen · mic (sync reference)");
    EXPECT_EQ(tracks[5]["name"], "Screen · computer audio (sync reference)");
    EXPECT_EQ(tracks[6]["name"], "Screen · Bass (sync reference)");
    EXPECT_EQ(resolveNotes(tracks[4]["children"][0])["Channels"], json::array({channel(0, 0)}));
    EXPECT_EQ(resolveNotes(tracks[5]["children"][0])["Channels"],
              json::array({channel(0, 1), channel(1, 1)}));
    EXPECT_EQ(resolveNotes(tracks[6]["children"][0])["Channels"], json::array({channel(0, 2)}));
}

TEST(OtioTest, referenceTracksThatMatchNothingAreNumbered) {
    TakeBuilder builder("take", "/Takes");
    builder.screen(
        pictureMedia(builder.url("_video.mov"), kTenSeconds, rateNamed("30"), 1920, 1080, {1, 1, 1}));
    builder.sound(soundMedia(builder.url("_mic.wav"), kTenSeconds, {1}));
    builder.sound(soundMedia(builder.url("_bass.wav"), kTenSeconds, {1}));
    const json tracks = tracksOf(builder.take());
    EXPECT_EQ(tracks[3]["name"], "Screen · sound 1 (sync reference)");
    EXPECT_EQ(tracks[5]["name"], "Screen · sound 3 (sync reference)");
}

json soundTrack(std::vector<int64_t> soundTracks) {
    TakeBuilder builder("take", "/Takes");
    builder.sound(soundMedia(builder.url("_mic.wav"), kTenSeconds, std::move(soundTracks)));
    return tracksOf(builder.take()).at(0);
}

TEST(OtioTest, channelsAndTypeOfASoundFile) {
    const json mono = soundTrack({1});
    EXPECT_EQ(resolveNotes(mono)["Audio Type"], "Mono");
    EXPECT_EQ(resolveNotes(mono["children"][0])["Channels"], json::array({channel(0, 0)}));
    const json stereo = soundTrack({2});
    EXPECT_EQ(resolveNotes(stereo)["Audio Type"], "Stereo");
    EXPECT_EQ(resolveNotes(stereo["children"][0])["Channels"], json::array({channel(0, 0), channel(1, 0)}));
    const json none = soundTrack({});
    EXPECT_EQ(resolveNotes(none)["Audio Type"], "Stereo");
    EXPECT_EQ(resolveNotes(none["children"][0])["Channels"], json::array());
    const json three = soundTrack({3});
    EXPECT_EQ(resolveNotes(three)["Audio Type"], "Stereo");
    EXPECT_EQ(resolveNotes(three["children"][0])["Channels"].size(), 3u);
}

TEST(OtioTest, soundAloneIsAtThirtyFrames) {
    TakeBuilder builder("take", "/Takes");
    builder.sound(soundMedia(builder.url("_mic.wav"), kTenSeconds, {1}));
    const std::string text = otio(builder.take());
    const json document = json::parse(text);
    EXPECT_EQ(document["tracks"]["children"].size(), 1u);
    EXPECT_EQ(document["tracks"]["children"][0]["kind"], "Audio");
    EXPECT_NE(text.find("\"rate\": 30.0,\n"), std::string::npos);
    EXPECT_NE(text.find("\"value\": 300.0\n"), std::string::npos);
    EXPECT_EQ(text.back(), '}');
}

TEST(OtioTest, lengthsAreTruncatedSecondsTimesRate) {
    TakeBuilder builder("take", "/Takes");
    Media screen = pictureMedia(builder.url("_video.mov"), kTenSeconds, rateNamed("2997"), 1920, 1080);
    screen.pictureDuration = CMTimeMake(119'999, 12'000); // 9.99991... seconds, 299.697... frames
    builder.screen(screen);
    const json clip = tracksOf(builder.take())[0]["children"][0];
    EXPECT_EQ(clip["source_range"]["duration"]["value"], 299.0);
    EXPECT_EQ(clip["media_references"]["DEFAULT_MEDIA"]["available_range"]["duration"]["value"], 299.0);
}

TEST(OtioTest, namesPassAndControlCharactersAreEscaped) {
    TakeBuilder builder("take", "/Takes/Zoë");
    builder.sound(soundMedia(builder.url("_录音\x01\"q.wav"), kTenSeconds, {1}));
    const std::string text = otio(builder.take());
    EXPECT_NE(text.find("\"name\": \"take_录音\\u0001\\\"q.wav\""), std::string::npos);
    EXPECT_NE(text.find("\"target_url\": \"/Takes/Zoë/take_录音\\u0001\\\"q.wav\""), std::string::npos);
}

TEST(OtioTest, aFileIsNamedWhereItsLinksLead) {
    TakeBuilder builder("take", "/Takes");
    builder.sound(soundMedia(builder.url("_mic.wav"), kTenSeconds, {1}));
    Take take = builder.take();
    take.resolved[builder.url("_mic.wav")] = URL::fileURL("/Disk 2/other.wav");
    const json reference = tracksOf(take)[0]["children"][0]["media_references"]["DEFAULT_MEDIA"];
    EXPECT_EQ(reference["target_url"], "/Disk 2/other.wav");
    EXPECT_EQ(reference["name"], "take_mic.wav");
}

TEST(OtioTest, markersSitOnTheStack) {
    TakeBuilder builder("take", "/Takes");
    builder.sound(soundMedia(builder.url("_mic.wav"), kTenSeconds, {1}));
    builder.files.markers = {2, -1, 100};
    const json markers = json::parse(otio(builder.take()))["tracks"]["markers"];
    EXPECT_EQ(names(markers), (std::vector<std::string>{"Marker 1", "Marker 2", "Marker 3"}));
    EXPECT_EQ(markers[0]["marked_range"]["start_time"]["value"], 60.0);
    EXPECT_EQ(markers[1]["marked_range"]["start_time"]["value"], 0.0);
    EXPECT_EQ(markers[2]["marked_range"]["start_time"]["value"], 299.0);
    EXPECT_EQ(markers[2]["marked_range"]["duration"]["value"], 1.0);
}

} // namespace
} // namespace vintra::TimelineFile
