#include "Vintra/audio/PublishGate.h"

namespace vintra {

PublishGate::PublishGate(const HostClock& hostClock)
    : hostClock(hostClock) {}

bool PublishGate::allow(const LevelKey& key) {
    // Host times are compared as exact rationals, so two readings exactly `interval` apart pass.
    static constexpr CMTime leastGap{static_cast<int64_t>(interval * kHostTimescale), kHostTimescale,
                                     kCMTimeFlags_Valid};
    const CMTime now = hostClock.now();
    MutexLock lock(mutex);
    const auto [entry, isNew] = lastPublish.try_emplace(key, now);
    if (isNew) return true;
    if (now - entry->second < leastGap) return false;
    entry->second = now;
    return true;
}

} // namespace vintra
