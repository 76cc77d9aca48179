#pragma once

#include "Vintra/platform/Mutex.h"

#include <thread>
#include <vector>

namespace vintra {

/// Keeps the threads that nobody could wait for, because their last task let go of their owner, until
/// somebody can. Any thread.
class ThreadCollector {
public:
    ~ThreadCollector();
    void keep(std::thread thread) EXCLUDES(mutex);
    /// Waits for all that are kept. Not from one of them.
    void joinAll() EXCLUDES(mutex);

private:
    Mutex mutex;
    std::vector<std::thread> threads GUARDED_BY(mutex);
};

} // namespace vintra
