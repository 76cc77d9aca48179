#include "Vintra/timeline/PremiereXML.h"

#include "Vintra/timeline/Node.h"
#include "Vintra/timeline/PremiereSound.h"

#include <algorithm>
#include <set>
#include <utility>

namespace vintra::TimelineFile {
namespace {

Node rateNode(const Rate& rate) {
    Node node("rate");
    node.add(Node::withValue("timebase", (rate.num + rate.den / 2) / rate.den));
    node.add(Node::withValue("ntsc", rate.den == 1001 ? "TRUE" : "FALSE"));
    return node;
}

/// The same for all files, whatever their own rate.
Node soundCharacteristics() {
    Node node("samplecharacteristics");
    node.add(Node::withValue("depth", 16));
    node.add(Node::withValue("samplerate", 48000));
    return node;
}

Node pictureCharacteristics(const Rate& rate, int64_t width, int64_t height) {
    Node node("samplecharacteristics");
    node.add(rateNode(rate));
    node.add(Node::withValue("width", width));
    node.add(Node::withValue("height", height));
    node.add(Node::withValue("anamorphic", "FALSE"));
    node.add(Node::withValue("pixelaspectratio", "square"));
    node.add(Node::withValue("fielddominance", "none"));
    return node;
}

Node wrapped(std::string name, Node child) {
    Node node(std::move(name));
    node.add(std::move(child));
    return node;
}

/// The sound inside a file. A stereo sound file is one pair, any other a list of channels.
std::vector<Node> soundNodes(const Media& media) {
    std::vector<Node> nodes;
    const int64_t total = media.channels();
    if (!media.rate && total == 2) {
        Node pair("audio");
        pair.add(soundCharacteristics());
        pair.add(Node::withValue("channelcount", 2));
        nodes.push_back(std::move(pair));
        return nodes;
    }
    for (int64_t channel = 1; channel <= total; ++channel) {
        Node single("audio");
        single.add(soundCharacteristics());
        single.add(Node::withValue("channelcount", 1));
        single.add(wrapped("audiochannel", Node::withValue("sourcechannel", channel)));
        nodes.push_back(std::move(single));
    }
    return nodes;
}

/// Marks the track as enabled and not locked.
void addTrackState(Node& track) {
    track.add(Node::withValue("enabled", "TRUE"));
    track.add(Node::withValue("locked", "FALSE"));
}

/// The two mono outputs of the sequence.
Node outputsNode() {
    Node outputs("outputs");
    for (int64_t output = 1; output <= 2; ++output) {
        Node group("group");
        group.add(Node::withValue("index", output));
        group.add(Node::withValue("numchannels", 1));
        group.add(Node::withValue("downmix", 0));
        group.add(wrapped("channel", Node::withValue("index", output)));
        outputs.add(std::move(group));
    }
    return outputs;
}

/// One document in the making. The nodes are made in the order in which they are printed: the first clip of a
/// file carries the file's description, later ones refer to it.
class PremiereWriter {
public:
    explicit PremiereWriter(const Take& take)
        : take(take)
        , pictures(take.pictures())
        , sounds(premiereSounds(take)) {
        for (const Media& picture : pictures) {
            numberFile(picture);
            picturePositions.try_emplace(picture.url, picturePositions.size());
        }
        for (const Media& sound : take.sounds)
            numberFile(sound);
        for (size_t position = 0; position < sounds.size(); ++position)
            if (sounds[position].group) groups[*sounds[position].group].push_back(position);
    }

    Node document() {
        Node sequence("sequence", Node::Attributes{{"id", "sequence-1"}});
        sequence.add(Node::withValue("duration", take.longestFrames()));
        sequence.add(rateNode(take.rate));
        sequence.add(Node::withValue("name", take.files.take));
        Node media("media");
        media.add(videoNode());
        media.add(audioNode());
        sequence.add(std::move(media));
        addMarkers(sequence);
        Node root("xmeml", Node::Attributes{{"version", "4"}});
        root.add(std::move(sequence));
        return root;
    }

private:
    void numberFile(const Media& media) { fileNumbers.try_emplace(media.url, fileNumbers.size() + 1); }

    std::string fileNumber(const Media& media) const { return std::to_string(fileNumbers.at(media.url)); }

    static std::string pictureClip(size_t picture) { return "clipitem-" + std::to_string(picture + 1); }
    std::string soundClip(size_t position) const {
        return "clipitem-" + std::to_string(pictures.size() + position + 1);
    }

    void addTiming(Node& clip, const Media& media) const {
        const int64_t frames = take.frames(media);
        clip.add(Node::withValue("duration", frames));
        clip.add(rateNode(take.rate));
        clip.add(Node::withValue("start", 0));
        clip.add(Node::withValue("end", frames));
        clip.add(Node::withValue("in", 0));
        clip.add(Node::withValue("out", frames));
    }

    Node fileNode(const Media& media) {
        Node file("file", Node::Attributes{{"id", "file-" + fileNumber(media)}});
        if (!described.insert(media.url).second) return file;
        const Rate rate = media.rate.value_or(take.rate);
        file.add(Node::withValue("name", media.url.lastPathComponent()));
        file.add(Node::withValue("pathurl",
                                 "file://localhost" + take.resolvedURL(media.url).percentEncodedPath()));
        file.add(rateNode(rate));
        file.add(Node::withValue("duration", wholeFrames(media.length(), rate)));
        Node timecode("timecode");
        timecode.add(rateNode(rate));
        timecode.add(Node::withValue("string", "00:00:00:00"));
        timecode.add(Node::withValue("frame", 0));
        timecode.add(Node::withValue("displayformat", "NDF"));
        file.add(std::move(timecode));
        Node content("media");
        if (media.rate)
            content.add(wrapped("video", pictureCharacteristics(*media.rate, media.width, media.height)));
        content.add(soundNodes(media));
        file.add(std::move(content));
        return file;
    }

