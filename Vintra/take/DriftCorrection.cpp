#include "Vintra/take/DriftCorrection.h"

#include <algorithm>
#include <cmath>

namespace vintra {

std::optional<WavRetiming> driftCorrection(const SoundTrackFile& track, CMTime end, int frameRate) {
    const SoundPlacement& places = track.places();
    const auto drift = places.drift();
    if (!drift || std::fabs(drift->secondsAtEnd) <= 0.5 / std::max(1, frameRate)) return std::nullopt;
    const auto planned = places.retiming();
    WavRetiming retiming{.runs = {}, .stretch = planned.stretch, .frames = track.framesUpTo(end)};
    for (const SoundPlacement::Run& run : planned.runs) {
        retiming.runs.push_back({.at = run.at - places.origin(),
                                 .frames = run.frames,
                                 .target = std::max<int64_t>(0, std::llround(run.target))});
    }
    return retiming;
}

} // namespace vintra
