#include "Vintra/timeline/Media.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

namespace vintra::TimelineFile {
namespace {

__extension__ using Wide = __int128;

// What a file may claim of itself. Beyond it is damaged or made to do harm, and a document of it would be of no
// use: its size grows with the square of a file's channels.
constexpr double kLongestFile = 7.0 * 24 * 60 * 60; // seconds
constexpr int64_t kMostChannels = 128;              // of all tracks of a file
constexpr double kHighestSampleRate = 768'000;      // hertz
constexpr double kLargestSide = 65'536;             // pixels

bool isBelievable(CMTime length) {
    return !length.isNumeric() || CMTimeGetSeconds(length) <= kLongestFile;
}

Rate rateOf(const AVVideoTrackProperties& video) {
    constexpr double tolerance = 0.002; // of the rate: the neighbours 29.97 and 30 are 0.001 apart
    const double fps = video.nominalFrameRate;
    const Rate nearest = Rate::nearest(fps);
    const double difference = std::fabs(nearest.framesPerSecond() - fps);
    const double error = fps > 1.0 ? difference / fps : difference;
    if (error < tolerance) return nearest;
    if (video.minFrameDuration.isNumeric()) {
        const double seconds = CMTimeGetSeconds(video.minFrameDuration);
        if (seconds > 0) return Rate::nearest(1 / seconds);
    }
    return nearest;
}

bool readPicture(Media& media, AVURLAsset& asset) {
    const auto tracks = asset.loadTracks(AVMediaType::video);
    if (!tracks) return false;
    if (tracks->empty()) return true;
    const auto& video = tracks->front().video;
    if (!video || !isBelievable(video->timeRange.end())) return false;
    const CGSize size = video->naturalSize;
    if (!(size.width >= 0 && size.width <= kLargestSide && size.height >= 0 && size.height <= kLargestSide))
        return false;
    media.width = std::llround(video->naturalSize.width);
    media.height = std::llround(video->naturalSize.height);
    const CMTime end = video->timeRange.end();
    if (end.isNumeric()) media.pictureDuration = end;
    media.rate = rateOf(*video);
    return true;
}

const AudioStreamBasicDescription*
firstDescription(const std::vector<std::shared_ptr<const CMFormatDescription>>& descriptions) {
    if (descriptions.empty() || !descriptions.front()) return nullptr;
    return descriptions.front()->streamBasicDescription();
}

bool readSound(Media& media, AVURLAsset& asset) {
    const auto tracks = asset.loadTracks(AVMediaType::audio);
    if (!tracks) return false;
    if (tracks->size() > kMostChannels) return false;
    bool rateIsRead = false;
    for (const AVAssetTrack& track : *tracks) {
        if (!track.formatDescriptions) return false;
        const AudioStreamBasicDescription* sound = firstDescription(*track.formatDescriptions);
        media.soundTracks.push_back(sound ? sound->mChannelsPerFrame : 1);
        if (media.channels() > kMostChannels) return false;
        if (!sound || rateIsRead) continue;
        if (!(sound->mSampleRate >= 0 && sound->mSampleRate <= kHighestSampleRate)) return false;
        media.sampleRate = static_cast<int64_t>(sound->mSampleRate);
        rateIsRead = true;
    }
    return true;
}

} // namespace

int64_t Media::channels() const {
    return std::accumulate(soundTracks.begin(), soundTracks.end(), int64_t{0});
}

std::optional<Media> Media::probe(const URL& url, AssetProbing& probing) {
    const auto asset = probing.asset(url);
    const auto duration = asset->loadDuration();
    if (!duration || !isBelievable(*duration)) return std::nullopt;
    Media media;
    media.url = url;
    media.duration = *duration;
    if (!readPicture(media, *asset) || !readSound(media, *asset)) return std::nullopt;
    return media;
}

int64_t wholeFrames(CMTime length, const Rate& rate) {
    if (!length.isNumeric()) return 0;
    // A broken file may claim any length. The limit leaves room for the products that are later made with it.
    constexpr Wide limit = std::numeric_limits<int64_t>::max() / 100'000;
    const Wide frames =
        static_cast<Wide>(length.value) * rate.num / (static_cast<Wide>(length.timescale) * rate.den);
    return static_cast<int64_t>(std::clamp<Wide>(frames, -limit, limit));
}

} // namespace vintra::TimelineFile
