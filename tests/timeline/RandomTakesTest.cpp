#include "TimelineFixtures.h"
#include "Vintra/timeline/Fcpxml.h"
#include "Vintra/timeline/Otio.h"
#include "Vintra/timeline/PremiereXML.h"
#include "XMLDocument.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <random>
#include <set>

namespace vintra::TimelineFile {
namespace {

using nlohmann::json;

/// Takes of any shape that the recorder, or a folder that someone has moved about, can hold.
class RandomTakes {
public:
    explicit RandomTakes(uint32_t seed)
        : random(seed) {}

    TakeBuilder next() {
        TakeBuilder builder(text(1, 12), "/" + text(1, 8) + "/" + text(1, 8));
        if (upTo(1)) builder.screen(picture(builder.url("_video.mov")));
        const int cameras = upTo(4);
        for (int number = 1; number <= cameras; ++number) {
            const std::string ending = number == 1 ? "" : "-" + std::to_string(number);
            builder.camera(picture(builder.url("_webcam" + ending + ".mov")));
        }
        const int sounds = upTo(8);
        for (int number = 0; number < sounds; ++number) {
            const std::string rest = "_" + text(0, 6) + std::to_string(number) + ".wav";
            builder.sound(soundMedia(builder.url(rest), duration(), channels(upTo(3) ? 1 : upTo(2)),
                                     upTo(1) ? 48'000 : 44'100));
        }
        if (builder.media.empty()) builder.sound(soundMedia(builder.url("_mic.wav"), duration(), {1}));
        if (!builder.files.sounds.empty() && upTo(1))
            builder.files.cameraSound = builder.files.sounds.front();
        const int markers = upTo(6);
        for (int number = 0; number < markers; ++number)
            builder.files.markers.push_back(std::uniform_real_distribution<double>(-5, 5000)(random));
        return builder;
    }

private:
    int upTo(int largest) { return std::uniform_int_distribution<int>(0, largest)(random); }

