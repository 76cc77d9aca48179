#pragma once

#include "Vintra/audio/LevelKey.h"
#include "Vintra/platform/CMTime.h"
#include "Vintra/platform/HostClock.h"
#include "Vintra/platform/Mutex.h"

#include <unordered_map>

namespace vintra {

/// Lets at most 8 levels a second of each key through to the main thread; what it refuses is not shown.
/// Owned by `LevelsModel`. Any thread.
class PublishGate {
public:
    static constexpr double interval = 0.125; ///< seconds

    /// The clock outlives the gate.
    explicit PublishGate(const HostClock& hostClock);
    /// True if the key has never passed before, or last passed at least `interval` ago.
    bool allow(const LevelKey& key);

private:
    const HostClock& hostClock;
    Mutex mutex;
    std::unordered_map<LevelKey, CMTime> lastPublish GUARDED_BY(mutex);
};

} // namespace vintra
