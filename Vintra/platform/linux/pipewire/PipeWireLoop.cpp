#include "Vintra/platform/linux/pipewire/PipeWireLoop.h"

#include "Vintra/platform/linux/runtime/LinuxHostClock.h"

#include <pipewire/pipewire.h>

#include <cassert>
#include <ctime>

namespace vintra {

PipeWireLoop::PipeWireLoop(const char* name) {
    pw_init(nullptr, nullptr);
    thread = pw_thread_loop_new(name, nullptr);
    running = thread != nullptr && pw_thread_loop_start(thread) >= 0;
}

PipeWireLoop::~PipeWireLoop() {
    if (thread != nullptr) {
        if (running) pw_thread_loop_stop(thread);
        pw_thread_loop_destroy(thread);
    }
    pw_deinit();
}

pw_loop* PipeWireLoop::loop() const {
    return thread != nullptr ? pw_thread_loop_get_loop(thread) : nullptr;
}

void PipeWireLoop::lock() NO_THREAD_SAFETY_ANALYSIS {
    if (thread == nullptr) return;
    pw_thread_loop_lock(thread);
    owner = std::this_thread::get_id();
    ++locks;
}

void PipeWireLoop::unlock() NO_THREAD_SAFETY_ANALYSIS {
    if (thread == nullptr) return;
    if (--locks == 0) owner = std::thread::id();
    pw_thread_loop_unlock(thread);
}

bool PipeWireLoop::isHeld() const {
    return thread == nullptr || owner == std::this_thread::get_id() || pw_thread_loop_in_thread(thread);
}

void PipeWireLoop::assertHeld() const {
    assert(isHeld());
}

void PipeWireLoop::signal() {
    if (thread != nullptr) pw_thread_loop_signal(thread, false);
}

bool PipeWireLoop::waitUntil(int64_t deadline) {
    // The loop's condition waits on the wall clock, so the deadline is turned into it for each wait.
    const int64_t left = deadline - monotonicNanoseconds();
    if (left <= 0 || thread == nullptr) return false;
    timespec until{};
    if (pw_thread_loop_get_time(thread, &until, left) < 0) return false;
    assert(owner == std::this_thread::get_id() && locks == 1);
    owner = std::thread::id();
    locks = 0;
    const bool isSignalled = pw_thread_loop_timed_wait_full(thread, &until) == 0;
    owner = std::this_thread::get_id();
    locks = 1;
    return isSignalled || monotonicNanoseconds() < deadline;
}

int64_t PipeWireLoop::deadlineIn(double seconds) {
    return monotonicNanoseconds() + static_cast<int64_t>(seconds * 1e9);
}

} // namespace vintra
