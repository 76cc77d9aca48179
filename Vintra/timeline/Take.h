#pragma once

#include "Vintra/timeline/Media.h"
#include "Vintra/timeline/TakeFiles.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace vintra::TimelineFile {

/// The inventory that the document writers read: what of a take can be used, and at which frame rate. A
/// value: any thread.
struct Take {
    TakeFiles files;
    std::map<URL, Media> media;
    std::vector<URL> order; ///< every URL of `media`, by file name
    std::optional<Media> screen;
    std::vector<Media> cameras;
    std::vector<Media> sounds;
    Rate rate;
    std::map<URL, URL> resolved; ///< where symbolic links lead, for URLs that hold any

    /// The screen, then the cameras.
    std::vector<Media> pictures() const;
    /// The length of a file in frames of the timeline, whatever the file's own rate.
    int64_t frames(const Media& ofMedia) const;
    /// The largest `frames` of all files, 0 if there is none.
    int64_t longestFrames() const;
    /// What each sound track inside a picture file is a copy of.
    std::vector<std::string> labels(const Media& ofMedia) const;
    /// The frame of a marker; never past the last frame of the longest file.
    int64_t markerFrame(double seconds) const;
    /// The frames of all markers, in order.
    std::vector<int64_t> markerFrames() const;
    /// The URL with symbolic links resolved.
    const URL& resolvedURL(const URL& url) const;
};

/// Every file of the take, sorted by name: the order in which they are probed.
std::vector<URL> filesByName(const TakeFiles& files);

/// The inventory of the files that were probed. A file of another kind than it is listed as is left out.
Take makeTake(const TakeFiles& files, std::map<URL, Media> media);

} // namespace vintra::TimelineFile
