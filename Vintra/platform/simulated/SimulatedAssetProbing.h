#pragma once

#include "Vintra/platform/AssetProbing.h"
#include "Vintra/platform/Mutex.h"

#include <functional>
#include <map>

namespace vintra {

/// What a simulated file says of itself. Each part is left empty where its load is to fail.
struct SimulatedAsset {
    std::optional<CMTime> duration;
    std::optional<std::vector<AVAssetTrack>> videoTracks = std::vector<AVAssetTrack>{};
    std::optional<std::vector<AVAssetTrack>> audioTracks = std::vector<AVAssetTrack>{};
};

/// Probing of files that exist only here. A file that was never set is missing, its loads fail; unless a
/// fallback is given, which then answers. Any thread.
class SimulatedAssetProbing : public AssetProbing {
public:
    void set(const URL& url, SimulatedAsset asset) EXCLUDES(mutex);
    void remove(const URL& url) EXCLUDES(mutex);
    void setFallback(std::function<SimulatedAsset(const URL&)> newFallback) EXCLUDES(mutex);
    /// Every URL that was asked for, in order.
    std::vector<URL> asked() const EXCLUDES(mutex);

    std::unique_ptr<AVURLAsset> asset(const URL& url) override EXCLUDES(mutex);

private:
    mutable Mutex mutex;
    std::map<URL, SimulatedAsset> assets GUARDED_BY(mutex);
    std::vector<URL> history GUARDED_BY(mutex);
    std::function<SimulatedAsset(const URL&)> fallback GUARDED_BY(mutex);
};

/// A movie's one video track that begins at zero.
AVAssetTrack simulatedVideoTrack(CGSize size, double rate, CMTime duration);
/// A sound track of linear PCM.
AVAssetTrack simulatedAudioTrack(uint32_t channels, double sampleRate = 48000);

} // namespace vintra
