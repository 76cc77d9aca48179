#pragma once

#include "Vintra/platform/AVMediaType.h"
#include "Vintra/platform/CMFormatDescription.h"
#include "Vintra/platform/CMTime.h"
#include "Vintra/platform/Geometry.h"
#include "Vintra/platform/URL.h"

#include <memory>
#include <optional>
#include <vector>

namespace vintra {

struct CMTimeRange {
    CMTime start = kCMTimeZero;
    CMTime duration = kCMTimeZero;
    CMTime end() const { return start + duration; }
};

/// What a video track says of itself.
struct AVVideoTrackProperties {
    CGSize naturalSize;                       ///< pixels, before any rotation
    double nominalFrameRate = 0;              ///< frames per second over the whole track; 0 if unknown
    CMTime minFrameDuration = kCMTimeInvalid; ///< the shortest frame; invalid if unknown
    CMTimeRange timeRange;                    ///< where the track lies on the asset's timeline
};

/// One track of an asset, as far as it could be loaded.
struct AVAssetTrack {
    /// Of a video track; nothing if loading it failed.
    std::optional<AVVideoTrackProperties> video;
    /// May be empty, and may hold null; nothing if loading it failed.
    std::optional<std::vector<std::shared_ptr<const CMFormatDescription>>> formatDescriptions;
};

/// A media file that is read for its facts, not for its samples. One thread at a time. Each load gives
/// nothing if it failed, and may be asked again.
class AVURLAsset {
public:
    virtual ~AVURLAsset() = default;
    virtual std::optional<CMTime> loadDuration() = 0;
    /// In the order of the file; empty if it has none of that kind.
    virtual std::optional<std::vector<AVAssetTrack>> loadTracks(AVMediaType withMediaType) = 0;
};

/// Makes assets. Any thread. A file that is missing, cut short or no media file gives an asset whose loads
/// fail. Never throws.
class AssetProbing {
public:
    virtual ~AssetProbing() = default;
    /// Never null.
    virtual std::unique_ptr<AVURLAsset> asset(const URL& url) = 0;
};

} // namespace vintra
