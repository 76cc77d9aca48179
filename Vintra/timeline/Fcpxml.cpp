#include "Vintra/timeline/Fcpxml.h"

#include "Vintra/timeline/XMLText.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <map>
#include <numeric>
#include <string_view>
#include <utility>

namespace vintra::TimelineFile {
namespace {

/// The sizes for which Final Cut has a format with a name.
constexpr std::array<std::string_view, 24> fcpNamedSizes = {
    "640x480",   "960x540",   "960x720",   "1280x720",  "1280x1080", "1440x1080", "1920x1080", "2048x1024",
    "2048x1080", "2048x1152", "2048x1536", "2048x1556", "3840x2160", "4096x2048", "4096x2160", "4096x2304",
    "4096x3112", "5120x2160", "5120x2560", "5120x2700", "5760x2880", "7680x3840", "7680x4320", "8192x4320"};

std::string attribute(std::string_view name, const std::string& plainValue) {
    return std::string(name) + "=\"" + plainValue + "\"";
}

std::string joined(const std::vector<std::string>& parts, const std::string& separator) {
    std::string text;
    for (const std::string& part : parts) {
        if (&part != &parts.front()) text += separator;
        text += part;
    }
    return text;
}

/// Deliberately not reduced: this is the form in which Final Cut itself writes it.
std::string frameDuration(const Rate& rate) {
    if (rate.den == 1) return "100/" + std::to_string(rate.num * 100) + "s";
    return std::to_string(rate.den) + "/" + std::to_string(rate.num) + "s";
}

/// Seconds on the 48 kHz grid, to the nearest, halves away from zero.
int64_t soundTicks(CMTime duration) {
    constexpr double ticksPerSecond = 48000;
    constexpr double limit = 9.0e18; // within 64 bits
    return static_cast<int64_t>(
        std::round(std::clamp(CMTimeGetSeconds(duration) * ticksPerSecond, -limit, limit)));
}

/// One document in the making.
class FcpxmlWriter {
public:
    explicit FcpxmlWriter(const Take& take)
        : take(take) {}

    std::string document() {
        const std::string sequenceFormat = formatOf(3840, 2160, take.rate);
        for (const URL& url : take.order)
            addAsset(take.media.at(url));
        const std::string total = framesTime(take.longestFrames());
        const std::string content = storyline(total);
        return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
               "<!DOCTYPE fcpxml>\n"
               "<!-- Written by Vintra. Every file of the recording, stacked in sync at 0. -->\n"
               "<fcpxml version=\"1.10\">\n"
               "  <resources>\n"
               "      " +
               joined(resources, "\n      ") +
               "\n"
               "  </resources>\n"
               "  <library>\n"
               "    <event name=\"Vintra\">\n"
               "      <project name=" +
               attr(take.files.take) +
               ">\n"
               "        <sequence format=\"" +
               sequenceFormat + "\" duration=\"" + total +
               "\" tcStart=\"0s\" tcFormat=\"NDF\" audioLayout=\"stereo\" audioRate=\"48k\">\n"
               "          <spine>\n"
               "            " +
               content +
               "\n"
               "          </spine>\n"
               "        </sequence>\n"
               "      </project>\n"
               "    </event>\n"
               "  </library>\n"
               "</fcpxml>\n";
    }

private:
    std::string framesTime(int64_t frames) const { return time(frames * take.rate.den, take.rate.num); }

    std::string formatOf(int64_t width, int64_t height, const Rate& rate) {
        const std::string size = std::to_string(width) + "x" + std::to_string(height);
        const std::string key = size + "@" + rate.suffix;
        const auto known = formats.find(key);
        if (known != formats.end()) return known->second;
        const std::string id = "r" + std::to_string(formats.size() + 1);
        formats[key] = id;
        std::string line = "<format " + attribute("id", id);
        if (std::ranges::find(fcpNamedSizes, size) != fcpNamedSizes.end()) {
            const std::string shortSize = size == "1920x1080" ? "1080" : size == "1280x720" ? "720" : size;
            line += " " + attribute("name", "FFVideoFormat" + shortSize + "p" + rate.suffix);
        }
        line += " " + attribute("frameDuration", frameDuration(rate)) + " " +
                attribute("width", std::to_string(width)) + " " +
                attribute("height", std::to_string(height)) + " colorSpace=\"1-1-1 (Rec. 709)\"/>";
        resources.push_back(std::move(line));
        return id;
    }

