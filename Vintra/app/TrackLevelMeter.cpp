#include "Vintra/app/TrackLevelMeter.h"

#include "Vintra/app/Refresher.h"

#include <functional>
#include <utility>

namespace vintra {
namespace {

Observation observeLevel(LevelsModel& levels, const LevelKey& source, std::function<void()> redraw) {
    const auto call = [redraw = std::move(redraw)](const auto&) { redraw(); };
    switch (source.kind) {
    case LevelKey::Kind::mic:
        return levels.micLevel.observe(call);
    case LevelKey::Kind::daw:
        return levels.dawLevel.observe(call);
    case LevelKey::Kind::extra:
        return levels.extraInputLevels.observe(call);
    }
    return nullptr;
}

} // namespace

TrackLevelMeter::TrackLevelMeter(std::shared_ptr<LevelsModel> levels, const LevelKey& source,
                                 std::shared_ptr<WallClock> wallClock)
    : levels(std::move(levels))
    , source(source)
    , wallClock(std::move(wallClock))
    , observation(observeLevel(*this->levels, source, [this] { redraw(); })) {
    redraw();
}

void TrackLevelMeter::redraw() {
    const float level = levels->level(source);
    const Date now = wallClock->now();
    if (level != state->level) peak.levelChanged(level, now);
    publish(state, State{level, meterBar(kMeterWidth, level), meterTick(kMeterWidth, peak.decayedPeak(now))});
}

} // namespace vintra
