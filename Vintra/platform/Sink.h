#pragma once

#include "Vintra/platform/Mutex.h"

#include <optional>
#include <utility>

namespace vintra {

/// A lock and one optional value, through which the main thread hands a writer input or a track to sample
/// callbacks. Empty means that samples are thrown away: this fences a take off at both ends. Any thread; the
/// lock is held only for the copy, so `Value` is something cheap to copy (a shared pointer, or a list of a
/// few).
template <typename Value>
class Sink {
public:
    void fill(Value newValue) {
        std::optional<Value> replaced(std::move(newValue));
        MutexLock lock(mutex);
        value.swap(replaced);
    }
    void empty() {
        std::optional<Value> replaced;
        MutexLock lock(mutex);
        value.swap(replaced);
    }
    std::optional<Value> get() const {
        MutexLock lock(mutex);
        return value;
    }

private:
    mutable Mutex mutex;
    std::optional<Value> value GUARDED_BY(mutex);
};

} // namespace vintra
