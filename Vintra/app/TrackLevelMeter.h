#pragma once

#include "Vintra/audio/LevelKey.h"
#include "Vintra/audio/LevelMeter.h"
#include "Vintra/audio/LevelsModel.h"
#include "Vintra/platform/Observation.h"
#include "Vintra/platform/Published.h"
#include "Vintra/platform/WallClock.h"

#include <memory>
#include <optional>

namespace vintra {

/// A row's meter. It changes only when a level comes, never by itself. Owned by what shows it. Main thread.
class TrackLevelMeter {
public:
    struct State {
        float level = 0;
        MeterRectangle bar;
        std::optional<MeterRectangle> tick;
        bool operator==(const State&) const = default;
    };

    TrackLevelMeter(std::shared_ptr<LevelsModel> levels, const LevelKey& source,
                    std::shared_ptr<WallClock> wallClock);

    Published<State> state;

private:
    void redraw();

    const std::shared_ptr<LevelsModel> levels;
    const LevelKey source;
    const std::shared_ptr<WallClock> wallClock;
    MeterPeak peak;
    Observation observation;
};

} // namespace vintra
