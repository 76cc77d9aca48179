#pragma once

#include "Vintra/platform/AssetProbing.h"
#include "Vintra/timeline/Rate.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace vintra::TimelineFile {

/// What probing one file of a take found. A value: any thread.
struct Media {
    URL url;
    CMTime duration;
    std::optional<CMTime> pictureDuration; ///< the end of the first video track
    int64_t width = 0;                     ///< pixels; 0 without video
    int64_t height = 0;
    std::optional<Rate> rate;         ///< present exactly when the file has a video track
    std::vector<int64_t> soundTracks; ///< the channel count of each
    int64_t sampleRate = 48000;       ///< hertz

    /// How long the file is on a timeline: its picture, or its sound where it has no picture.
    CMTime length() const { return pictureDuration.value_or(duration); }
    /// The sum of the channels of all sound tracks.
    int64_t channels() const;

    /// Nothing if any load fails.
    static std::optional<Media> probe(const URL& url, AssetProbing& probing);
};

/// The whole frames of `rate` that fit in `length`, exactly; 0 for a length that is no number.
int64_t wholeFrames(CMTime length, const Rate& rate);

} // namespace vintra::TimelineFile
