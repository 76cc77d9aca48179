#include "Vintra/platform/linux/movie/LinuxAssetProbing.h"

#include "Vintra/platform/linux/movie/AssetFacts.h"

#include <optional>
#include <utility>

extern "C" {
#include <libavutil/log.h>
}

namespace vintra {
namespace {

/// A file that was read once and closed again.
class LinuxAsset : public AVURLAsset {
public:
    explicit LinuxAsset(std::optional<AssetFacts> facts)
        : facts(std::move(facts)) {}

    std::optional<CMTime> loadDuration() override {
        return facts ? std::optional(facts->duration) : std::nullopt;
    }

    std::optional<std::vector<AVAssetTrack>> loadTracks(AVMediaType withMediaType) override {
        if (!facts) return std::nullopt;
        return withMediaType == AVMediaType::video ? facts->videoTracks : facts->audioTracks;
    }

private:
    const std::optional<AssetFacts> facts;
};

} // namespace

LinuxAssetProbing::LinuxAssetProbing() {
    av_log_set_level(AV_LOG_FATAL);
}

std::unique_ptr<AVURLAsset> LinuxAssetProbing::asset(const URL& url) {
    return std::make_unique<LinuxAsset>(readAssetFacts(url));
}

} // namespace vintra