    static Node linkNode(std::string clip, const char* mediaType, size_t track) {
        Node link("link");
        link.add(Node::withValue("linkclipref", std::move(clip)));
        link.add(Node::withValue("mediatype", mediaType));
        link.add(Node::withValue("trackindex", static_cast<int64_t>(track)));
        link.add(Node::withValue("clipindex", 1));
        return link;
    }

    /// Links to every clip of the group; a linked clip lists itself too.
    void addLinks(Node& clip, const std::optional<std::string>& group, std::optional<size_t> picture) const {
        if (!group) return;
        if (picture) clip.add(linkNode(pictureClip(*picture), "video", *picture + 1));
        const auto members = groups.find(*group);
        if (members == groups.end()) return;
        for (const size_t position : members->second) {
            Node link = linkNode(soundClip(position), "audio", position + 1);
            link.add(Node::withValue("groupindex", 1));
            clip.add(std::move(link));
        }
    }

    Node videoTrack(size_t position) {
        const Media& picture = pictures[position];
        Node clip("clipitem", Node::Attributes{{"id", pictureClip(position)}});
        clip.add(Node::withValue("masterclipid", "masterclip-" + fileNumber(picture)));
        clip.add(Node::withValue("name", take.files.trackName(picture.url)));
        clip.add(Node::withValue("enabled", "TRUE"));
        addTiming(clip, picture);
        clip.add(Node::withValue("alphatype", "none"));
        clip.add(Node::withValue("pixelaspectratio", "square"));
        clip.add(Node::withValue("anamorphic", "FALSE"));
        clip.add(fileNode(picture));
        if (!picture.soundTracks.empty()) addLinks(clip, picture.url.path(), position);
        Node track = wrapped("track", std::move(clip));
        addTrackState(track);
        return track;
    }

    static Node::Attributes soundTrackAttributes(const PremiereSound& sound) {
        // Every track counts as stereo, mono ones too: Premiere then gives each its balance.
        return {{"PannerCurrentValue", "0.5"},
                {"PannerIsInverted", "true"},
                {"PannerStartKeyframe", "-91445760000000000,0.5,0,0,0,0,0,0"},
                {"PannerName", "Balance"},
                {"currentExplodedTrackIndex", std::to_string(sound.stereoHalf.value_or(0))},
                {"totalExplodedTrackCount", sound.stereoHalf ? "2" : "1"},
                {"premiereTrackType", "Stereo"}};
    }

    Node soundTrack(size_t position) {
        const PremiereSound& sound = sounds[position];
        const Media& media = *sound.media;
        Node clip("clipitem",
                  Node::Attributes{{"id", soundClip(position)},
                                   {"premiereChannelType", sound.stereoHalf ? "stereo" : "mono"}});
        clip.add(Node::withValue("masterclipid", "masterclip-" + fileNumber(media)));
        clip.add(Node::withValue("name", sound.name));
        clip.add(Node::withValue("enabled", sound.enabled ? "TRUE" : "FALSE"));
        addTiming(clip, media);
        clip.add(fileNode(media));
        Node source("sourcetrack");
        source.add(Node::withValue("mediatype", "audio"));
        source.add(Node::withValue("trackindex", sound.channel));
        clip.add(std::move(source));
        const auto picture = picturePositions.find(media.url);
        addLinks(clip, sound.group,
                 picture == picturePositions.end() ? std::nullopt : std::optional(picture->second));
        Node track("track", soundTrackAttributes(sound));
        track.add(std::move(clip));
        addTrackState(track);
        // Mono tracks alternate between the two outputs.
        const int64_t output = sound.stereoHalf.value_or(static_cast<int64_t>(position % 2)) + 1;
        track.add(Node::withValue("outputchannelindex", output));
        return track;
    }

    Node videoNode() {
        Node video("video");
        video.add(wrapped("format", pictureCharacteristics(take.rate, 3840, 2160)));
        for (size_t position = 0; position < pictures.size(); ++position)
            video.add(videoTrack(position));
        return video;
    }

    Node audioNode() {
        Node audio("audio");
        audio.add(Node::withValue("numOutputChannels", 2));
        audio.add(wrapped("format", soundCharacteristics()));
        audio.add(outputsNode());
        for (size_t position = 0; position < sounds.size(); ++position)
            audio.add(soundTrack(position));
        return audio;
    }

    void addMarkers(Node& sequence) const {
        sequence.children.reserve(sequence.children.size() + take.files.markers.size());
        int64_t number = 0;
        for (const int64_t frame : take.markerFrames()) {
            Node marker("marker");
            marker.add(Node::withValue("comment", ""));
            marker.add(Node::withValue("name", "Marker " + std::to_string(++number)));
            marker.add(Node::withValue("in", frame));
            marker.add(Node::withValue("out", -1));
            sequence.add(std::move(marker));
        }
    }

    const Take& take;
    const std::vector<Media> pictures;
    const std::vector<PremiereSound> sounds;
    std::map<URL, size_t> fileNumbers;
    std::map<URL, size_t> picturePositions;
    std::map<std::string, std::vector<size_t>> groups; ///< positions of the linked sounds by group
    std::set<URL> described;                           ///< files whose full element is written
};

} // namespace

std::string premiereXML(const Take& take) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE xmeml>\n" +
           PremiereWriter(take).document().text(0) + "\n";
}

} // namespace vintra::TimelineFile