    std::string formatOf(const Media& picture) {
        return formatOf(picture.width, picture.height, picture.rate.value_or(take.rate));
    }

    void addAsset(const Media& media) {
        const std::string id = "a" + std::to_string(++assetCount);
        ids[media.url] = id;
        std::vector<std::string> attributes = {
            attribute("id", id), "name=" + attr(media.url.stem()), "start=\"0s\"",
            attribute("duration", time(soundTicks(media.duration), 48000))};
        if (media.rate) {
            attributes.push_back("hasVideo=\"1\"");
            attributes.push_back(attribute("format", formatOf(media)));
            attributes.push_back("videoSources=\"1\"");
        }
        if (!media.soundTracks.empty()) {
            attributes.push_back("hasAudio=\"1\"");
            attributes.push_back(attribute("audioSources", std::to_string(media.soundTracks.size())));
            attributes.push_back(attribute("audioChannels", std::to_string(media.channels())));
            attributes.push_back(attribute("audioRate", std::to_string(media.sampleRate)));
        }
        resources.push_back("<asset " + joined(attributes, " ") +
                            ">\n        <media-rep kind=\"original-media\" src=" +
                            attr(take.resolvedURL(media.url).absoluteString()) + "/>\n      </asset>");
    }

    /// The attributes of a clip from `ref` on.
    std::string clipAttributes(const Media& media) const {
        return attribute("ref", ids.at(media.url)) + " name=" + attr(take.files.trackName(media.url)) +
               " offset=\"0s\" start=\"0s\" " + attribute("duration", framesTime(take.frames(media)));
    }

    std::string laneClip(int64_t lane, const Media& media) const {
        return "<asset-clip " + attribute("lane", std::to_string(lane)) + " " + clipAttributes(media);
    }

    /// What is attached to the main clip, one line each: cameras above it, sounds below it, markers.
    std::vector<std::string> connected(const std::vector<Media>& pictures) {
        std::vector<std::string> lines;
        for (size_t above = 1; above < pictures.size(); ++above) {
            lines.push_back(laneClip(static_cast<int64_t>(above), pictures[above]) + " " +
                            attribute("format", formatOf(pictures[above])) + "/>");
        }
        int64_t lane = 0;
        for (const Media& sound : take.sounds)
            lines.push_back(laneClip(--lane, sound) + "/>");
        size_t number = 0;
        for (const int64_t frame : take.markerFrames()) {
            lines.push_back("<marker " + attribute("start", framesTime(frame)) + " " +
                            attribute("duration", frameDuration(take.rate)) + " " +
                            attribute("value", "Marker " + std::to_string(++number)) + "/>");
        }
        return lines;
    }

    std::string storyline(const std::string& total) {
        const std::vector<Media> pictures = take.pictures();
        const std::string inner =
            "\n              " + joined(connected(pictures), "\n              ") + "\n            ";
        if (pictures.empty())
            return "<gap name=\"Gap\" offset=\"0s\" start=\"0s\" " + attribute("duration", total) + ">" +
                   inner + "</gap>";
        return "<asset-clip " + clipAttributes(pictures.front()) + " " +
               attribute("format", formatOf(pictures.front())) + ">" + inner + "</asset-clip>";
    }

    const Take& take;
    std::map<std::string, std::string> formats; ///< ids by size and rate
    std::vector<std::string> resources;
    std::map<URL, std::string> ids; ///< of assets
    int assetCount = 0;
};

} // namespace

std::string time(int64_t value, int64_t scale) {
    if (value == 0) return "0s";
    const int64_t divisor = std::gcd(value, scale);
    const std::string whole = std::to_string(value / divisor);
    if (scale == divisor) return whole + "s";
    return whole + "/" + std::to_string(scale / divisor) + "s";
}

std::string fcpxml(const Take& take) {
    return FcpxmlWriter(take).document();
}

} // namespace vintra::TimelineFile
