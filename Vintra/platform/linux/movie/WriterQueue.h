#pragma once

#include "Vintra/platform/CMSampleBuffer.h"
#include "Vintra/platform/Mutex.h"

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <optional>
#include <vector>

namespace vintra {

/// The way of samples from the threads that append to the one thread of a writer. One line for all inputs, so
/// that the writer meets samples in the order in which they came, with a bound for each input. Shared by a
/// writer, its inputs and its thread; any thread. The lock is held for a few instructions; only `pop` and
/// `pause` wait, on the writer's thread.
class WriterQueue {
public:
    struct Item {
        size_t input = 0;
        CMSampleBuffer sample;
        int64_t cost = 0;
        std::optional<CMTime> standsUntil{}; ///< instead of a sample: how far the one before stands
    };

    /// Before the session. An input is ready as long as the costs of its waiting samples are below the
    /// capacity, in a unit of the input's own. Gives the input's index.
    size_t addInput(int64_t capacity);

    void beginSession(CMTime start);
    /// Nothing before the session and once the line is closed.
    std::optional<CMTime> openSession() const;
    /// Zero of the file; invalid before the session.
    CMTime start() const;

    bool isReady(size_t input) const;
    /// False, and nothing taken, if the input isn't ready.
    bool push(size_t input, const CMSampleBuffer& sample, int64_t cost);
    /// Says how far the last sample of the input stands. Takes no room.
    void extend(size_t input, CMTime to);
    void finishInput(size_t input);

    /// No more samples; those that wait are still handed out.
    void close();
    /// No more samples; those that wait are thrown away.
    void abandon();
    bool isAbandoned() const;

    /// The next sample; waits for one. Nothing once the line is closed and empty, or abandoned.
    std::optional<Item> pop();
    /// Waits for this long, or until the line is abandoned.
    void pause(int64_t microseconds);

private:
    struct Input {
        int64_t capacity = 0;
        int64_t waiting = 0;
        bool finished = false;
    };
    bool ready(size_t input) const REQUIRES(mutex);

    mutable Mutex mutex;
    std::condition_variable_any changed;
    std::vector<Input> inputs GUARDED_BY(mutex);
    std::deque<Item> items GUARDED_BY(mutex);
    std::optional<CMTime> sessionStart GUARDED_BY(mutex);
    bool closed GUARDED_BY(mutex) = false;
    bool abandoned GUARDED_BY(mutex) = false;
};

} // namespace vintra
