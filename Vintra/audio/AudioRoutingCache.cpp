#include "Vintra/audio/AudioRoutingCache.h"

#include <utility>

namespace vintra {

void AudioRoutingCache::store(Snapshot snapshot) {
    auto replacement = std::make_shared<const Snapshot>(std::move(snapshot));
    MutexLock lock(mutex);
    storage.swap(replacement);
}

std::shared_ptr<const AudioRoutingCache::Snapshot> AudioRoutingCache::snapshot() const {
    MutexLock lock(mutex);
    return storage;
}

} // namespace vintra
