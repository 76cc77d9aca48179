#pragma once

#include "Vintra/platform/DispatchQueue.h"
#include "Vintra/platform/Mutex.h"

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace vintra {

class ThreadCollector;

/// A queue with threads of its own: serial with one, else side by side. Work and timers are one sequence; a
/// timer that is due joins the end of the queued work. Made by `LinuxDispatchQueues`. Any thread.
class LinuxDispatchQueue : public DispatchQueue, public std::enable_shared_from_this<LinuxDispatchQueue> {
public:
    struct Settings {
        std::string label;
        int threads = 1;
        int niceness = 0;
    };

    /// If one of the queue's own threads drops the last reference, the collector joins that thread.
    LinuxDispatchQueue(Settings settings, std::shared_ptr<ThreadCollector> collector);
    /// Runs what is queued, and waits for it unless this is one of the queue's threads.
    ~LinuxDispatchQueue() override;

    const std::string& label() const override { return theLabel; }
    void async(std::function<void()> work) override;
    void sync(const std::function<void()>& work) override;
    /// The delay counts from this call. An interval of 0 or less fires once. The timer keeps the queue.
    std::unique_ptr<DispatchTimer> makeTimer(DispatchTimerSchedule schedule,
                                             std::function<void()> handler) override;

private:
    class Core;
    class Timer;

    const std::string theLabel;
    std::shared_ptr<Core> core;
    std::shared_ptr<ThreadCollector> collector;
    std::vector<std::thread> threads;
};

} // namespace vintra
