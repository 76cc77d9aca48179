#include "Vintra/platform/simulated/SimulatedAssetProbing.h"

#include <utility>

namespace vintra {
namespace {

class Asset : public AVURLAsset {
public:
    explicit Asset(SimulatedAsset content)
        : content(std::move(content)) {}
    std::optional<CMTime> loadDuration() override { return content.duration; }
    std::optional<std::vector<AVAssetTrack>> loadTracks(AVMediaType withMediaType) override {
        return withMediaType == AVMediaType::video ? content.videoTracks : content.audioTracks;
    }

private:
    SimulatedAsset content;
};

} // namespace

void SimulatedAssetProbing::set(const URL& url, SimulatedAsset asset) {
    const MutexLock lock(mutex);
    assets[url] = std::move(asset);
}

void SimulatedAssetProbing::remove(const URL& url) {
    const MutexLock lock(mutex);
    assets.erase(url);
}

void SimulatedAssetProbing::setFallback(std::function<SimulatedAsset(const URL&)> newFallback) {
    const MutexLock lock(mutex);
    fallback = std::move(newFallback);
}

std::vector<URL> SimulatedAssetProbing::asked() const {
    const MutexLock lock(mutex);
    return history;
}

std::unique_ptr<AVURLAsset> SimulatedAssetProbing::asset(const URL& url) {
    const MutexLock lock(mutex);
    history.push_back(url);
    const auto found = assets.find(url);
    if (found == assets.end() && fallback) return std::make_unique<Asset>(fallback(url));
    if (found == assets.end())
        return std::make_unique<Asset>(
            SimulatedAsset{.duration = {}, .videoTracks = std::nullopt, .audioTracks = std::nullopt});
    return std::make_unique<Asset>(found->second);
}

AVAssetTrack simulatedVideoTrack(CGSize size, double rate, CMTime duration) {
    AVVideoTrackProperties properties;
    properties.naturalSize = size;
    properties.nominalFrameRate = rate;
    properties.timeRange = {kCMTimeZero, duration};
    AVAssetTrack track;
    track.video = properties;
    return track;
}

AVAssetTrack simulatedAudioTrack(uint32_t channels, double sampleRate) {
    AVAssetTrack track;
    track.formatDescriptions = {
        {std::make_shared<CMFormatDescription>(floatPCMDescription(sampleRate, channels))}};
    return track;
}

} // namespace vintra
