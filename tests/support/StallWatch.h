#pragma once

#include <algorithm>
#include <atomic>
#include <chrono>
#include <thread>

namespace vintra {

/// Measures by how much the machine lets a thread oversleep while this lives: a test of times says with it
/// that a machine was too busy to tell anything.
class StallWatch {
public:
    StallWatch()
        : thread([this] { watch(); }) {}
    ~StallWatch() {
        ended = true;
        thread.join();
    }
    StallWatch(const StallWatch&) = delete;
    StallWatch& operator=(const StallWatch&) = delete;

    /// Seconds, the longest so far.
    double longest() const { return worst; }
    /// The longest since the last call.
    double takeLongest() { return worst.exchange(0); }

private:
    using Clock = std::chrono::steady_clock;

    void watch() {
        while (!ended) {
            const auto due = Clock::now() + std::chrono::milliseconds(1);
            std::this_thread::sleep_until(due);
            worst = std::max(worst.load(), std::chrono::duration<double>(Clock::now() - due).count());
        }
    }

    std::atomic<bool> ended{false};
    std::atomic<double> worst{0};
    std::thread thread;
};

} // namespace vintra
