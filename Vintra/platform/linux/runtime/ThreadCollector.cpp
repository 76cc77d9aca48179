#include "Vintra/platform/linux/runtime/ThreadCollector.h"

#include <utility>

namespace vintra {

ThreadCollector::~ThreadCollector() {
    // The last to let go may be one of the threads, which can't wait for itself.
    MutexLock lock(mutex);
    for (std::thread& thread : threads) {
        if (thread.get_id() == std::this_thread::get_id())
            thread.detach();
        else
            thread.join();
    }
}

void ThreadCollector::keep(std::thread thread) {
    MutexLock lock(mutex);
    threads.push_back(std::move(thread));
}

void ThreadCollector::joinAll() {
    while (true) {
        std::vector<std::thread> kept;
        {
            MutexLock lock(mutex);
            kept.swap(threads);
        }
        if (kept.empty()) return;
        for (std::thread& thread : kept)
            thread.join();
    }
}

} // namespace vintra
