#pragma once

#include <functional>

struct spa_source;

namespace vintra {

class PipeWireLoop;

/// Calls a block once, a while later, on PipeWire's thread with its lock held. Everything happens with that
/// lock held.
class PipeWireTimer {
public:
    PipeWireTimer(PipeWireLoop& loop, std::function<void()> block);
    ~PipeWireTimer();
    PipeWireTimer(const PipeWireTimer&) = delete;
    PipeWireTimer& operator=(const PipeWireTimer&) = delete;

    /// In that many seconds from now, more than 0, in place of what was asked for before.
    void startOver(double seconds);
    void cancel();

private:
    struct Events;
    PipeWireLoop& loop;
    const std::function<void()> block;
    spa_source* source = nullptr; ///< null if the system has no timer left: then the block is never called
};

} // namespace vintra
