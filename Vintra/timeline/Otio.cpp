#include "Vintra/timeline/Otio.h"

#include "Vintra/timeline/JSON.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace vintra::TimelineFile {
namespace {

JSON::Object soundNotes(int64_t channelCount) {
    return {{"Audio Type", channelCount == 1 ? "Mono" : "Stereo"}, {"Locked", false}, {"SoloOn", false}};
}

JSON channels(int64_t count, int64_t track) {
    JSON::Array sources;
    for (int64_t channel = 0; channel < count; ++channel)
        sources.push_back(JSON::object("Source Channel ID", channel, "Source Track ID", track));
    return sources;
}

/// Metadata that Resolve reads.
JSON resolveMetadata(JSON::Object notes) {
    if (notes.empty()) return JSON::Object{};
    return JSON::object("Resolve_OTIO", std::move(notes));
}

JSON makeTrack(std::string name, const char* kind, JSON clip, JSON::Object notes) {
    JSON::Array children;
    children.push_back(std::move(clip));
    return JSON::object("OTIO_SCHEMA", "Track.1", "metadata", JSON::object("Resolve_OTIO", std::move(notes)),
                        "name", std::move(name), "source_range", nullptr, "effects", JSON::Array{}, "markers",
                        JSON::Array{}, "enabled", true, "children", std::move(children), "kind", kind);
}

/// One document in the making.
class OtioWriter {
public:
    explicit OtioWriter(const Take& take)
        : take(take)
        , fps(take.rate.framesPerSecond()) {}

    JSON timeline() {
        for (const Media& sound : take.sounds)
            addSound(sound);
        int64_t group = 0;
        for (const Media& picture : take.pictures())
            addPicture(picture, ++group);
        JSON::Array tracks = std::move(videoTracks);
        std::move(soundTracks.begin(), soundTracks.end(), std::back_inserter(tracks));
        JSON stack = JSON::object("OTIO_SCHEMA", "Stack.1", "metadata", JSON::Object{}, "name", "",
                                  "source_range", nullptr, "effects", JSON::Array{}, "markers", markers(),
                                  "enabled", true, "children", std::move(tracks));
        return JSON::object("OTIO_SCHEMA", "Timeline.1", "metadata",
                            resolveMetadata({{"Resolve OTIO Meta Version", "1.0"}}), "name", take.files.take,
                            "global_start_time", time(0), "tracks", std::move(stack));
    }

private:
    JSON time(double frames) const {
        return JSON::object("OTIO_SCHEMA", "RationalTime.1", "rate", fps, "value", frames);
    }

    JSON span(double frames) const {
        return JSON::object("OTIO_SCHEMA", "TimeRange.1", "duration", time(frames), "start_time", time(0));
    }

    JSON makeClip(const Media& media, JSON::Object notes, bool enabled) const {
        const CMTime length = media.length();
        const double frames = length.isNumeric() ? std::trunc(CMTimeGetSeconds(length) * fps) : 0;
        JSON reference =
            JSON::object("OTIO_SCHEMA", "ExternalReference.1", "metadata", JSON::Object{}, "name",
                         media.url.lastPathComponent(), "available_range", span(frames),
                         "available_image_bounds", nullptr, "target_url", take.resolvedURL(media.url).path());
        return JSON::object("OTIO_SCHEMA", "Clip.2", "metadata", resolveMetadata(std::move(notes)), "name",
                            take.files.trackName(media.url), "source_range", span(frames), "effects",
                            JSON::Array{}, "markers", JSON::Array{}, "enabled", enabled, "media_references",
                            JSON::object("DEFAULT_MEDIA", std::move(reference)), "active_media_reference_key",
                            "DEFAULT_MEDIA");
    }

    /// All channels of a sound file say track 0, for a WAV file has one sound track.
    void addSound(const Media& sound) {
        const int64_t count = sound.channels();
        JSON clip = makeClip(sound, {{"Channels", channels(count, 0)}}, true);
        soundTracks.push_back(
            makeTrack(take.files.trackName(sound.url), "Audio", std::move(clip), soundNotes(count)));
    }

    void addPicture(const Media& picture, int64_t group) {
        const std::string name = take.files.trackName(picture.url);
        JSON clip = makeClip(picture, {{"Link Group ID", group}}, true);
        videoTracks.push_back(makeTrack(name, "Video", std::move(clip), {{"Locked", false}}));
        const std::vector<std::string> labels = take.labels(picture);
        const size_t count = std::min(labels.size(), picture.soundTracks.size());
        for (size_t track = 0; track < count; ++track) {
            const int64_t channelCount = picture.soundTracks[track];
            JSON::Object notes = {{"Channels", channels(channelCount, static_cast<int64_t>(track))},
                                  {"Link Group ID", group}};
            soundTracks.push_back(makeTrack(name + " · " + labels[track] + " (sync reference)", "Audio",
                                            makeClip(picture, std::move(notes), false),
                                            soundNotes(channelCount)));
        }
    }

    JSON markers() const {
        JSON::Array all;
        all.reserve(take.files.markers.size());
        for (const int64_t frame : take.markerFrames()) {
            JSON range = JSON::object("OTIO_SCHEMA", "TimeRange.1", "duration", time(1), "start_time",
                                      time(static_cast<double>(frame)));
            all.push_back(JSON::object("OTIO_SCHEMA", "Marker.2", "metadata", JSON::Object{}, "name",
                                       "Marker " + std::to_string(all.size() + 1), "color", "BLUE",
                                       "marked_range", std::move(range), "comment", ""));
        }
        return all;
    }

    const Take& take;
    const double fps;
    JSON::Array videoTracks;
    JSON::Array soundTracks;
};

} // namespace

std::string otio(const Take& take) {
    return OtioWriter(take).timeline().text(0);
}

} // namespace vintra::TimelineFile
