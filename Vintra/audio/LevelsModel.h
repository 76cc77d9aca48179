#pragma once

#include "Vintra/audio/LevelKey.h"
#include "Vintra/audio/PublishGate.h"
#include "Vintra/platform/MainThread.h"
#include "Vintra/platform/Published.h"

#include <map>
#include <memory>
#include <set>

namespace vintra {

/// The levels that the meters show. They are kept apart from all other state, so that a new level redraws only
/// the meters.
/// Levels are meter positions: 0 is -60 dBFS or below, 1 is 0 dBFS, linear in dB between. Owned by the
/// controller. Main thread, except for `publish` and `gate`, which capture queues use.
class LevelsModel : public std::enable_shared_from_this<LevelsModel> {
public:
    /// The services outlive the model.
    static std::shared_ptr<LevelsModel> make(const HostClock& hostClock, MainThread& mainThread);

    /// Sets the level later on the main thread, if the gate lets it through. Any thread.
    void publish(const LevelKey& key, float level);

    void set(const LevelKey& key, float level);
    /// 0 for an extra input that has no level.
    float level(const LevelKey& key) const;
    /// Forgets the levels of all other extra inputs.
    void pruneExtraLevels(const std::set<UUID>& keeping);

    Published<float> micLevel;
    Published<float> dawLevel;
    Published<std::map<UUID, float>> extraInputLevels;
    PublishGate gate;

private:
    LevelsModel(const HostClock& hostClock, MainThread& mainThread);
    MainThread& mainThread;
};

} // namespace vintra