    CMTime duration() {
        const int32_t scales[] = {600, 30'000, 24'000, 48'000, 44'100, 1'000'000'000};
        const int32_t scale = scales[upTo(5)];
        const int64_t seconds = std::uniform_int_distribution<int64_t>(0, 4000)(random);
        return CMTimeMake(seconds * scale + std::uniform_int_distribution<int32_t>(1, scale)(random), scale);
    }

    std::vector<int64_t> channels(int tracks) {
        std::vector<int64_t> counts;
        for (int track = 0; track < tracks; ++track)
            counts.push_back(1 + upTo(upTo(9) ? 2 : 31));
        return counts;
    }

    Media picture(const URL& url) {
        Media media = pictureMedia(url, duration(), kRates[static_cast<size_t>(upTo(7))], 2 + 2 * upTo(4000),
                                   2 + 2 * upTo(2200), channels(upTo(9) ? upTo(2) : upTo(8)));
        media.pictureDuration = duration();
        return media;
    }

    std::string text(int shortest, int longest) {
        static const std::vector<std::string> pieces = {
            "a", "b",   "Z",    "9",    "&",    "&amp;", "<",   ">",  "\"", "'",    " ",        "  ", ";",
            "%", "%20", "#",    "?",    "\\",   "{",     "]]>", "é",  "录", "🎙", "ß",        "-",  "_",
            ".", "=",   "\x01", "\x1F", "\x7F", "\t",    "\n",  "\r", "|",  "`",    "\xC2\x85", "ﬁ"};
        std::string result;
        for (int left = std::uniform_int_distribution<int>(shortest, longest)(random); left > 0; --left)
            result += pieces[static_cast<size_t>(upTo(static_cast<int>(pieces.size()) - 1))];
        return result;
    }

    std::mt19937 random;
};

/// The text as an XML reader gives it back: what XML can't hold is replaced, and a reader makes one line feed
/// of a carriage return with or without one; in an attribute every such becomes a blank.
std::string asReadFromXML(const std::string& text, bool isAttribute) {
    std::string result;
    for (size_t index = 0; index < text.size(); ++index) {
        char c = text[index];
        const bool isControl = static_cast<unsigned char>(c) < 0x20;
        if (c == '\r') {
            if (index + 1 < text.size() && text[index + 1] == '\n') ++index;
            c = '\n';
        } else if (isControl && c != '\n' && c != '\t') {
            result += "\xEF\xBF\xBD";
            continue;
        }
        result += isAttribute && (c == '\n' || c == '\t') ? ' ' : c;
    }
    return result;
}

std::string percentDecoded(const std::string& text) {
    std::string result;
    for (size_t index = 0; index < text.size(); ++index) {
        if (text[index] != '%') {
            result += text[index];
            continue;
        }
        result += static_cast<char>(std::stoi(text.substr(index + 1, 2), nullptr, 16));
        index += 2;
    }
    return result;
}

template <typename Element, typename Make>
std::vector<std::string> texts(const std::vector<Element>& elements, Make make) {
    std::vector<std::string> result;
    for (const Element& element : elements)
        result.push_back(make(element));
    return result;
}

int64_t seconds48k(const std::string& rationalTime) {
    const size_t slash = rationalTime.find('/');
    const int64_t value = std::stoll(rationalTime);
    return slash == std::string::npos ? value * 48'000
                                      : value * 48'000 / std::stoll(rationalTime.substr(slash + 1));
}

void expectFinalCutHolds(const Take& take) {
    const XMLDocument document(fcpxml(take));
    EXPECT_EQ(document.first("//project/@name"), asReadFromXML(take.files.take, true));
    const auto paths = texts(document.all("//media-rep/@src"), percentDecoded);
    EXPECT_EQ(paths, texts(take.order, [](const URL& url) { return "file://" + url.path(); }));
    EXPECT_EQ(document.all("//asset/@name"),
              texts(take.order, [](const URL& url) { return asReadFromXML(url.stem(), true); }));
    const auto durations = document.all("//asset/@duration");
    for (size_t index = 0; index < take.order.size(); ++index) {
        const double expected = CMTimeGetSeconds(take.media.at(take.order[index]).duration) * 48'000;
        EXPECT_LE(std::abs(static_cast<double>(seconds48k(durations[index])) - expected), 0.5001);
    }
    EXPECT_EQ(document.count("//spine//asset-clip"), take.pictures().size() + take.sounds.size());
    EXPECT_EQ(document.count("//spine/gap"), take.pictures().empty() ? 1u : 0u);
    EXPECT_EQ(document.count("//spine/*/marker"), take.files.markers.size());
    const auto formats = document.all("//format/@id");
    EXPECT_EQ(std::set<std::string>(formats.begin(), formats.end()).size(), formats.size());
    for (const std::string& used : document.all("//@format"))
        EXPECT_TRUE(std::ranges::find(formats, used) != formats.end()) << used;
}

void expectResolveHolds(const Take& take) {
    const json document = json::parse(otio(take));
    EXPECT_EQ(document["name"], take.files.take);
    const json& tracks = document["tracks"]["children"];
    size_t references = 0;
    for (const Media& picture : take.pictures())
        references += picture.soundTracks.size();
    ASSERT_EQ(tracks.size(), take.pictures().size() + take.sounds.size() + references);
    std::set<std::string> named;
    const double fps = static_cast<double>(take.rate.num) / static_cast<double>(take.rate.den);
    for (const json& track : tracks) {
        const json& clip = track["children"][0];
        const std::string path = clip["media_references"]["DEFAULT_MEDIA"]["target_url"];
        named.insert(path);
        const Media& media = take.media.at(URL::fileURL(path));
        const double frames = clip["source_range"]["duration"]["value"];
        EXPECT_NEAR(frames, CMTimeGetSeconds(media.length()) * fps, 1.0001);
        EXPECT_EQ(clip["source_range"]["duration"]["rate"], fps);
    }
    EXPECT_EQ(named.size(), take.order.size());
    const json& markers = document["tracks"]["markers"];
    ASSERT_EQ(markers.size(), take.files.markers.size());
    for (const json& marker : markers) {
        const double frame = marker["marked_range"]["start_time"]["value"];
        EXPECT_GE(frame, 0);
        EXPECT_LT(frame, std::max<double>(1, static_cast<double>(take.longestFrames())));
    }
}

void expectPremiereHolds(const Take& take) {
    const XMLDocument document(premiereXML(take));
    EXPECT_EQ(document.first("/xmeml/sequence/name"), asReadFromXML(take.files.take, false));
    std::set<std::string> paths;
    for (const std::string& path : document.all("//file/pathurl"))
        paths.insert(percentDecoded(path));
    std::set<std::string> expected;
    int64_t soundTracks = 0;
    for (const Media& picture : take.pictures()) {
        expected.insert("file://localhost" + picture.url.path());
        soundTracks += picture.channels();
    }
    for (const Media& sound : take.sounds) {
        expected.insert("file://localhost" + sound.url.path());
        soundTracks += std::max<int64_t>(1, sound.channels());
    }
    EXPECT_EQ(paths, expected);
    EXPECT_EQ(document.count("//file[*]"), expected.size());
    EXPECT_EQ(document.count("//video/track"), take.pictures().size());
    EXPECT_EQ(document.count("//sequence/media/audio/track"), static_cast<size_t>(soundTracks));
    EXPECT_EQ(document.count("//sequence/marker"), take.files.markers.size());
    const auto clips = document.all("//clipitem/@id");
    const std::set<std::string> ids(clips.begin(), clips.end());
    EXPECT_EQ(ids.size(), clips.size());
    for (const std::string& link : document.all("//linkclipref"))
        EXPECT_TRUE(ids.contains(link)) << link;
}

TEST(RandomTakesTest, independentParsersFindWhatWentIn) {
    const uint32_t seed = std::random_device{}();
    RandomTakes takes(seed);
    for (int round = 0; round < 40 && !testing::Test::HasFailure(); ++round) {
        SCOPED_TRACE("seed " + std::to_string(seed) + ", round " + std::to_string(round));
        const Take take = takes.next().take();
        expectFinalCutHolds(take);
        expectResolveHolds(take);
        expectPremiereHolds(take);
    }
}

} // namespace
} // namespace vintra::TimelineFile
