#pragma once

#include "Vintra/platform/AssetProbing.h"

#include <optional>
#include <vector>

namespace vintra {

/// What a media file says of itself. A value: any thread.
struct AssetFacts {
    CMTime duration; ///< from the asset's zero to the end of the track that ends last
    std::vector<AVAssetTrack> videoTracks;
    std::vector<AVAssetTrack> audioTracks;
};

/// Opens the file, reads and closes it. Nothing if it can't be read, is no media file, or is cut short.
/// Blocks on the file; any thread.
std::optional<AssetFacts> readAssetFacts(const URL& url);

} // namespace vintra
