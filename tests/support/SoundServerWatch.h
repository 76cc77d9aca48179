#pragma once

#include "Vintra/platform/linux/pipewire/PipeWireLoop.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>

struct pw_context;
struct pw_core;
struct pw_profiler;
struct pw_registry;
struct spa_hook;
struct spa_pod;

namespace vintra {

/// What the session's PipeWire server says of its own cycles: a test of sound tells with it what a busy machine has
/// lost from what the program has.
class SoundServerWatch {
public:
    struct Losses {
        int64_t cycles = 0;     ///< that were watched
        int64_t lateClocks = 0; ///< cycles that began 2 ms or more away from the end of the one before
        int64_t unfinished = 0; ///< times that a program wasn't done with a cycle at its end
        int64_t unwatched = 0;  ///< cycles that the server was too busy to tell of
        bool none() const { return cycles > 0 && lateClocks + unfinished + unwatched == 0; }
        std::string text() const;
    };

    SoundServerWatch();
    ~SoundServerWatch();
    SoundServerWatch(const SoundServerWatch&) = delete;
    SoundServerWatch& operator=(const SoundServerWatch&) = delete;

    Losses losses();
    /// Those since the last call.
    Losses takeLosses();

private:
    struct Events;
    /// Where the next cycle of a driver's clock is to begin.
    struct Clock {
        int64_t nextNanoseconds = 0;
    };

    bool connect() REQUIRES(loop);
    void bind(uint32_t id, const char* type) REQUIRES(loop);
    void profile(const spa_pod* pod) REQUIRES(loop);
    void readCycle(const spa_pod* cycle) REQUIRES(loop);
    void readClock(const spa_pod* clock) REQUIRES(loop);

    PipeWireLoop loop{"sound-watch"};
    pw_context* context GUARDED_BY(loop) = nullptr;
    pw_core* core GUARDED_BY(loop) = nullptr;
    pw_registry* registry GUARDED_BY(loop) = nullptr;
    pw_profiler* profiler GUARDED_BY(loop) = nullptr;
    std::unique_ptr<spa_hook> registryHook GUARDED_BY(loop);
    std::unique_ptr<spa_hook> profilerHook GUARDED_BY(loop);
    std::map<int32_t, Clock> clocks GUARDED_BY(loop); ///< by the driver's id
    int64_t lastCount GUARDED_BY(loop) = -1;
    Losses losses_ GUARDED_BY(loop);
};

} // namespace vintra
