#pragma once

#include "Vintra/platform/Mutex.h"

#include <thread>
#include <vector>

namespace vintra {

/// Joins threads later that nobody can join now: those whose own last task dropped their queue. Any thread.
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
