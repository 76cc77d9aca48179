#pragma once

#include "Vintra/platform/CMFormatDescription.h"
#include "Vintra/platform/Mutex.h"

#include <functional>
#include <memory>
#include <unordered_map>

namespace vintra {

/// The formats of one channel taken out of a device, made once each so that no buffer pays for them. Owned by
/// the sample path. Any thread.
class MonoFormatCache {
public:
    /// One channel of packed native samples: 32-bit float or 16-bit integer. Null if there is no such format.
    std::shared_ptr<const CMFormatDescription> formatDescription(double sampleRate, bool isFloat);

private:
    struct Key {
        double sampleRate;
        bool isFloat;
        bool operator==(const Key&) const = default;
    };
    struct KeyHash {
        size_t operator()(const Key& key) const noexcept {
            return std::hash<double>{}(key.sampleRate) ^ static_cast<size_t>(key.isFloat);
        }
    };

    Mutex mutex;
    std::unordered_map<Key, std::shared_ptr<const CMFormatDescription>, KeyHash> cache GUARDED_BY(mutex);
};

} // namespace vintra
