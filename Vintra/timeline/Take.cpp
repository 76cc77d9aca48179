#include "Vintra/timeline/Take.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace vintra::TimelineFile {
namespace {

/// The first frame after those on which a marker may lie.
int64_t markerLimit(const Take& take) {
    return std::max<int64_t>(take.longestFrames(), 1);
}

int64_t markerFrameWithin(int64_t limit, const Rate& rate, double seconds) {
    const double frame = std::floor(seconds * rate.framesPerSecond());
    const auto last = limit - 1;
    if (!(frame > 0)) return 0;
    return frame < static_cast<double>(last) ? static_cast<int64_t>(frame) : last;
}

void appendFound(std::vector<Media>& found, const std::vector<URL>& urls, const std::map<URL, Media>& media,
                 bool onlyPictures) {
    for (const URL& url : urls) {
        const auto entry = media.find(url);
        if (entry != media.end() && (entry->second.rate || !onlyPictures)) found.push_back(entry->second);
    }
}

} // namespace

std::vector<Media> Take::pictures() const {
    std::vector<Media> all;
    if (screen) all.push_back(*screen);
    all.insert(all.end(), cameras.begin(), cameras.end());
    return all;
}

int64_t Take::frames(const Media& ofMedia) const {
    return wholeFrames(ofMedia.length(), rate);
}

int64_t Take::longestFrames() const {
    int64_t longest = 0;
    for (const URL& url : order)
        longest = std::max(longest, frames(media.at(url)));
    return longest;
}

std::vector<std::string> Take::labels(const Media& ofMedia) const {
    const size_t count = ofMedia.soundTracks.size();
    const bool isScreen = screen && screen->url == ofMedia.url;
    std::vector<std::string> names;
    if (isScreen && count == sounds.size()) {
        for (const Media& sound : sounds)
            names.push_back(files.shortName(sound.url));
    } else if (!isScreen && count == 1) {
        names.push_back(files.cameraSound ? files.shortName(*files.cameraSound) : "mic");
    } else {
        for (size_t number = 1; number <= count; ++number)
            names.push_back("sound " + std::to_string(number));
    }
    return names;
}

int64_t Take::markerFrame(double seconds) const {
    return markerFrameWithin(markerLimit(*this), rate, seconds);
}

std::vector<int64_t> Take::markerFrames() const {
    const int64_t limit = markerLimit(*this);
    std::vector<int64_t> result;
    result.reserve(files.markers.size());
    for (const double seconds : files.markers)
        result.push_back(markerFrameWithin(limit, rate, seconds));
    return result;
}

const URL& Take::resolvedURL(const URL& url) const {
    const auto found = resolved.find(url);
    return found == resolved.end() ? url : found->second;
}

std::vector<URL> filesByName(const TakeFiles& files) {
    std::vector<std::pair<std::string, URL>> named;
    const auto add = [&named](const URL& url) { named.emplace_back(url.lastPathComponent(), url); };
    if (files.screen) add(*files.screen);
    std::for_each(files.cameras.begin(), files.cameras.end(), add);
    std::for_each(files.sounds.begin(), files.sounds.end(), add);
    std::stable_sort(named.begin(), named.end(),
                     [](const auto& left, const auto& right) { return left.first < right.first; });
    std::vector<URL> urls;
    for (auto& [name, url] : named)
        urls.push_back(std::move(url));
    return urls;
}

Take makeTake(const TakeFiles& files, std::map<URL, Media> media) {
    Take take;
    take.files = files;
    take.media = std::move(media);
    for (const URL& url : filesByName(files))
        if (take.media.contains(url)) take.order.push_back(url);
    if (files.screen) {
        const auto found = take.media.find(*files.screen);
        if (found != take.media.end() && found->second.rate) take.screen = found->second;
    }
    appendFound(take.cameras, files.cameras, take.media, true);
    appendFound(take.sounds, files.sounds, take.media, false);
    if (take.screen) {
        take.rate = *take.screen->rate;
    } else if (!take.cameras.empty()) {
        take.rate = *take.cameras.front().rate;
    }
    return take;
}

} // namespace vintra::TimelineFile
